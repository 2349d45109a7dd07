// TARNClientInfo: who and where a client is, as an operation sees it: both
// ends of the connection, whether it is encrypted and local, the
// authenticated user and roles, the response stream and whether the client
// streams were taken over by the adapter.
#pragma once

#include <cstdint>

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class VELGenericHTTPOStream;

class TARNClientInfo {
  public:
    // out: the response stream of the request; not owned, valid only while
    // the request is processed (null when there is none, as for internal
    // requests). roles may be null (no roles).
    TARNClientInfo(const VELString& localAddress, std::uint16_t localPort,
                   const VELString& peerAddress, std::uint16_t peerPort, bool secure, bool local,
                   const VELString& userName, const VELSmrPtr<VELValSlist<VELString>>& roles,
                   VELGenericHTTPOStream* out, bool clientStreamsImported);

    const VELString& getLocalAddress() const { return _localAddress; }
    std::uint16_t getLocalPort() const { return _localPort; }
    const VELString& getPeerAddress() const { return _peerAddress; }
    std::uint16_t getPeerPort() const { return _peerPort; }
    bool isSecure() const { return _secure; }
    bool isLocal() const { return _local; }
    const VELString& getUserName() const { return _userName; }
    // Never null.
    const VELSmrPtr<VELValSlist<VELString>>& getRoles() const { return _roles; }
    bool hasRole(const VELString& role) const;
    VELGenericHTTPOStream* getOutputStream() const { return _out; }
    bool areClientStreamsImported() const { return _clientStreamsImported; }

  private:
    VELString _localAddress;
    std::uint16_t _localPort;
    VELString _peerAddress;
    std::uint16_t _peerPort;
    bool _secure;
    bool _local;
    VELString _userName;
    VELSmrPtr<VELValSlist<VELString>> _roles;
    VELGenericHTTPOStream* _out;
    bool _clientStreamsImported;
};
