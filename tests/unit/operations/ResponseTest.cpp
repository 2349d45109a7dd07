// The response elements of the instance operations, compared whole.
#include "OperationTestSupport.h"

namespace {

using namespace optest;

// ---- Expected pieces ----

std::string prop(const char* name, const char* type, const char* text, const char* origin = nullptr,
                 bool propagated = false) {
    std::string s = std::string("<PROPERTY NAME=\"") + name + "\" TYPE=\"" + type + "\"";
    if (origin != nullptr) {
        s += std::string(" CLASSORIGIN=\"") + origin + "\"";
        if (propagated) {
            s += " PROPAGATED=\"true\"";
        }
    }
    return s + "><VALUE>" + text + "</VALUE>\n</PROPERTY>\n";
}
const std::string kId = prop("Id", "uint32", "7");
const std::string kName = prop("Name", "string", "leaf");
const std::string kSize = prop("Size", "uint64", "4096");
const std::string kExtra = prop("Extra", "string", "x");
const std::string kFlag = prop("Flag", "boolean", "TRUE");

std::string nameElement(const char* cls, const char* id) {
    return std::string("<INSTANCENAME CLASSNAME=\"") + cls +
           "\">\n<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"numeric\" TYPE=\"uint32\">" + id +
           "</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n";
}
std::string instanceElement(const std::string& properties, const char* cls = "Test_Leaf") {
    return std::string("<INSTANCE CLASSNAME=\"") + cls + "\">\n" + properties + "</INSTANCE>\n";
}
std::string named(const std::string& properties, const char* id = "7") {
    return "<VALUE.NAMEDINSTANCE>\n" + nameElement("Test_Leaf", id) + instanceElement(properties) +
           "</VALUE.NAMEDINSTANCE>\n";
}
std::string returned(const std::string& content) {
    return "<IRETURNVALUE>" + content + "</IRETURNVALUE>";
}

const std::string kInvalidParameter =
    "<ERROR CODE=\"4\" DESCRIPTION=\"One or more parameter values passed to the method are not "
    "valid.\"/>";
const std::string kGeneralError =
    "<ERROR CODE=\"1\" DESCRIPTION=\"A general error occurred that is not covered by a more "
    "specific error code.\"/>";

class ResponseTest : public ::testing::Test {
  protected:
    // Runs the call; the handler (if any) serves it.
    std::string respond(const std::string& method, const std::string& params) {
        Body body;
        operation = run(context, method, params, body);
        return body.text();
    }
    // An enumeration of Test_Middle whose provider delivers the leaf instances.
    std::string enumerate(const std::string& params, std::vector<std::uint32_t> ids = {7}) {
        context.handler.run = [ids](const VELSmrPtr<IVelaOperation>& op) {
            std::vector<VELSmrPtr<IVelaObject>> items;
            for (std::uint32_t id : ids) {
                items.push_back(leaf(id));
            }
            produce(*op, items);
        };
        return respond("EnumerateInstances", className("Test_Middle") + params);
    }

    FakeContext context;
    OperationFactory::Operation operation;
    QuietTrace quiet;
    tarn::LogCapture log;
};

// ---- GetInstance ----

TEST_F(ResponseTest, GetInstanceWritesTheInstanceAsTheClientAskedForIt) {
    struct Case {
        std::string params;
        std::string instance;
    };
    const Case cases[] = {
        {"", instanceElement(kFlag + kExtra + kSize + kName + kId)},
        // In list order; names the instance lacks are left out.
        {propertyList({"Id", "Nothing", "Name"}), instanceElement(kId + kName)},
        {propertyList({}), instanceElement("")},
        {iparam("IncludeClassOrigin", value("true")),
         instanceElement(prop("Flag", "boolean", "TRUE", "Test_Leaf") +
                         prop("Extra", "string", "x", "Test_Leaf") +
                         prop("Size", "uint64", "4096", "Test_Middle", true) +
                         prop("Name", "string", "leaf", "Test_Middle", true) +
                         prop("Id", "uint32", "7", "Test_Base", true))},
    };
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        auto& get = dynamic_cast<IVelaGetInstanceOperation&>(*op);
        get.setInstance(leaf(static_cast<std::uint32_t>(
            get.getName()->getKeyBinding(0)->getValue()->getString().atol())));
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.params);
        EXPECT_EQ(respond("GetInstance", iparam("InstanceName", leafName()) + c.params),
                  response("GetInstance", returned(c.instance)));
    }
}

