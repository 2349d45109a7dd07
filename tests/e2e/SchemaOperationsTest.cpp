// The class, qualifier and property operations in a running tarnd: wbemcli
// lists the classes of the default schema, reads every class's instances
// whole (NULL arrays left out, so that it can parse them) and gets and sets
// a property; raw requests compare whole response bodies where the
// operations shape them.
#include <map>

#include "OperationsFixture.h"

namespace tarntest {
namespace {

using namespace cimxml;
using namespace ops;

class SchemaOperationsTest : public OperationsFixture {
  protected:
    // The class names wbemcli prints for the namespace (below className).
    std::vector<std::string> classNames(const std::string& nameSpace,
                                        const std::string& className = "") {
        Client ecn = wbemcliIn(nameSpace, "ecn", className);
        EXPECT_EQ(ecn.status, 0) << ecn.output;
        std::vector<std::string> names;
        for (std::string line : ecn.lines()) {
            names.push_back(line.substr(line.rfind(':') + 1));
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    Client wbemcliIn(const std::string& nameSpace, const std::string& op, const std::string& path,
                     std::vector<std::string> more = {}) {
        std::vector<std::string> argv = {"/usr/bin/wbemcli", op,
                                         "http://admin:" + password +
                                             "@127.0.0.1:" + std::to_string(httpPort) + "/" +
                                             nameSpace + (path.empty() ? "" : ":" + path)};
        argv.insert(argv.end(), more.begin(), more.end());
        ChildProcess client;
        client.start(argv);
        auto status = client.waitExit(in(30s));
        return {status.value_or(-1), client.output()};
    }
};

const std::string kService =
    "TARN_Service.SystemCreationClassName=\"TARN_ComputerSystem\",SystemName=\"tarn-example."
    "local\",CreationClassName=\"TARN_Service\",Name=\"tarn-cimxml\"";

TEST_F(SchemaOperationsTest, WbemcliListsTheClassesAndReadsEveryInstanceWhole) {
    startTarnd();
    EXPECT_EQ(classNames("root/cimv2"),
              (std::vector<std::string>{
                  "CIM_AllocatedLogicalElement", "CIM_ComputerSystem", "CIM_Dependency",
                  "CIM_EnabledLogicalElement", "CIM_HostedDependency", "CIM_HostedService",
                  "CIM_LogicalElement", "CIM_ManagedElement", "CIM_ManagedSystemElement",
                  "CIM_Service", "CIM_ServiceAccessBySAP", "CIM_ServiceAccessPoint",
                  "CIM_SettingData", "CIM_System", "TARN_ComputerSystem", "TARN_HostedService",
                  "TARN_ListeningPort", "TARN_Service", "TARN_ServiceListeningPort"}));
    EXPECT_EQ(classNames("root/cimv2", "CIM_System"),
              (std::vector<std::string>{"CIM_ComputerSystem", "TARN_ComputerSystem"}));

    // ec: each class below CIM_Service with every property name it has.
    Client ec = wbemcli("ec", "CIM_Service");
    EXPECT_EQ(ec.status, 0) << ec.output;
    EXPECT_EQ(ec.output.rfind(printed("TARN_Service") + " InstanceID=,Caption=,", 0), 0u)
        << ec.output;
    EXPECT_NE(ec.output.find(",Priority=,MemoryLimit=\n"), std::string::npos) << ec.output;

    // Without a property list: NULL arrays (OperationalStatus here) are left
    // out, so wbemcli reads every instance of every class.
    std::size_t classes = 0;
    for (const char* nameSpace : {"root/cimv2", "interop"}) {
        for (const std::string& cls : classNames(nameSpace)) {
            SCOPED_TRACE(std::string(nameSpace) + ":" + cls);
            Client ei = wbemcliIn(nameSpace, "ei", cls);
            EXPECT_EQ(ei.status, 0) << ei.output;
            ++classes;
        }
    }
    EXPECT_EQ(classes, 19u + 38u);
    Client services = wbemcli("ei", "TARN_Service");
    ASSERT_EQ(services.lines().size(), 2u) << services.output;
    for (const std::string& line : services.lines()) {
        EXPECT_NE(line.find(",ExecutablePath=\"/usr/sbin/tarnd\",ProcessID=1234,"),
                  std::string::npos);
        EXPECT_EQ(line.find("OperationalStatus="), std::string::npos) << line;
    }

    // gp and sp: GetProperty and SetProperty.
    Client set = wbemcli("sp", kService, {"Priority=-3"});
    EXPECT_EQ(set.status, 0) << set.output;
    Client get = wbemcli("gp", kService, {"Priority"});
    EXPECT_EQ(get.status, 0) << get.output;
    EXPECT_EQ(get.output, "-3\n");
}

// The interop namespace's built-in model through wbemcli, which sends the
// paths it printed back as untyped text.
TEST_F(SchemaOperationsTest, WbemcliFollowsTheInteropModel) {
    // A second plain port, not advertised (the first is --http-port's).
    const std::uint16_t quiet = freePort();
    std::ofstream(dir.path() / "Port_settings.xml")
        << "<PortSettings><port number=\"1\" secure=\"false\" slp=\"true\"/>"
        << "<port number=\"" << quiet << "\" secure=\"false\" slp=\"false\"/></PortSettings>";
    startTarnd();
    // A CIM-XML mechanism per port, named by its URL, SLP (3) where the port
    // is advertised.
    Client mechanisms =
        wbemcliIn("interop", "ei", "CIM_CIMXMLCommunicationMechanism", {"Name,AdvertiseTypes"});
    EXPECT_EQ(mechanisms.lines().size(), 2u) << mechanisms.output;
    for (auto [port, advertised] : {std::pair{httpPort, "3"}, std::pair{quiet, "2"}}) {
        EXPECT_NE(
            mechanisms.output.find(":" + std::to_string(port) + "\",AdvertiseTypes=" + advertised),
            std::string::npos)
            << port << "\n"
            << mechanisms.output;
    }

    // The paths of the output, without the host wbemcli prints them with.
    auto paths = [](const Client& c) {
        std::vector<std::string> out;
        for (const std::string& line : c.lines()) {
            out.push_back(line.substr(line.find("/interop:") + 9));
        }
        return out;
    };
    Client managers = wbemcliIn("interop", "ein", "CIM_ObjectManager");
    ASSERT_EQ(managers.lines().size(), 1u) << managers.output;
    const std::string manager = paths(managers)[0];
    Client read = wbemcliIn("interop", "gi", manager);
    EXPECT_NE(read.output.find("ElementName=\"TARN\""), std::string::npos) << read.output;

    // Its system, its two namespaces, its two mechanisms and the profile it
    // is the central instance of.
    Client associated = wbemcliIn("interop", "ain", manager);
    EXPECT_EQ(associated.status, 0) << associated.output;
    std::map<std::string, int> classes;
    for (const std::string& path : paths(associated)) {
        ++classes[path.substr(0, path.find('.'))];
    }
    EXPECT_EQ(classes, (std::map<std::string, int>{{"CIM_CIMXMLCommunicationMechanism", 2},
                                                   {"CIM_ComputerSystem", 1},
                                                   {"CIM_Namespace", 2},
                                                   {"CIM_RegisteredProfile", 1}}))
        << associated.output;
    Client profile = wbemcliIn("interop", "ain", manager, {"-ac", "CIM_ElementConformsToProfile"});
    ASSERT_EQ(profile.lines().size(), 1u) << profile.output;
    Client central = wbemcliIn("interop", "ain", paths(profile)[0], {"-arr", "ManagedElement"});
    EXPECT_EQ(paths(central), paths(managers)) << central.output;

    // Every class of the model enumerates whole through wbemcli.
    for (auto [cls, count] : std::initializer_list<std::pair<const char*, std::size_t>>{
             {"CIM_ObjectManager", 1},
             {"CIM_Namespace", 2},
             {"CIM_ObjectManagerCommunicationMechanism", 2},
             {"CIM_RegisteredProfile", 3},
             {"CIM_HostedService", 1},
             {"CIM_NamespaceInManager", 2},
             {"CIM_CommMechanismForManager", 2},
             {"CIM_ElementConformsToProfile", 4}}) {
        Client all = wbemcliIn("interop", "ei", cls);
        EXPECT_EQ(all.status, 0) << cls << "\n" << all.output;
        EXPECT_EQ(all.lines().size(), count) << cls << "\n" << all.output;
    }
}

TEST_F(SchemaOperationsTest, WholeBodiesOfTheEdgeCases) {
    startWithTestClasses();
    // The defaults: direct subclasses only, local elements only, qualifiers.
    expectBody(
        invoke("EnumerateClasses", className("TARN_TestBase")),
        answer("EnumerateClasses",
               "<IRETURNVALUE><CLASS NAME=\"TARN_TestMiddle\" SUPERCLASS=\"TARN_TestBase\">\n"
               "<PROPERTY NAME=\"Label\"  TYPE=\"string\" PROPAGATED=\"false\" >\n"
               "<QUALIFIER NAME=\"Override\" TYPE=\"string\" PROPAGATED=\"false\" "
               "OVERRIDABLE=\"true\" TOSUBCLASS=\"false\" TRANSLATABLE=\"false\" >\n"
               "<VALUE>Label</VALUE>\n</QUALIFIER>\n</PROPERTY>\n"
               "<PROPERTY NAME=\"Size\"  TYPE=\"uint32\" PROPAGATED=\"false\" >\n"
               "</PROPERTY>\n</CLASS>\n</IRETURNVALUE>"));
    expectBody(invoke("EnumerateClassNames",
                      className("TARN_TestBase") + boolean("DeepInheritance", "TRUE")),
               answer("EnumerateClassNames",
                      "<IRETURNVALUE><CLASSNAME NAME=\"TARN_TestMiddle\"/><CLASSNAME "
                      "NAME=\"TARN_TestLeaf\"/></IRETURNVALUE>"));
    expectBody(invoke("EnumerateClassNames", className("TARN_TestLeaf")),
               answer("EnumerateClassNames", "<IRETURNVALUE></IRETURNVALUE>"));
    // A declaration without default value, so with ISARRAY.
    expectBody(invoke("GetQualifier", iparam("QualifierName", "<VALUE>override</VALUE>")),
               answer("GetQualifier",
                      "<IRETURNVALUE><QUALIFIER.DECLARATION NAME=\"Override\" TYPE=\"string\" "
                      "OVERRIDABLE=\"true\" TOSUBCLASS=\"false\" TRANSLATABLE=\"false\" "
                      "ISARRAY=\"false\" >\n<SCOPE CLASS=\"false\" ASSOCIATION=\"false\" "
                      "INDICATION=\"false\" PROPERTY=\"true\" REFERENCE=\"true\" METHOD=\"true\" "
                      "PARAMETER=\"false\" ></SCOPE>\n</QUALIFIER.DECLARATION>\n</IRETURNVALUE>"));

    // Parameters the operations do not take.
    const std::string invalid =
        "<ERROR CODE=\"4\" DESCRIPTION=\"One or more parameter values passed to the method are "
        "not valid.\"/>";
    expectBody(invoke("EnumerateClasses",
                      iparam("PropertyList", "<VALUE.ARRAY><VALUE>Id</VALUE></VALUE.ARRAY>")),
               answer("EnumerateClasses", invalid));
    expectBody(invoke("EnumerateQualifiers", className("TARN_TestBase")),
               answer("EnumerateQualifiers", invalid));

    // A property: its bare value, nothing for NULL.
    const std::string leaf =
        iparam("InstanceName",
               "<INSTANCENAME CLASSNAME=\"TARN_TestLeaf\"><KEYBINDING NAME=\"Id\"><KEYVALUE "
               "VALUETYPE=\"string\">l1</KEYVALUE></KEYBINDING></INSTANCENAME>");
    auto property = [](const std::string& name) {
        return iparam("PropertyName", "<VALUE>" + name + "</VALUE>");
    };
    expectBody(invoke("GetProperty", leaf + property("Size")),
               answer("GetProperty", "<IRETURNVALUE><VALUE>7</VALUE>\n</IRETURNVALUE>"));
    // Without NewValue the property becomes NULL, which GetProperty returns
    // as nothing.
    expectBody(invoke("SetProperty", leaf + property("Flag")), answer("SetProperty", ""));
    expectBody(invoke("GetProperty", leaf + property("Flag")),
               answer("GetProperty", "<IRETURNVALUE></IRETURNVALUE>"));
}

}  // namespace
}  // namespace tarntest
