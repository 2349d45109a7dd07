// tarn::PortInfo: the object manager's listening ports and how it advertises
// them, loaded from Port_settings.xml:
//
//   <?xml version="1.0" encoding="utf-8"?>
//   <PortSettings>
//     <hostname>cimom.example.org</hostname>       (default: this machine's name)
//     <interopNamespace>interop</interopNamespace> (default: interop)
//     <ipv4Interfaces>                             (optional filter of advertised
//       <interface>10.0.0.5</interface>             names; absent or empty: none)
//     </ipv4Interfaces>
//     <port number="5988" secure="false" slp="true">
//       <interfaces><interface>10.0.0.5</interface></interfaces>  (optional)
//     </port>
//     <port number="5989" secure="true" slp="true"/>
//   </PortSettings>
//
// Element and attribute names ignore letter case; booleans are true/false,
// yes/no, on/off or 1/0. Safe for concurrent readers; setPortData and
// loadPortInfo replace the data as a whole.
#pragma once

#include <mutex>
#include <vector>

#include "tarn/PortData.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

namespace tarn {

class PortInfo {
  public:
    using PortDataList = std::vector<PortData>;

    PortInfo();
    virtual ~PortInfo();

    // A copy of the port list, never null.
    virtual VELSmrPtr<PortDataList> getPortData() const;
    virtual void setPortData(const PortDataList& ports);
    virtual VELString getInteropNamespace() const;
    virtual VELString getHostName() const;
    // Reads the file. Throws VelaBaseException ("Configuration") naming the
    // file when it cannot be read or is not valid; the old data then stays.
    virtual void loadPortInfo(const VELString& path);
    // The names advertised URLs are built for when not empty (see above);
    // a copy, possibly empty, never null.
    virtual VELSmrPtr<VELValSlist<VELString>> getIpV4InterfaceList() const;

    // The same from text; name is used in error messages.
    void loadPortInfoFromString(const VELString& xml, const VELString& name = "Port_settings.xml");
    void setHostName(const VELString& hostName);
    void setInteropNamespace(const VELString& nameSpace);
    void setIpV4InterfaceList(const VELValSlist<VELString>& interfaces);
    // The document that loadPortInfo reads back to the same data.
    VELString toXml() const;
    // The machine's host name (gethostname), "localhost" when it has none.
    static VELString systemHostName();

  private:
    mutable std::mutex _m;
    PortDataList _ports;
    VELString _hostName;
    VELString _interop = "interop";
    VELValSlist<VELString> _ipv4;
};

}  // namespace tarn
