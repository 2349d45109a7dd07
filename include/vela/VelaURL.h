// VelaURL: one URL under which a protocol adapter can be reached, as
// advertised for the object manager's communication mechanisms.
#pragma once

#include <cstdint>

#include "vela/VELString.h"

class VelaURL {
  public:
    VelaURL(VELString scheme, VELString host, VELString interopNamespace, std::uint32_t port)
        : _scheme(std::move(scheme)),
          _host(std::move(host)),
          _interop(std::move(interopNamespace)),
          _port(port) {}

    const VELString& getScheme() const { return _scheme; }
    const VELString& getHost() const { return _host; }
    const VELString& getInteropNamespace() const { return _interop; }
    std::uint32_t getPort() const { return _port; }

    // scheme + "://" + host + ":" + port, the host in brackets when it is an
    // IPv6 address ("https://[::1]:5989"). The namespace is not part of it.
    VELString toString() const;

  private:
    VELString _scheme;
    VELString _host;
    VELString _interop;
    std::uint32_t _port;
};
