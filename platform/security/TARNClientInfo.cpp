#include "vela/TARNClientInfo.h"

TARNClientInfo::TARNClientInfo(const VELString& localAddress, std::uint16_t localPort,
                               const VELString& peerAddress, std::uint16_t peerPort, bool secure,
                               bool local, const VELString& userName,
                               const VELSmrPtr<VELValSlist<VELString>>& roles,
                               VELGenericHTTPOStream* out, bool clientStreamsImported)
    : _localAddress(localAddress),
      _localPort(localPort),
      _peerAddress(peerAddress),
      _peerPort(peerPort),
      _secure(secure),
      _local(local),
      _userName(userName),
      _roles(roles ? roles : makeVELSmrPtr<VELValSlist<VELString>>()),
      _out(out),
      _clientStreamsImported(clientStreamsImported) {}

bool TARNClientInfo::hasRole(const VELString& role) const {
    for (const auto& r : *_roles) {
        if (r.equalsIgnoreCase(role)) {
            return true;
        }
    }
    return false;
}
