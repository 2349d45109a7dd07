// The operations of a running tarnd as clients send them: raw requests
// compare whole response bodies (which the DTD must accept) where the
// operations shape them, and wbemcli, a client written elsewhere that sends
// untyped keys and values and the paths it printed, drives each operation it
// has once.
#include <unistd.h>

#include "TarndFixture.h"

namespace tarntest {
namespace {

using namespace cimxml;

// Classes of the tests beside the default schema.
const char* const kTestMof = R"(
class TARN_TestBase {
    [Key] string Id;
    string Label;
};
class TARN_TestMiddle : TARN_TestBase {
    [Override("Label")] string Label = "unnamed";
    uint32 Size;
};
class TARN_TestLeaf : TARN_TestMiddle {
    boolean Flag;
    string Extra;
};
instance of TARN_TestMiddle { Id = "m1"; Label = "middle"; Size = 5; };
instance of TARN_TestLeaf { Id = "l1"; Label = "leaf"; Size = 7; Flag = TRUE; Extra = "x<y"; };
)";

std::string boolean(const std::string& name, const std::string& word) {
    return iparam(name, "<VALUE>" + word + "</VALUE>");
}
std::string prop(const std::string& name, const std::string& type, const std::string& text) {
    return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"><VALUE>" + text +
           "</VALUE>\n</PROPERTY>\n";
}
std::string keyBinding(const std::string& name, const std::string& type, const std::string& key) {
    return "<KEYBINDING NAME=\"" + name + "\"><KEYVALUE VALUETYPE=\"" +
           (type == "string" ? "string" : "numeric") + "\" TYPE=\"" + type + "\">" + key +
           "</KEYVALUE></KEYBINDING>\n";
}
std::string named(const std::string& cls, const std::string& keyType, const std::string& key,
                  const std::string& properties) {
    return "<VALUE.NAMEDINSTANCE>\n<INSTANCENAME CLASSNAME=\"" + cls + "\">\n" +
           keyBinding("Id", keyType, key) + "</INSTANCENAME>\n<INSTANCE CLASSNAME=\"" + cls +
           "\">\n" + properties + "</INSTANCE>\n</VALUE.NAMEDINSTANCE>\n";
}
std::string returned(const std::string& content) {
    return "<IRETURNVALUE>" + content + "</IRETURNVALUE>";
}
std::string counterPath(const std::string& name) {
    return "<LOCALINSTANCEPATH>" + kRootCimv2 +
           "<INSTANCENAME CLASSNAME=\"TARN_SampleCounter\"><KEYBINDING NAME=\"Name\"><KEYVALUE "
           "VALUETYPE=\"string\">" +
           name + "</KEYVALUE></KEYBINDING></INSTANCENAME></LOCALINSTANCEPATH>";
}
std::string extrinsic(const std::string& method, const std::string& target,
                      const std::string& params) {
    return message("<SIMPLEREQ><METHODCALL NAME=\"" + method + "\">" + target + params +
                   "</METHODCALL></SIMPLEREQ>");
}
std::string param(const std::string& name, const std::string& value, const std::string& type = "") {
    return "<PARAMVALUE NAME=\"" + name + "\"" +
           (type.empty() ? "" : " PARAMTYPE=\"" + type + "\"") + "><VALUE>" + value +
           "</VALUE></PARAMVALUE>";
}
std::string query(const std::string& language, const std::string& text) {
    return call("ExecQuery", iparam("QueryLanguage", "<VALUE>" + language + "</VALUE>") +
                                 iparam("Query", "<VALUE>" + text + "</VALUE>"));
}
std::string hostName() {
    char host[256] = {};
    ::gethostname(host, sizeof host - 1);
    return host;
}

class OperationsTest : public CimXmlFixture {};

TEST_F(OperationsTest, WholeBodiesOfTheCallsTheOperationsShape) {
    std::ofstream(dir.path() / "test.mof") << kTestMof;
    loadMof({(dir.path() / "test.mof").string(),
             std::string(TARN_SOURCE_DIR) + "/examples/providers/TARN_SampleCounter.mof"});
    startTarnd();

    const std::string invalid =
        "<ERROR CODE=\"4\" DESCRIPTION=\"One or more parameter values passed to the method are "
        "not valid.\"/>";
    const std::string wholeMiddle =
        named("TARN_TestMiddle", "string", "m1",
              prop("Id", "string", "m1") + prop("Label", "string", "middle") +
                  prop("Size", "uint32", "5"));
    const std::string wholeLeaf = named(
        "TARN_TestLeaf", "string", "l1",
        prop("Id", "string", "l1") + prop("Label", "string", "leaf") + prop("Size", "uint32", "7") +
            prop("Flag", "boolean", "TRUE") + prop("Extra", "string", "x&lt;y"));
    const std::string leafName =
        iparam("InstanceName",
               "<INSTANCENAME CLASSNAME=\"TARN_TestLeaf\"><KEYBINDING NAME=\"Id\"><KEYVALUE "
               "VALUETYPE=\"string\">l1</KEYVALUE></KEYBINDING></INSTANCENAME>");
    const std::string emptyList = iparam("PropertyList", "<VALUE.ARRAY></VALUE.ARRAY>");
    const std::string bare =
        named("TARN_TestMiddle", "string", "m1", "") + named("TARN_TestLeaf", "string", "l1", "");
    const std::string port = iparam(
        "NewInstance",
        "<INSTANCE CLASSNAME=\"TARN_ListeningPort\">" + prop("Address", "string", "0.0.0.0") +
            prop("Port", "uint16", "8081") + prop("Transport", "uint16", "6") +
            "<PROPERTY.ARRAY NAME=\"Protocols\" TYPE=\"string\"><VALUE.ARRAY><VALUE>HTTP/1.1"
            "</VALUE></VALUE.ARRAY></PROPERTY.ARRAY></INSTANCE>");
    const std::string readWho = "cimxmlpa::InvokeMethodOperation::initialize";
    const std::string execQuery = "cimxmlpa::ExecQueryOperation::initialize";

    struct Case {
        const char* name;
        std::string method;
        std::string body;
        std::string expected;  // the whole body, or a part of it when contains
        bool contains = false;
        std::string traceSource = "";  // the trace line the call leaves, when it has one
        std::string traceMessage = "";
    };
    const Case cases[] = {
        {"shallow: the requested class's properties, in the order of its ancestors",
         "EnumerateInstances",
         call("EnumerateInstances",
              className("TARN_TestMiddle") + boolean("DeepInheritance", "false")),
         answer("EnumerateInstances",
                returned(named("TARN_TestMiddle", "string", "m1",
                               prop("Label", "string", "middle") + prop("Size", "uint32", "5") +
                                   prop("Id", "string", "m1")) +
                         named("TARN_TestLeaf", "string", "l1",
                               prop("Label", "string", "leaf") + prop("Size", "uint32", "7") +
                                   prop("Id", "string", "l1"))))},
        {"shallow, the class spelt in another case: not found among the ancestors",
         "EnumerateInstances",
         call("EnumerateInstances",
              className("tarn_testmiddle") + boolean("DeepInheritance", "false")),
         answer("EnumerateInstances", returned(wholeMiddle + wholeLeaf)), false,
         "cimxmlpa::EnumerateInstancesOperation::getClass()",
         "Unable to find requested parent class 'tarn_testmiddle' as ancestor of current instance "
         "of 'TARN_TestLeaf'"},
        {"deep", "EnumerateInstances", call("EnumerateInstances", className("TARN_TestLeaf")),
         answer("EnumerateInstances", returned(wholeLeaf))},
        {"shallow with a property list", "EnumerateInstances",
         call("EnumerateInstances",
              className("TARN_TestBase") + boolean("DeepInheritance", "FALSE") +
                  iparam("PropertyList",
                         "<VALUE.ARRAY><VALUE>Size</VALUE><VALUE>Id</VALUE></VALUE.ARRAY>")),
         answer("EnumerateInstances",
                returned(named("TARN_TestMiddle", "string", "m1", prop("Id", "string", "m1")) +
                         named("TARN_TestLeaf", "string", "l1", prop("Id", "string", "l1"))))},
        {"empty property list, deep", "EnumerateInstances",
         call("EnumerateInstances", className("TARN_TestMiddle") + emptyList),
         answer("EnumerateInstances", returned(bare))},
        {"empty property list, shallow", "EnumerateInstances",
         call("EnumerateInstances",
              className("TARN_TestMiddle") + boolean("DeepInheritance", "false") + emptyList),
         answer("EnumerateInstances", returned(bare))},
        {"empty property list, one instance", "GetInstance",
         call("GetInstance", leafName + emptyList),
         answer("GetInstance", returned("<INSTANCE CLASSNAME=\"TARN_TestLeaf\">\n</INSTANCE>\n"))},
        {"LocalOnly is allowed but never read", "EnumerateInstances",
         call("EnumerateInstances", className("TARN_TestLeaf") + boolean("LocalOnly", "sometimes") +
                                        boolean("IncludeClassOrigin", "TrUe")),
         "<PROPERTY NAME=\"Extra\" TYPE=\"string\" CLASSORIGIN=\"TARN_TestLeaf\">", true},
        {"created: the new name", "CreateInstance", call("CreateInstance", port),
         answer("CreateInstance",
                "<IRETURNVALUE><INSTANCENAME CLASSNAME=\"TARN_ListeningPort\">\n" +
                    keyBinding("Address", "string", "0.0.0.0") +
                    keyBinding("Port", "uint16", "8081") + keyBinding("Transport", "uint16", "6") +
                    "</INSTANCENAME>\n</IRETURNVALUE>")},
        {"created again", "CreateInstance", call("CreateInstance", port),
         answer("CreateInstance",
                "<ERROR CODE=\"11\" DESCRIPTION=\"The operation cannot be invoked because an "
                "object already exists. (instance TARN_ListeningPort.address=&quot;0.0.0.0&quot;,"
                "port=8081,transport=6 already exists in namespace root/cimv2)\"/>")},
        {"a property list for classes", "EnumerateClasses",
         call("EnumerateClasses",
              iparam("PropertyList", "<VALUE.ARRAY><VALUE>Id</VALUE></VALUE.ARRAY>")),
         answer("EnumerateClasses", invalid)},
        {"a class name for qualifiers", "EnumerateQualifiers",
         call("EnumerateQualifiers", className("TARN_TestBase")),
         answer("EnumerateQualifiers", invalid)},
        {"unknown PARAMTYPE", "Add",
         extrinsic("Add", counterPath("c1"), param("Amount", "1", "uint65")), "<ERROR CODE=\"4\"",
         true, readWho,
         "Unknown PARAMTYPE: PARAMVALUE NAME=Amount PARAMTYPE=uint65 on method Add for class "
         "TARN_SampleCounter"},
        {"a parameter twice", "Add",
         extrinsic("Add", counterPath("c1"),
                   param("Amount", "1", "uint64") + param("AMOUNT", "2", "uint64")),
         "<ERROR CODE=\"4\"", true, readWho, "Duplicate Input Parameter: amount"},
        {"no query", "ExecQuery", query("WQL", ""), "<ERROR CODE=\"4\"", true, execQuery,
         "Missing Query parameter."},
        {"no query language", "ExecQuery", query("", "SELECT * FROM TARN_SampleCounter"),
         "<ERROR CODE=\"4\"", true, execQuery, "Missing QueryLanguage parameter."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Response r = exchange(request(cimHeaders(c.method), c.body));
        EXPECT_EQ(r.status, 200);
        if (c.contains) {
            EXPECT_NE(r.body.find(c.expected), std::string::npos) << r.body;
        } else {
            EXPECT_EQ(r.body, c.expected);
        }
        EXPECT_EQ(dtdErrors(r.body), "");
        if (!c.traceSource.empty()) {
            EXPECT_TRUE(traced(1, c.traceSource, c.traceMessage)) << trace();
        }
    }
}

TEST_F(OperationsTest, WbemcliDrivesEveryOperationItSends) {
    if (!std::filesystem::exists("/usr/bin/wbemcli")) {
        GTEST_SKIP() << "wbemcli is not installed (scripts/bootstrap installs it)";
    }
    // A second plain port, not advertised (the first is --http-port's).
    const std::uint16_t quiet = freePort();
    std::ofstream(dir.path() / "Port_settings.xml")
        << "<PortSettings><port number=\"1\" secure=\"false\" slp=\"true\"/>"
        << "<port number=\"" << quiet << "\" secure=\"false\" slp=\"false\"/></PortSettings>";
    loadMof({std::string(TARN_SOURCE_DIR) + "/examples/providers/TARN_SampleCounter.mof"});
    startTarnd("[Providers]\nModules = " + library("libtarn_sample_provider.so") + "\n");

    // wbemcli prints the paths it got with the host of its URL, references
    // inside them and associated objects with the host tarnd writes.
    const std::string at = "127.0.0.1:" + std::to_string(httpPort) + "/root/cimv2:";
    const std::string host = hostName() + "/root/cimv2";
    const std::string system =
        "TARN_ComputerSystem.Name=\"tarn-example.local\",CreationClassName=\"TARN_ComputerSystem\"";
    auto service = [](const std::string& name) {
        return "TARN_Service.Name=\"" + name +
               "\",SystemCreationClassName=\"TARN_ComputerSystem\",SystemName=\"tarn-example."
               "local\",CreationClassName=\"TARN_Service\"";
    };
    auto port = [](int number) {
        return "TARN_ListeningPort.Address=\"127.0.0.1\",Port=" + std::to_string(number) +
               ",Transport=6";
    };
    const std::string cimxml = " root/cimv2:" + service("tarn-cimxml");
    const std::string newPort =
        " root/cimv2:TARN_ListeningPort.Address=\"0.0.0.0\",Port=8080,Transport=6";
    const std::string link =
        " root/cimv2:TARN_ServiceListeningPort.Antecedent=" + service("tarn-cimxml") +
        ",Dependent=" + port(5989);
    const std::string counter = " root/cimv2:TARN_SampleCounter.Name=\"hits\"";
    struct Case {
        std::string command;  // operation, URL path (namespace:object path), more arguments
        bool ok;
        std::string expected;  // a part of the output
    };
    const Case cases[] = {
        {"ei root/cimv2:TARN_NoSuchClass", false,
         "(5) CIM_ERR_INVALID_CLASS: The specified class does not exist. (Class "
         "'TARN_NoSuchClass' does not exist in namespace 'root/cimv2')"},
        // ci reads the class first to type the values; the arrays are all
        // set, so that mi can read the instance whole.
        {"ci" + newPort +
             " Address=\"0.0.0.0\",Port=8080,Transport=6,ElementName=\"test\",Protocols="
             "\"HTTP/"
             "1.1\",OperationalStatus=2,StatusDescriptions=\"OK\",AvailableRequestedStates=2,3",
         true, ""},
        // Defaults of the class fill what the request left out.
        {"gi" + newPort, true, ",Secure=FALSE,Backlog=,Protocols=\"HTTP/1.1\"\n"},
        {"mi" + newPort + " ElementName=\"renamed\",Backlog=64", true, ""},
        {"gi" + newPort + " ElementName,Backlog,Port", true,
         at + "TARN_ListeningPort.Address=\"0.0.0.0\",Port=\"8080\",Transport=\"6\" "
              "ElementName=\"renamed\",Backlog=64,Port=8080\n"},
        {"di" + newPort, true, ""},
        {"sp" + cimxml + " Priority=-3", true, ""},
        {"gp" + cimxml + " Priority", true, "-3\n"},
        {"ain" + cimxml, true, host + ":" + system + "\n"},
        {"ai" + cimxml + " -ac TARN_ServiceListeningPort Port,Secure", true,
         host + ":" + port(5989) + " Port=5989,Secure=TRUE\n"},
        {"ai" + cimxml + " -arc CIM_System -ar Dependent -arr Antecedent Name", true,
         host + ":" + system + " Name=\"tarn-example.local\"\n"},
        {"rin" + cimxml + " -arc TARN_ServiceListeningPort", true,
         host + ":TARN_ServiceListeningPort.Antecedent=" + host + service("tarn-cimxml") +
             ",Dependent=" + host + port(5988) + "\n"},
        {"ri" + cimxml + " -ar Dependent Antecedent", true, " Antecedent=" + host + system + "\n"},
        // References in a path, as wbemcli sends them: with its URL's host.
        {"gi" + link + " Dependent", true, ""},
        {"di" + link, true, ""},
        {"cm root/cimv2:TARN_SampleCounter Create.Name=\"hits\"", true,
         at + "TARN_SampleCounter Create: 0, Counter (reference): "},
        {"cm" + counter + " Add.Amount=5", true,
         at + "TARN_SampleCounter.Name=\"hits\" Add: 0, Total (uint64): 5\n"},
        // A CIM-XML mechanism per port, SLP (3) where the port is advertised.
        {"ei interop:CIM_CIMXMLCommunicationMechanism Name,AdvertiseTypes", true,
         ":" + std::to_string(httpPort) + "\",AdvertiseTypes=3"},
        {"ei interop:CIM_CIMXMLCommunicationMechanism Name,AdvertiseTypes", true,
         ":" + std::to_string(quiet) + "\",AdvertiseTypes=2"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command);
        std::istringstream words(c.command);
        std::string op;
        std::string path;
        words >> op >> path;
        std::vector<std::string> more;
        for (std::string word; words >> word;) {
            more.push_back(word);
        }
        auto [status, output] = wbemcli(op, path, more);
        EXPECT_EQ(status == 0, c.ok) << output;
        EXPECT_NE(output.find(c.expected), std::string::npos) << output;
    }

    // wbemcli reads every instance of every class (NULL arrays are left
    // out, which it could not parse), and follows the object manager's
    // associations from the path it printed.
    std::size_t classes = 0;
    for (const std::string ns : {"root/cimv2", "interop"}) {
        std::istringstream names(wbemcli("ecn", ns).second);
        for (std::string line; std::getline(names, line); ++classes) {
            std::string path = ns + ":" + line.substr(line.rfind(':') + 1);
            EXPECT_EQ(wbemcli("ei", path).first, 0) << path;
        }
    }
    EXPECT_EQ(classes, 20u + 38u);
    std::string manager = wbemcli("ein", "interop:CIM_ObjectManager").second;
    manager = "interop:" + trimmed(manager.substr(manager.find("/interop:") + 9));
    auto [status, associated] = wbemcli("ain", manager, {"-ac", "CIM_ElementConformsToProfile"});
    EXPECT_EQ(status, 0) << manager;
    EXPECT_NE(associated.find("/interop:CIM_RegisteredProfile.InstanceID="), std::string::npos)
        << associated;
}

}  // namespace
}  // namespace tarntest