TEST_F(ResponseTest, GetInstanceWithoutInstanceFromASuccessfulHandlerIsAnError) {
    context.handler.run = [](const VELSmrPtr<IVelaOperation>&) {};
    EXPECT_EQ(respond("GetInstance", iparam("InstanceName", leafName("12"))),
              response("GetInstance", kGeneralError));
    EXPECT_EQ(operation->getErrorCode(), 1);
    EXPECT_TRUE(log.contains(
        "cimxmlpa::GetInstanceOperation::writeResponse",
        "CIMOM returned CIM_SUCCESS but failed to supply an instance for Test_Leaf.id=12", 1));
}

TEST_F(ResponseTest, SingleResultOperationsAnswerFailuresWithTheHandlersError) {
    const std::string leafParam = iparam("InstanceName", leafName());
    const std::string namedLeaf =
        iparam("ModifiedInstance",
               "<VALUE.NAMEDINSTANCE>" + leafName() + leafInstance() + "</VALUE.NAMEDINSTANCE>");
    const std::string notFound =
        "<ERROR CODE=\"6\" DESCRIPTION=\"The requested object cannot be found. (no such "
        "&lt;thing&gt;)\"/>";
    struct Case {
        const char* method;
        std::string params;
    };
    const Case cases[] = {
        {"GetInstance", leafParam},
        {"CreateInstance", iparam("NewInstance", leafInstance())},
        {"ModifyInstance", namedLeaf},
        {"DeleteInstance", leafParam},
    };
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        fail(*op, 6, "no such <thing>");
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method);
        EXPECT_EQ(respond(c.method, c.params), response(c.method, notFound));
    }
    // A request that fails to read never reaches the handler.
    context.handler.calls = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method);
        EXPECT_EQ(respond(c.method, c.params + iparam("Bogus", "")),
                  response(c.method, kInvalidParameter));
    }
    EXPECT_EQ(context.handler.calls, 0);
}

// ---- CreateInstance, ModifyInstance, DeleteInstance ----

TEST_F(ResponseTest, CreateInstanceAnswersWithTheNewName) {
    VELSmrPtr<IVelaObject> received;
    context.handler.run = [&](const VELSmrPtr<IVelaOperation>& op) {
        auto& create = dynamic_cast<IVelaCreateInstanceOperation&>(*op);
        received = create.getInstance();
        create.setInstanceName(instanceName("Test_Leaf", 7));
    };
    EXPECT_EQ(respond("CreateInstance", iparam("NewInstance", leafInstance())),
              response("CreateInstance", returned(nameElement("Test_Leaf", "7"))));
    ASSERT_FALSE(received.isNull());
    EXPECT_EQ(received->getClassName(), "Test_Leaf");

    context.handler.run = [](const VELSmrPtr<IVelaOperation>&) {};
    EXPECT_EQ(respond("CreateInstance", iparam("NewInstance", leafInstance())),
              response("CreateInstance", kGeneralError));
    EXPECT_TRUE(log.contains("cimxmlpa::CreateInstanceOperation::writeResponse",
                             "CIMOM returned CIM_SUCCESS but failed to provide instanceName", 1));
}

TEST_F(ResponseTest, ModifyAndDeleteAnswerWithAnEmptyResponse) {
    VELSmrPtr<VELValSlist<VELString>> modifiedList;
    VELSmrPtr<IVelaInstanceName> deleted;
    context.handler.run = [&](const VELSmrPtr<IVelaOperation>& op) {
        if (auto* modify = dynamic_cast<IVelaModifyInstanceOperation*>(op.get())) {
            modifiedList = modify->getPropertyList();
        }
        if (auto* del = dynamic_cast<IVelaDeleteInstanceOperation*>(op.get())) {
            deleted = del->getInstanceName();
        }
    };
    EXPECT_EQ(respond("ModifyInstance",
                      iparam("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + leafName() +
                                                     leafInstance() + "</VALUE.NAMEDINSTANCE>") +
                          propertyList({"Extra"})),
              response("ModifyInstance", ""));
    ASSERT_FALSE(modifiedList.isNull());
    EXPECT_EQ(modifiedList->entries(), 1u);
    EXPECT_EQ(respond("DeleteInstance", iparam("InstanceName", leafName("3"))),
              response("DeleteInstance", ""));
    ASSERT_FALSE(deleted.isNull());
    EXPECT_EQ(deleted->toString(), "Test_Leaf.id=3");
}

// ---- EnumerateInstances ----

