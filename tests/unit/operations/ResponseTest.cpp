// The responses of the instance operations when the handler fails, gives
// nothing or is missing, compared whole.
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

TEST_F(ResponseTest, WithoutAnOperationHandlerTheOperationIsNotSupported) {
    context.noHandler = true;
    std::string body = respond("GetInstance", iparam("InstanceName", leafName("12")));
    EXPECT_NE(body.find("<ERROR CODE=\"7\""), std::string::npos) << body;
    EXPECT_EQ(operation->getErrorCode(), 7);
}

// ---- GetInstance ----

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

// ---- EnumerateInstances ----

// ---- Streaming ----

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
