// tarn::PortData: one listening port of the object manager as configured in
// Port_settings.xml: its number, whether it speaks TLS, whether it is
// advertised (through SLP and the communication-mechanism URLs), and the
// interfaces (host names or addresses) it is advertised under. An empty
// interface list means every interface.
#pragma once

#include <cstdint>
#include <vector>

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"

namespace tarn {

class PortData {
  public:
    class Interface {
      public:
        explicit Interface(VELString name) : _name(std::move(name)) {}
        const VELString& getInterfaceName() const { return _name; }

      private:
        VELString _name;
    };
    using InterfaceList = std::vector<VELSmrPtr<Interface>>;

    PortData() = default;
    PortData(std::uint32_t port, bool secure, bool slpAdvertised, InterfaceList interfaces = {})
        : _port(port), _secure(secure), _slp(slpAdvertised), _interfaces(std::move(interfaces)) {}
    virtual ~PortData() = default;
    PortData(const PortData&) = default;
    PortData& operator=(const PortData&) = default;

    virtual std::uint32_t getPort() const { return _port; }
    virtual bool isSLPAdvertised() const { return _slp; }
    virtual bool isSecure() const { return _secure; }
    virtual const InterfaceList& getInterfaceList() const { return _interfaces; }

    void setPort(std::uint32_t port) { _port = port; }
    void setSecure(bool secure) { _secure = secure; }
    void setSLPAdvertised(bool advertised) { _slp = advertised; }
    void setInterfaceList(InterfaceList interfaces) { _interfaces = std::move(interfaces); }

  private:
    std::uint32_t _port = 0;
    bool _secure = false;
    bool _slp = false;
    InterfaceList _interfaces;
};

}  // namespace tarn