TEST_F(ResponseTest, EnumerateInstancesWritesEachInstanceAsTheRequestShapesIt) {
    const std::string all = kFlag + kExtra + kSize + kName + kId;
    struct Case {
        const char* what;
        std::string params;
        std::string properties;
    };
    const Case cases[] = {
        {"deep by default: every property in the instance's order", "", all},
        {"deep, with a list", propertyList({"Extra", "Id"}), kExtra + kId},
        {"deep, with an empty list", propertyList({}), ""},
        // The requested class's own properties, then its ancestors'; Name,
        // defined by both, once; Extra and Flag come from the subclass.
        {"not deep", iparam("DeepInheritance", value("false")), kName + kSize + kId},
        {"not deep, with a list",
         iparam("DeepInheritance", value("FALSE")) +
             propertyList({"Flag", "Id", "Size", "Nothing"}),
         kSize + kId},
        {"not deep, with an empty list",
         iparam("DeepInheritance", value("False")) + propertyList({}), ""},
        {"not deep, with class origins",
         iparam("DeepInheritance", value("false")) + iparam("IncludeClassOrigin", value("true")),
         prop("Name", "string", "leaf", "Test_Middle") +
             prop("Size", "uint64", "4096", "Test_Middle") +
             prop("Id", "uint32", "7", "Test_Base", true)},
        {"deep, with class origins", iparam("IncludeClassOrigin", value("TRUE")),
         prop("Flag", "boolean", "TRUE", "Test_Leaf") + prop("Extra", "string", "x", "Test_Leaf") +
             prop("Size", "uint64", "4096", "Test_Middle", true) +
             prop("Name", "string", "leaf", "Test_Middle", true) +
             prop("Id", "uint32", "7", "Test_Base", true)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(enumerate(c.params),
                  response("EnumerateInstances", returned(named(c.properties))));
    }
    EXPECT_EQ(log.count("Unable to find metadata for class 'Test_Leaf'"), 0u);
}

TEST_F(ResponseTest, NotDeepFindsTheRequestedClassByItsExactName) {
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        produce(*op, std::vector<VELSmrPtr<IVelaObject>>{leaf(7)});
    };
    EXPECT_EQ(respond("EnumerateInstances",
                      className("Test_Middle") + iparam("DeepInheritance", value("false"))),
              response("EnumerateInstances", returned(named(kName + kSize + kId))));
    // In another case the walk finds no such ancestor: the request's list
    // (here all properties) stays.
    EXPECT_EQ(
        respond("EnumerateInstances",
                className("TEST_MIDDLE") + iparam("DeepInheritance", value("false"))),
        response("EnumerateInstances", returned(named(kFlag + kExtra + kSize + kName + kId))));
    EXPECT_TRUE(log.contains("cimxmlpa::EnumerateInstancesOperation::getClass()",
                             "Unable to find requested parent class 'TEST_MIDDLE' as ancestor of "
                             "current instance of 'Test_Leaf'",
                             1));
}

TEST_F(ResponseTest, NotDeepLeavesOutPropertiesTheInstanceLacks) {
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        auto partial = makeVELSmrPtr<CVelaObject>("Test_Leaf", instanceName("Test_Leaf", 7));
        partial->addProperty("Extra", CVelaValue::makeString("x"));
        partial->addProperty("Id", CVelaValue::makeUint32(7));
        produce(*op, std::vector<VELSmrPtr<IVelaObject>>{partial});
    };
    EXPECT_EQ(respond("EnumerateInstances",
                      className("Test_Base") + iparam("DeepInheritance", value("false"))),
              response("EnumerateInstances", returned(named(kId))));
}

TEST_F(ResponseTest, InstancesWhoseClassCannotBePlacedAreWrittenUnrestricted) {
    const char* who = "cimxmlpa::EnumerateInstancesOperation::getClass()";
    // An instance of a class the schema does not know.
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        auto stray = makeVELSmrPtr<CVelaObject>("Test_Stray", instanceName("Test_Stray", 1));
        stray->addProperty("Id", CVelaValue::makeUint32(1));
        produce(*op, std::vector<VELSmrPtr<IVelaObject>>{stray});
    };
    EXPECT_EQ(respond("EnumerateInstances",
                      className("Test_Base") + iparam("DeepInheritance", value("false"))),
              response("EnumerateInstances",
                       returned("<VALUE.NAMEDINSTANCE>\n" + nameElement("Test_Stray", "1") +
                                instanceElement(prop("Id", "uint32", "1"), "Test_Stray") +
                                "</VALUE.NAMEDINSTANCE>\n")));
    EXPECT_TRUE(log.contains(who, "Unable to find metadata for class 'Test_Stray'", 1));

    // An instance that is no descendant of the requested class.
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        produce(*op, std::vector<VELSmrPtr<IVelaObject>>{leaf(7)});
    };
    EXPECT_EQ(
        respond("EnumerateInstances",
                className("Test_Other") + iparam("DeepInheritance", value("false"))),
        response("EnumerateInstances", returned(named(kFlag + kExtra + kSize + kName + kId))));
    EXPECT_TRUE(log.contains(who,
                             "Unable to find requested parent class 'Test_Other' as ancestor of "
                             "current instance of 'Test_Leaf'",
                             1));
}

