#include <gtest/gtest.h>

#include "tarn/PortInfo.h"
#include "vela/VelaBaseException.h"
#include "vela/VelaURL.h"

namespace {

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
    EXPECT_EQ(info.getHostName(), "cimom.example.org");
    EXPECT_EQ(info.getInteropNamespace(), "root/interop");
    auto ipv4 = info.getIpV4InterfaceList();
    ASSERT_EQ(ipv4->size(), 2u);
    EXPECT_EQ(ipv4->at(1), "10.0.0.6");
    auto ports = info.getPortData();
    ASSERT_EQ(ports->size(), 2u);
    const tarn::PortData& plain = (*ports)[0];
    EXPECT_EQ(plain.getPort(), 5988u);
    EXPECT_FALSE(plain.isSecure());
    EXPECT_FALSE(plain.isSLPAdvertised());
    ASSERT_EQ(plain.getInterfaceList().size(), 1u);
    EXPECT_EQ(plain.getInterfaceList()[0]->getInterfaceName(), "10.0.0.5");
    const tarn::PortData& secure = (*ports)[1];
    EXPECT_EQ(secure.getPort(), 5989u);
    EXPECT_TRUE(secure.isSecure());
    EXPECT_TRUE(secure.isSLPAdvertised());  // advertised unless said otherwise
    EXPECT_TRUE(secure.getInterfaceList().empty());

    // What toXml writes reads back to the same.
    tarn::PortInfo copy;
    copy.loadPortInfoFromString(info.toXml());
    EXPECT_EQ(copy.toXml(), info.toXml());
    EXPECT_EQ(copy.getPortData()->at(0).getInterfaceList().size(), 1u);
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
