// The instance operations in a running tarnd: wbemcli (a client written
// elsewhere) lists, reads, modifies and deletes instances of the default
// schema in root/cimv2 and follows their associations; raw requests compare
// whole response bodies where the operations shape them: DeepInheritance,
// PropertyList, parameters they do not know, and providers that fail before
// or after their first instance.
#include <gtest/gtest.h>

#include "OperationsFixture.h"

namespace tarntest {
namespace {

using namespace cimxml;
using namespace ops;

// The key of the port that the tests create.
const std::string kNewPort = "TARN_ListeningPort.Address=\"0.0.0.0\",Port=8080,Transport=6";

class InstanceOperationsTest : public ops::OperationsFixture {};

// ---- wbemcli ----

TEST_F(InstanceOperationsTest, WbemcliListsAndReadsTheInstancesAndClassesOfTheDefaultSchema) {
    startTarnd();
    const std::string service =
        "TARN_Service.Name=\"%s\",SystemCreationClassName=\"TARN_ComputerSystem\",SystemName="
        "\"tarn-example.local\",CreationClassName=\"TARN_Service\"";
    auto serviceNamed = [&](const std::string& name) {
        std::string s = service;
        return s.replace(s.find("%s"), 2, name);
    };

    Client names = wbemcli("ein", "TARN_Service");
    EXPECT_EQ(names.status, 0) << names.output;
    EXPECT_EQ(names.lines(), (std::vector<std::string>{printed(serviceNamed("tarn-cimxml")),
                                                       printed(serviceNamed("tarn-indications"))}));

    Client ports = wbemcli("ei", "TARN_ListeningPort", {"Address,Port,Secure,Backlog,Protocols"});
    EXPECT_EQ(ports.status, 0) << ports.output;
    EXPECT_EQ(ports.lines(),
              (std::vector<std::string>{
                  printed("TARN_ListeningPort.Address=\"127.0.0.1\",Port=5988,Transport=6") +
                      " Address=\"127.0.0.1\",Port=5988,Secure=FALSE,Backlog=128,"
                      "Protocols=\"HTTP/1.1\"",
                  printed("TARN_ListeningPort.Address=\"127.0.0.1\",Port=5989,Transport=6") +
                      " Address=\"127.0.0.1\",Port=5989,Secure=TRUE,Backlog=128,"
                      "Protocols=\"HTTP/1.1\""}));

    Client one = wbemcli("gi", serviceNamed("tarn-indications"), {"ElementName,Priority"});
    EXPECT_EQ(one.status, 0) << one.output;
    EXPECT_EQ(one.output, printed("TARN_Service.Name=\"tarn-indications\",SystemCreationClassName="
                                  "\"TARN_ComputerSystem\",SystemName=\"tarn-example.local\","
                                  "CreationClassName=\"TARN_Service\"") +
                              " ElementName=\"Indication delivery\",Priority=5\n");

    Client missing = wbemcli("gi", serviceNamed("sshd"));
    EXPECT_NE(missing.status, 0);
    EXPECT_NE(missing.output.find("(6) CIM_ERR_NOT_FOUND: The requested object cannot be found."),
              std::string::npos)
        << missing.output;
    Client noClass = wbemcli("ei", "TARN_NoSuchClass");
    EXPECT_NE(noClass.status, 0);
    EXPECT_NE(noClass.output.find("(5) CIM_ERR_INVALID_CLASS: The specified class does not exist. "
                                  "(Class 'TARN_NoSuchClass' does not exist in namespace "
                                  "'root/cimv2')"),
              std::string::npos)
        << noClass.output;

    // The class definition: wbemcli asks for the inherited properties too
    // and prints each name, in the class's order.
    Client cls = wbemcli("gc", "TARN_Service");
    EXPECT_EQ(cls.status, 0) << cls.output;
    EXPECT_EQ(cls.output.rfind(printed("TARN_Service") + " InstanceID=,Caption=,", 0), 0u)
        << cls.output;
    EXPECT_NE(cls.output.find(",ExecutablePath=,ProcessID=,RestartCount=,Priority=,MemoryLimit=\n"),
              std::string::npos)
        << cls.output;
    Client noDefinition = wbemcli("gc", "TARN_NoSuchClass");
    EXPECT_NE(noDefinition.status, 0);
    EXPECT_NE(noDefinition.output.find("(6) CIM_ERR_NOT_FOUND"), std::string::npos)
        << noDefinition.output;
}

TEST_F(InstanceOperationsTest, ACreatedInstanceIsReadModifiedAndDeletedWithWbemcli) {
    startTarnd();
    // wbemcli's ci reads the class first (GetClass) to type the values, and
    // sends only the properties listed, keys included. The arrays are all
    // set, so that wbemcli can read the instance whole (mi does).
    Client created =
        wbemcli("ci", kNewPort,
                {"Address=\"0.0.0.0\",Port=8080,Transport=6,ElementName=\"test port\","
                 "Protocols=\"HTTP/1.1\",OperationalStatus=2,StatusDescriptions=\"OK\","
                 "AvailableRequestedStates=2,3"});
    EXPECT_EQ(created.status, 0) << created.output;

    auto array = [](const std::string& name, const std::string& type,
                    std::initializer_list<const char*> values) {
        std::string s = "<PROPERTY.ARRAY NAME=\"" + name + "\" TYPE=\"" + type + "\"><VALUE.ARRAY>";
        for (const char* v : values) {
            s += std::string("<VALUE>") + v + "</VALUE>";
        }
        return s + "</VALUE.ARRAY></PROPERTY.ARRAY>";
    };
    auto scalar = [](const std::string& name, const std::string& type, const std::string& value) {
        return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\"><VALUE>" + value +
               "</VALUE></PROPERTY>";
    };
    const std::string port = "<INSTANCE CLASSNAME=\"TARN_ListeningPort\">" +
                             scalar("Address", "string", "0.0.0.0") +
                             scalar("Port", "uint16", "8081") + scalar("Transport", "uint16", "6") +
                             scalar("ElementName", "string", "second port") +
                             array("Protocols", "string", {"HTTP/1.1"}) + "</INSTANCE>";
    // A second one with a request of our own: the whole answer is the new name.
    expectBody(invoke("CreateInstance", iparam("NewInstance", port)),
               answer("CreateInstance",
                      "<IRETURNVALUE><INSTANCENAME CLASSNAME=\"TARN_ListeningPort\">\n"
                      "<KEYBINDING NAME=\"Address\"><KEYVALUE VALUETYPE=\"string\" "
                      "TYPE=\"string\">0.0.0.0</KEYVALUE></KEYBINDING>\n"
                      "<KEYBINDING NAME=\"Port\"><KEYVALUE VALUETYPE=\"numeric\" "
                      "TYPE=\"uint16\">8081</KEYVALUE></KEYBINDING>\n"
                      "<KEYBINDING NAME=\"Transport\"><KEYVALUE VALUETYPE=\"numeric\" "
                      "TYPE=\"uint16\">6</KEYVALUE></KEYBINDING>\n"
                      "</INSTANCENAME>\n</IRETURNVALUE>"));
    // Creating it again: it exists.
    expectBody(
        invoke("CreateInstance", iparam("NewInstance", port)),
        answer("CreateInstance",
               "<ERROR CODE=\"11\" DESCRIPTION=\"The operation cannot be invoked because an "
               "object already exists. (instance TARN_ListeningPort.address=&quot;0.0.0.0&quot;,"
               "port=8081,transport=6 already exists in namespace root/cimv2)\"/>"));
    Client second = wbemcli("di", "TARN_ListeningPort.Address=\"0.0.0.0\",Port=8081,Transport=6");
    EXPECT_EQ(second.status, 0) << second.output;

    const std::string printedPort =
        printed("TARN_ListeningPort.Address=\"0.0.0.0\",Port=\"8080\",Transport=\"6\"");
    Client whole = wbemcli("gi", kNewPort);
    EXPECT_EQ(whole.status, 0) << whole.output;
    EXPECT_NE(whole.output.find(printedPort + " InstanceID=,"), std::string::npos) << whole.output;
    EXPECT_NE(whole.output.find(",ElementName=\"test port\","), std::string::npos);
    EXPECT_NE(whole.output.find(",AvailableRequestedStates=2,3,"), std::string::npos);
    // Defaults of the class fill what the request left out.
    EXPECT_NE(whole.output.find(",Secure=FALSE,Backlog=,Protocols=\"HTTP/1.1\"\n"),
              std::string::npos);

    Client modify = wbemcli("mi", kNewPort, {"ElementName=\"renamed\",Backlog=64"});
    EXPECT_EQ(modify.status, 0) << modify.output;
    Client after = wbemcli("gi", kNewPort, {"ElementName,Backlog,Port"});
    EXPECT_EQ(after.output, printedPort + " ElementName=\"renamed\",Backlog=64,Port=8080\n");

    Client del = wbemcli("di", kNewPort);
    EXPECT_EQ(del.status, 0) << del.output;
    Client names = wbemcli("ein", "TARN_ListeningPort");
    EXPECT_EQ(names.lines(),
              (std::vector<std::string>{
                  printed("TARN_ListeningPort.Address=\"127.0.0.1\",Port=5988,Transport=6"),
                  printed("TARN_ListeningPort.Address=\"127.0.0.1\",Port=5989,Transport=6")}));
    Client again = wbemcli("di", kNewPort);
    EXPECT_NE(again.status, 0);
    EXPECT_NE(again.output.find("(6) CIM_ERR_NOT_FOUND"), std::string::npos) << again.output;
}

TEST_F(InstanceOperationsTest, WbemcliFollowsTheAssociationsOfTheDefaultSchema) {
    startTarnd();
    // Paths of results carry the host tarnd advertises (the machine's name);
    // wbemcli prints a reference inside a path as host/namespace + class.
    char host[256] = {};
    ASSERT_EQ(::gethostname(host, sizeof host - 1), 0);
    const std::string returned = std::string(host) + "/root/cimv2";
    const std::string system =
        "TARN_ComputerSystem.Name=\"tarn-example.local\",CreationClassName=\"TARN_ComputerSystem\"";
    const std::string service =
        "TARN_Service.Name=\"tarn-cimxml\",SystemCreationClassName=\"TARN_ComputerSystem\","
        "SystemName=\"tarn-example.local\",CreationClassName=\"TARN_Service\"";
    auto port = [](int number) {
        return "TARN_ListeningPort.Address=\"127.0.0.1\",Port=" + std::to_string(number) +
               ",Transport=6";
    };
    auto serviceOn = [&](int number) {
        return "TARN_ServiceListeningPort.Antecedent=" + returned + service +
               ",Dependent=" + returned + port(number);
    };

    Client names = wbemcli("ain", service);
    EXPECT_EQ(names.status, 0) << names.output;
    EXPECT_EQ(names.lines(),
              (std::vector<std::string>{returned + ":" + system, returned + ":" + port(5988),
                                        returned + ":" + port(5989)}));
    Client ports = wbemcli("ai", service, {"-ac", "TARN_ServiceListeningPort", "Port,Secure"});
    EXPECT_EQ(ports.status, 0) << ports.output;
    EXPECT_EQ(ports.lines(),
              (std::vector<std::string>{returned + ":" + port(5988) + " Port=5988,Secure=FALSE",
                                        returned + ":" + port(5989) + " Port=5989,Secure=TRUE"}));
    Client hosting = wbemcli(
        "ai", service, {"-arc", "CIM_System", "-ar", "Dependent", "-arr", "Antecedent", "Name"});
    EXPECT_EQ(hosting.output, returned + ":" + system + " Name=\"tarn-example.local\"\n");

    Client links = wbemcli("rin", service, {"-arc", "TARN_ServiceListeningPort"});
    EXPECT_EQ(links.status, 0) << links.output;
    EXPECT_EQ(links.lines(), (std::vector<std::string>{returned + ":" + serviceOn(5988),
                                                       returned + ":" + serviceOn(5989)}));
    Client hosted = wbemcli("ri", service, {"-ar", "Dependent", "Antecedent"});
    EXPECT_EQ(hosted.status, 0) << hosted.output;
    const std::string hostedService =
        "TARN_HostedService.Antecedent=" + returned + system + ",Dependent=" + returned + service;
    EXPECT_EQ(hosted.output,
              returned + ":" + hostedService + " Antecedent=" + returned + system + "\n");

    // wbemcli sends the references of a path with the host of its URL: they
    // name the same instances.
    const std::string given =
        "TARN_ServiceListeningPort.Antecedent=" + service + ",Dependent=" + port(5989);
    Client one = wbemcli("gi", given, {"Dependent"});
    EXPECT_EQ(one.status, 0) << one.output;
    Client gone = wbemcli("di", given);
    EXPECT_EQ(gone.status, 0) << gone.output;
    EXPECT_EQ(wbemcli("rin", service, {"-arc", "TARN_ServiceListeningPort"}).lines(),
              (std::vector<std::string>{returned + ":" + serviceOn(5988)}));
    EXPECT_EQ(wbemcli("ain", port(5989)).output, "");
}

// ---- Whole bodies ----

TEST_F(InstanceOperationsTest, DeepInheritanceFalseWritesOnlyTheRequestedClassAndItsAncestors) {
    startWithTestClasses();
    const std::string middle = named("TARN_TestMiddle", "string", "m1",
                                     prop("Label", "string", "middle") +
                                         prop("Size", "uint32", "5") + prop("Id", "string", "m1"));
    // The leaf's Flag and Extra belong to the subclass: left out.
    const std::string leaf = named(
        "TARN_TestLeaf", "string", "l1",
        prop("Label", "string", "leaf") + prop("Size", "uint32", "7") + prop("Id", "string", "l1"));
    expectBody(invoke("EnumerateInstances",
                      className("TARN_TestMiddle") + boolean("DeepInheritance", "false")),
               answer("EnumerateInstances", "<IRETURNVALUE>" + middle + leaf + "</IRETURNVALUE>"));

    // The requested class is found among the ancestors by its exact name:
    // spelt in another case it is not, and the instances keep every property.
    const std::string wholeMiddle =
        named("TARN_TestMiddle", "string", "m1",
              prop("Id", "string", "m1") + prop("Label", "string", "middle") +
                  prop("Size", "uint32", "5"));
    const std::string wholeLeaf = named(
        "TARN_TestLeaf", "string", "l1",
        prop("Id", "string", "l1") + prop("Label", "string", "leaf") + prop("Size", "uint32", "7") +
            prop("Flag", "boolean", "TRUE") + prop("Extra", "string", "x&lt;y"));
    expectBody(invoke("EnumerateInstances",
                      className("tarn_testmiddle") + boolean("DeepInheritance", "false")),
               answer("EnumerateInstances",
                      "<IRETURNVALUE>" + wholeMiddle + wholeLeaf + "</IRETURNVALUE>"));
    EXPECT_TRUE(traced(1, "cimxmlpa::EnumerateInstancesOperation::getClass()",
                       "Unable to find requested parent class 'tarn_testmiddle' as ancestor of "
                       "current instance of 'TARN_TestLeaf'"))
        << trace();

    // Deep (the default): every property, in the class's order.
    expectBody(invoke("EnumerateInstances", className("TARN_TestLeaf")),
               answer("EnumerateInstances", "<IRETURNVALUE>" + wholeLeaf + "</IRETURNVALUE>"));

    // Limited further by a PropertyList, in the order of the classes.
    expectBody(
        invoke("EnumerateInstances",
               className("TARN_TestBase") + boolean("DeepInheritance", "FALSE") +
                   iparam("PropertyList",
                          "<VALUE.ARRAY><VALUE>Size</VALUE><VALUE>Id</VALUE></VALUE.ARRAY>")),
        answer("EnumerateInstances",
               "<IRETURNVALUE>" +
                   named("TARN_TestMiddle", "string", "m1", prop("Id", "string", "m1")) +
                   named("TARN_TestLeaf", "string", "l1", prop("Id", "string", "l1")) +
                   "</IRETURNVALUE>"));
}

TEST_F(InstanceOperationsTest, AnEmptyPropertyListWritesInstancesWithoutProperties) {
    startWithTestClasses();
    const std::string empty = iparam("PropertyList", "<VALUE.ARRAY></VALUE.ARRAY>");
    const std::string bare =
        named("TARN_TestMiddle", "string", "m1", "") + named("TARN_TestLeaf", "string", "l1", "");
    for (const char* deep : {"true", "false"}) {
        SCOPED_TRACE(deep);
        expectBody(invoke("EnumerateInstances",
                          className("TARN_TestMiddle") + boolean("DeepInheritance", deep) + empty),
                   answer("EnumerateInstances", "<IRETURNVALUE>" + bare + "</IRETURNVALUE>"));
    }
    expectBody(
        invoke("GetInstance",
               iparam("InstanceName",
                      "<INSTANCENAME CLASSNAME=\"TARN_TestLeaf\"><KEYBINDING NAME=\"Id\"><KEYVALUE "
                      "VALUETYPE=\"string\">l1</KEYVALUE></KEYBINDING></INSTANCENAME>") +
                   empty),
        answer("GetInstance",
               "<IRETURNVALUE><INSTANCE CLASSNAME=\"TARN_TestLeaf\">\n</INSTANCE>\n"
               "</IRETURNVALUE>"));
}

TEST_F(InstanceOperationsTest, UnknownParametersAndBadWordsAreRefusedWithCodeFour) {
    startWithTestClasses();
    const std::string invalid = answer(
        "EnumerateInstances",
        "<ERROR CODE=\"4\" DESCRIPTION=\"One or more parameter values passed to the method are "
        "not valid.\"/>");
    expectBody(
        invoke("EnumerateInstances", className("TARN_TestMiddle") + boolean("Colour", "blue")),
        invalid);
    EXPECT_TRUE(traced(1, "cimxmlpa::CIMXMLUtil::validateParameterNames",
                       "Operation 'EnumerateInstances' has unsupported parameter 'Colour'"))
        << trace();

    expectBody(invoke("EnumerateInstances",
                      className("TARN_TestMiddle") + boolean("DeepInheritance", "yes")),
               invalid);
    EXPECT_TRUE(traced(1, "cimxmlpa::EnumerateInstancesOperation::initialize",
                       "Invalid value for deepInheritance: yes"));

    // LocalOnly is allowed but never read: any word passes.
    Response r = invoke("EnumerateInstances", className("TARN_TestLeaf") +
                                                  boolean("LocalOnly", "sometimes") +
                                                  boolean("IncludeClassOrigin", "TrUe"));
    EXPECT_EQ(r.status, 200);
    EXPECT_NE(
        r.body.find("<PROPERTY NAME=\"Extra\" TYPE=\"string\" CLASSORIGIN=\"TARN_TestLeaf\">"),
        std::string::npos)
        << r.body;
    EXPECT_EQ(dtdErrors(r.body), "");
}

TEST_F(InstanceOperationsTest, AProviderFailingBeforeItsFirstInstanceAnswersWithAnError) {
    startWithTestClasses();
    expectBody(invoke("EnumerateInstances", className("TARN_TestFailsAtOnce")),
               answer("EnumerateInstances",
                      "<ERROR CODE=\"27\" DESCRIPTION=\"The CIM Server has failed the operation "
                      "based upon exceeding server limits. (the device stopped answering after 0 "
                      "items)\"/>"));
    expectBody(invoke("EnumerateInstanceNames", className("TARN_TestFailsAtOnce")),
               answer("EnumerateInstanceNames",
                      "<ERROR CODE=\"27\" DESCRIPTION=\"The CIM Server has failed the operation "
                      "based upon exceeding server limits. (the device stopped answering after 0 "
                      "items)\"/>"));
    // The handler fails before any provider runs.
    expectBody(invoke("EnumerateInstances", className("TARN_NoSuchClass")),
               answer("EnumerateInstances",
                      "<ERROR CODE=\"5\" DESCRIPTION=\"The specified class does not exist. (Class "
                      "&apos;TARN_NoSuchClass&apos; does not exist in namespace "
                      "&apos;root/cimv2&apos;)\"/>"));
}

TEST_F(InstanceOperationsTest, AProviderFailingAfterItsFirstInstanceLeavesTheResultsStanding) {
    startWithTestClasses();
    std::string three;
    std::string names;
    for (const char* id : {"1", "2", "3"}) {
        three +=
            named("TARN_TestFailsLater", "uint32", id,
                  prop("Id", "uint32", id) + prop("Name", "string", std::string("item ") + id));
        names += std::string(
                     "<INSTANCENAME CLASSNAME=\"TARN_TestFailsLater\">\n<KEYBINDING "
                     "NAME=\"Id\"><KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint32\">") +
                 id + "</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n";
    }
    expectBody(invoke("EnumerateInstances", className("TARN_TestFailsLater")),
               answer("EnumerateInstances", "<IRETURNVALUE>" + three + "</IRETURNVALUE>"));
    expectBody(invoke("EnumerateInstanceNames", className("TARN_TestFailsLater")),
               answer("EnumerateInstanceNames", "<IRETURNVALUE>" + names + "</IRETURNVALUE>"));
}

}  // namespace
}  // namespace tarntest
