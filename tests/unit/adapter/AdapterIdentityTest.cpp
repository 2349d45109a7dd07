// The adapter object: the plug-in entry, its advertised URLs, and the
// indication slots that do not deliver yet.
#include <gtest/gtest.h>

#include <memory>

#include "AdapterTestSupport.h"
#include "tarn/LogCapture.h"

namespace adaptertest {
namespace {

using tarn::PortData;

const char* const kBuildURL = "cimxmlpa::CIMXMLAdapter::buildVelaURL";

PortData::InterfaceList interfaces(std::initializer_list<const char*> names) {
    PortData::InterfaceList list;
    for (const char* n : names) {
        list.push_back(makeVELSmrPtr<PortData::Interface>(n));
    }
    return list;
}

TEST(CIMXMLAdapter, EntryPointMakesTheAdapterWhichLogsItsStart) {
    tarn::ObjectManagerContext context(portInfo(), noClasses());
    tarn::LogCapture log;
    std::unique_ptr<IVelaProtocolAdapter> adapter(getVelaProtocolAdapter(context));
    ASSERT_NE(dynamic_cast<CIMXMLAdapter*>(adapter.get()), nullptr);
    EXPECT_TRUE(log.contains("cimxmlpa::CIMXMLAdapter",
                             "Adapter initialized: Name='cim-xml Adapter'; Protocol='cim-xml'", 3));
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(CIMXMLAdapter, UrlsOfAdvertisedPortsWithTheInterfaceFilter) {
    struct Case {
        const char* name;
        tarn::PortInfo::PortDataList ports;
        VELValSlist<VELString> filter;
        std::vector<std::string> urls;
        std::vector<std::string> lines;  // the log lines, in order
    };
    const std::string notListed =
        ", because it is not listed on the <interfaces> array from Port_settings.xml";
    const Case cases[] = {
        {"nothing advertised",
         {PortData(5988, false, false), PortData(5989, true, false)},
         {},
         {},
         {}},
        {"one secure port",
         {PortData(5988, false, false), PortData(5989, true, true)},
         {},
         {"https://cimom.example.org:5989"},
         {"PortInfo Hostname-cimom.example.org, Port-5989, visibility-1, isSecure-1"}},
        {"both ports in order",
         {PortData(5988, false, true), PortData(5989, true, true)},
         {},
         {"http://cimom.example.org:5988", "https://cimom.example.org:5989"},
         {"PortInfo Hostname-cimom.example.org, Port-5988, visibility-1, isSecure-0",
          "PortInfo Hostname-cimom.example.org, Port-5989, visibility-1, isSecure-1"}},
        {"filter against a port that lists one name (letter case ignored)",
         {PortData(5988, false, true, interfaces({"HOST-A.example.org"}))},
         {"host-a.example.org", "10.0.0.6"},
         {"http://host-a.example.org:5988"},
         {"PortInfo Hostname-cimom.example.org, Port-5988, visibility-1, isSecure-0",
          "NOT adding Interface-10.0.0.6 for Port-5988" + notListed}},
        {"filter against a port that lists none",
         {PortData(5989, true, true)},
         {"10.0.0.5", "10.0.0.6"},
         {"https://10.0.0.5:5989", "https://10.0.0.6:5989"},
         {"PortInfo Hostname-cimom.example.org, Port-5989, visibility-1, isSecure-1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        tarn::ObjectManagerContext context(portInfo(c.ports, c.filter), noClasses());
        CIMXMLAdapter adapter(context);
        tarn::LogCapture log;
        auto urls = adapter.getURL();
        std::vector<std::string> got;
        for (const auto& url : *urls) {
            got.push_back(url->toString().str());
            EXPECT_EQ(url->getInteropNamespace(), "interop");
        }
        EXPECT_EQ(got, c.urls);
        std::vector<std::string> lines;
        for (const auto& line : log.lines()) {
            EXPECT_EQ(line.source, kBuildURL);
            EXPECT_EQ(line.severity, 4);
            lines.push_back(line.message.str());
        }
        EXPECT_EQ(lines, c.lines);
    }
}

TEST(CIMXMLAdapter, NullIndicationsAndDestinationsAreRefusedBeforeAnyAttempt) {
    tarn::ObjectManagerContext context(portInfo(), noClasses());
    CIMXMLAdapter adapter(context);
    tarn::LogCapture log;
    // A null destination is simply not one the adapter can deliver to.
    EXPECT_FALSE(adapter.canDeliverIndication(nullptr));
    EXPECT_FALSE(adapter.deliverIndication("root/cimv2", nullptr, nullptr, nullptr));
    EXPECT_EQ(log.lines().size(), 0u);
    std::ostringstream os;
    adapter.encodeIndication(os, "root/cimv2", nullptr, nullptr);
    EXPECT_EQ(os.str(), "");
    const char* source = "CIMIndicationDeliveryService::deliverIndication";
    EXPECT_TRUE(log.contains(source, "Indication Delivery failed due to null indication", 1));
    cimxmlpa::CIMIndicationDeliveryService service(context);
    EXPECT_FALSE(service.deliverIndication("root/cimv2", nullptr, nullptr, nullptr));
    EXPECT_TRUE(log.contains(source, "Indication Delivery failed due to null destination", 1));
    EXPECT_EQ(log.count("Indication Delivery failed due to null indication"), 2u);
}

TEST(CIMIndicationDeliveryService, ReadsTheOutboundPortsOfTheConfiguration) {
    tarn::ObjectManagerContext context(portInfo(), noClasses());
    {
        ScopedConfiguration conf("[Indication]\nOutboundConnectionPorts = 6000,6010-6012\n");
        cimxmlpa::CIMIndicationDeliveryService service(context);
        std::vector<std::uint32_t> ports(service.getOutboundPorts().begin(),
                                         service.getOutboundPorts().end());
        EXPECT_EQ(ports, (std::vector<std::uint32_t>{6000, 6010, 6011, 6012}));
    }
    {
        ScopedConfiguration conf("[Indication]\nOutboundConnectionPorts = 6000-\n");
        tarn::LogCapture log;
        cimxmlpa::CIMIndicationDeliveryService service(context);
        EXPECT_TRUE(service.getOutboundPorts().isEmpty());
        EXPECT_FALSE(service.loadOutboundConnectionConfiguration());
        EXPECT_TRUE(log.containsText("OutboundConnectionPorts '6000-'"));
    }
    cimxmlpa::CIMIndicationDeliveryService none(context);
    EXPECT_TRUE(none.getOutboundPorts().isEmpty());
}

}  // namespace
}  // namespace adaptertest