// ---- Streaming ----

TEST_F(ResponseTest, EnumerationsStreamEveryResultInOrder) {
    std::string three = named(kFlag + kExtra + kSize + kName + prop("Id", "uint32", "1"), "1") +
                        named(kFlag + kExtra + kSize + kName + prop("Id", "uint32", "2"), "2") +
                        named(kFlag + kExtra + kSize + kName + prop("Id", "uint32", "3"), "3");
    EXPECT_EQ(enumerate("", {1, 2, 3}), response("EnumerateInstances", returned(three)));
    EXPECT_EQ(enumerate("", {}), response("EnumerateInstances", returned("")));

    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        produce(*op, std::vector<VELSmrPtr<IVelaInstanceName>>{instanceName("Test_Leaf", 4),
                                                               instanceName("Test_Middle", 5)});
    };
    EXPECT_EQ(respond("EnumerateInstanceNames", className("Test_Middle")),
              response("EnumerateInstanceNames",
                       returned(nameElement("Test_Leaf", "4") + nameElement("Test_Middle", "5"))));
}

TEST_F(ResponseTest, AHandlerThatFailsBeforeTheFirstResultGetsAnErrorAndNoReturnValue) {
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        auto& streaming = dynamic_cast<IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>>&>(*op);
        auto writer = streaming.getResponse();
        fail(*op, 27, "too many");
        writer->Close();
    };
    const std::string limits =
        "<ERROR CODE=\"27\" DESCRIPTION=\"The CIM Server has failed the operation based upon "
        "exceeding server limits. (too many)\"/>";
    EXPECT_EQ(respond("EnumerateInstances", className("Test_Middle")),
              response("EnumerateInstances", limits));

    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) { fail(*op, 5, "no class"); };
    EXPECT_EQ(respond("EnumerateInstanceNames", className("Test_Nothing")),
              response("EnumerateInstanceNames",
                       "<ERROR CODE=\"5\" DESCRIPTION=\"The specified class does not exist. (no "
                       "class)\"/>"));
    EXPECT_EQ(respond("EnumerateInstanceNames", className("Test_Middle") + iparam("X", "")),
              response("EnumerateInstanceNames", kInvalidParameter));
}

TEST_F(ResponseTest, AHandlerThatFailsAfterTheFirstResultLeavesTheResultsStanding) {
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        auto& streaming = dynamic_cast<IVelaMultiResponseOperation<VELSmrPtr<IVelaObject>>&>(*op);
        auto writer = streaming.getResponse();
        writer->add(leaf(1), true);
        writer->add(leaf(2), true);
        writer->setErrorCode(27);
        writer->Close();
    };
    EXPECT_EQ(respond("EnumerateInstances", className("Test_Middle") + propertyList({"Id"})),
              response("EnumerateInstances", returned(named(prop("Id", "uint32", "1"), "1") +
                                                      named(prop("Id", "uint32", "2"), "2"))));
    EXPECT_EQ(operation->getErrorCode(), 0);
}

TEST_F(ResponseTest, AFailureWhileWritingEndsTheResultsButClosesTheResponse) {
    // The class lookup for the second instance fails: the first stands, the
    // elements are closed, and the code is kept on the operation.
    context.handler.run = [](const VELSmrPtr<IVelaOperation>& op) {
        auto other = makeVELSmrPtr<CVelaObject>("Test_Other", instanceName("Test_Other", 2));
        other->addProperty("Id", CVelaValue::makeUint32(2));
        produce(*op, std::vector<VELSmrPtr<IVelaObject>>{leaf(1), other, leaf(3)});
    };
    context.failingClass = "Test_Other";
    EXPECT_EQ(respond("EnumerateInstances", className("Test_Base") + propertyList({"Id"}) +
                                                iparam("IncludeClassOrigin", value("true"))),
              response("EnumerateInstances",
                       returned(named(prop("Id", "uint32", "1", "Test_Base", true), "1"))));
    // The response has begun, so the collection reports success; the
    // operation keeps the failure in its error context.
    ASSERT_FALSE(operation->getErrorContext().isNull());
    EXPECT_EQ(operation->getErrorContext()->getCode(), 13);
    EXPECT_TRUE(log.contains("cimxmlpa::EnumerateInstancesOperation::writeResponse",
                             "Exception while writing response. err=13", 1));
}

}  // namespace
