#include "tarn/security/SecurityToken.h"

#include "tarn/security/IAuthenticator.h"

namespace tarn::security {

ISecurityToken::~ISecurityToken() = default;
IAuthenticator::~IAuthenticator() = default;

bool SecurityToken::isAuthenticated() const {
    std::lock_guard<std::mutex> lock(_m);
    return _authenticated;
}

VELString SecurityToken::getUserName() const {
    std::lock_guard<std::mutex> lock(_m);
    return _user;
}

VELSmrPtr<VELValSlist<VELString>> SecurityToken::getRoles() const {
    std::lock_guard<std::mutex> lock(_m);
    return makeVELSmrPtr<VELValSlist<VELString>>(_roles);
}

VELString SecurityToken::getAuthenticationMechanism() const {
    std::lock_guard<std::mutex> lock(_m);
    return _mechanism;
}

void SecurityToken::setAuthenticated(const VELString& userName, const VELValSlist<VELString>& roles,
                                     const VELString& mechanism) {
    std::lock_guard<std::mutex> lock(_m);
    _authenticated = true;
    _user = userName;
    _roles = roles;
    _mechanism = mechanism;
}

}  // namespace tarn::security
