#include <gtest/gtest.h>

#include "tarn/PortInfo.h"
#include "vela/VelaBaseException.h"

namespace {

// All the settings in one line: host|interop|IPv4 interfaces|each port.
std::string describe(const tarn::PortInfo& info) {
    std::string s = info.getHostName().str() + "|" + info.getInteropNamespace().str() + "|";
    const auto names = info.getIpV4InterfaceList();
    const auto ports = info.getPortData();
    for (const VELString& name : *names) {
        s += name.str() + ",";
    }
    for (const tarn::PortData& port : *ports) {
        s += "|" + std::to_string(port.getPort()) + (port.isSecure() ? " secure" : "") +
             (port.isSLPAdvertised() ? " slp" : "");
        for (const auto& i : port.getInterfaceList()) {
            s += " " + i->getInterfaceName().str();
        }
    }
    return s;
}

TEST(PortInfo, ReadsPortsInterfacesAndNames) {
    tarn::PortInfo info;
    info.loadPortInfoFromString(R"(<?xml version="1.0"?>
        <PortSettings>
          <HostName> cimom.example.org </HostName>
          <interopNamespace>root/interop</interopNamespace>
          <ipv4Interfaces><interface>10.0.0.5</interface><interface>10.0.0.6</interface></ipv4Interfaces>
          <port number="5988" secure="false" slp="NO">
            <interfaces><interface>10.0.0.5</interface></interfaces>
          </port>
          <PORT NUMBER="5989" SECURE="true"/>
        </PortSettings>)");
    // A port is advertised unless said otherwise.
    EXPECT_EQ(describe(info),
              "cimom.example.org|root/interop|10.0.0.5,10.0.0.6,|5988 10.0.0.5|5989 secure slp");

    // What toXml writes reads back to the same.
    tarn::PortInfo copy;
    copy.loadPortInfoFromString(info.toXml());
    EXPECT_EQ(describe(copy), describe(info));
    EXPECT_EQ(copy.toXml(), info.toXml());
}

TEST(PortInfo, InvalidFilesAreRefusedAndKeepTheOldData) {
    const char* bad[] = {
        "<Ports/>",
        "<PortSettings><port number=\"0\"/></PortSettings>",
        "<PortSettings><port number=\"65536\"/></PortSettings>",
        "<PortSettings><port/></PortSettings>",
        "<PortSettings><port number=\"5988\"/><port number=\"5988\" "
        "secure=\"true\"/></PortSettings>",
        "<PortSettings><port number=\"5988\" secure=\"maybe\"/></PortSettings>",
        "<PortSettings><colour>red</colour></PortSettings>",
        "<PortSettings><hostname></hostname></PortSettings>",
        "<PortSettings><port "
        "number=\"5988\"><interfaces><if>x</if></interfaces></port></PortSettings>",
        "<PortSettings><port number=\"5988\">",
        "",
    };
    tarn::PortInfo info;
    info.loadPortInfoFromString("<PortSettings><port number=\"7\"/></PortSettings>");
    for (const char* xml : bad) {
        SCOPED_TRACE(xml);
        EXPECT_THROW(info.loadPortInfoFromString(xml, "test.xml"), VelaBaseException);
    }
    EXPECT_EQ(info.getPortData()->at(0).getPort(), 7u);
    try {
        info.loadPortInfo("/nonexistent/Port_settings.xml");
        FAIL();
    } catch (const VelaBaseException& e) {
        EXPECT_EQ(e.getType(), "Configuration");
        EXPECT_TRUE(e.getMessage().contains("/nonexistent/Port_settings.xml"));
    }
}

}  // namespace
