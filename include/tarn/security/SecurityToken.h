// tarn::security::SecurityToken: the platform's security token, one per
// request. Safe to read from several threads (operations of a request may
// pass it to provider threads).
#pragma once

#include <mutex>

#include "tarn/security/ISecurityToken.h"

namespace tarn::security {

class SecurityToken : public ISecurityToken {
  public:
    SecurityToken() = default;

    bool isAuthenticated() const override;
    VELString getUserName() const override;
    VELSmrPtr<VELValSlist<VELString>> getRoles() const override;
    VELString getAuthenticationMechanism() const override;
    void setAuthenticated(const VELString& userName, const VELValSlist<VELString>& roles,
                          const VELString& mechanism) override;

  private:
    mutable std::mutex _m;
    bool _authenticated = false;
    VELString _user;
    VELValSlist<VELString> _roles;
    VELString _mechanism;
};

}  // namespace tarn::security
