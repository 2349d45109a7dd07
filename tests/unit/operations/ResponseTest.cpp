// The responses of the operations when the handler fails, gives nothing or
// is missing, and when writing a result fails, compared whole.
#include "OperationTestSupport.h"

namespace {

using namespace optest;

class ResponseTest : public ::testing::Test {
  protected:
    // Runs the call; the handler (if any) serves it.
    std::string respond(const std::string& method, const std::string& params) {
        Body body;
        operation = run(context, method, params, body);
        return body.text();
    }
    // Runs the call with a handler that delivers the results.
    template <class T>
    std::string respond(const std::string& method, const std::string& params,
                        std::vector<T> results) {
        context.handler.run = [results](const VELSmrPtr<IVelaOperation>& op) {
            produce(*op, results);
        };
        return respond(method, params);
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

TEST_F(ResponseTest, SuccessWithoutAResultIsAGeneralError) {
    struct Case {
        const char* method;
        std::string params;
        const char* logged;
    };
    const Case cases[] = {
        {"GetInstance", iparam("InstanceName", leafName("12")),
         "CIMOM returned CIM_SUCCESS but failed to supply an instance for Test_Leaf.id=12"},
        {"GetClass", className("Test_Leaf"),
         "CIMOM returned CIM_SUCCESS but failed to supply an instance"},
    };
    context.handler.run = [](const VELSmrPtr<IVelaOperation>&) {};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.method);
        EXPECT_EQ(respond(c.method, c.params),
                  response(c.method,
                           "<ERROR CODE=\"1\" DESCRIPTION=\"A general error occurred that is not "
                           "covered by a more specific error code.\"/>"));
        EXPECT_EQ(operation->getErrorCode(), 1);
        EXPECT_TRUE(log.contains(std::string("cimxmlpa::") + c.method + "Operation::writeResponse",
                                 c.logged, 1));
    }
}

TEST_F(ResponseTest, AFailureWhileWritingEndsTheResultsButClosesTheResponse) {
    // The class lookup for the second instance fails: the first stands, the
    // elements are closed, and the code is kept on the operation.
    auto other = makeVELSmrPtr<CVelaObject>("Test_Other", instanceName("Test_Other", 2));
    other->addProperty("Id", CVelaValue::makeUint32(2));
    context.failingClass = "Test_Other";
    EXPECT_EQ(respond("EnumerateInstances",
                      className("Test_Base") + propertyList({"Id"}) +
                          iparam("IncludeClassOrigin", value("true")),
                      std::vector<VELSmrPtr<IVelaObject>>{leaf(1), other, leaf(3)}),
              response("EnumerateInstances",
                       "<IRETURNVALUE><VALUE.NAMEDINSTANCE>\n<INSTANCENAME "
                       "CLASSNAME=\"Test_Leaf\">\n<KEYBINDING NAME=\"Id\"><KEYVALUE "
                       "VALUETYPE=\"numeric\" TYPE=\"uint32\">1</KEYVALUE></KEYBINDING>\n"
                       "</INSTANCENAME>\n<INSTANCE CLASSNAME=\"Test_Leaf\">\n<PROPERTY NAME=\"Id\" "
                       "TYPE=\"uint32\" CLASSORIGIN=\"Test_Base\" PROPAGATED=\"true\"><VALUE>1"
                       "</VALUE>\n</PROPERTY>\n</INSTANCE>\n</VALUE.NAMEDINSTANCE>\n"
                       "</IRETURNVALUE>"));
    // The response has begun, so the collection reports success; the
    // operation keeps the failure in its error context.
    ASSERT_FALSE(operation->getErrorContext().isNull());
    EXPECT_EQ(operation->getErrorContext()->getCode(), 13);
    EXPECT_TRUE(log.contains("cimxmlpa::EnumerateInstancesOperation::writeResponse",
                             "Exception while writing response. err=13", 1));
}

TEST_F(ResponseTest, AnAssociatedInstanceWhoseClassCannotBeFoundIsWrittenAllTheSame) {
    auto unknown = makeVELSmrPtr<CVelaObject>("Test_Gone", instanceName("Test_Gone", 1));
    unknown->addProperty("Id", CVelaValue::makeUint32(1));
    auto pathless = makeVELSmrPtr<CVelaObject>("Test_Leaf");
    pathless->addProperty("Id", CVelaValue::makeUint32(2));
    const std::string ofLeaf = iparam("ObjectName", leafName());
    std::string body =
        respond("References", ofLeaf + iparam("IncludeClassOrigin", value("true")),
                std::vector<VELSmrPtr<IVelaValue>>{CVelaValue::makeObject(unknown),
                                                   CVelaValue::makeObject(pathless)});
    const char* who = "cimxmlpa::ReferencesOperation::writeResponse()";
    EXPECT_TRUE(log.contains(who, "Unable to get class metadata for Test_Gone", 1));
    EXPECT_TRUE(log.contains(who, "Unable to find namespace from instance", 1));
    EXPECT_NE(body.find("<INSTANCE CLASSNAME=\"Test_Gone\">\n<PROPERTY NAME=\"Id\" "
                        "TYPE=\"uint32\"><VALUE>1</VALUE>"),
              std::string::npos)
        << body;

    // Without IncludeClassOrigin no class is looked up: one that cannot be
    // read does not matter.
    context.failingClass = "Test_Leaf";
    log.clear();
    body = respond("Associators", ofLeaf,
                   std::vector<VELSmrPtr<IVelaValue>>{CVelaValue::makeObject(leaf(7))});
    EXPECT_NE(body.find("<INSTANCE CLASSNAME=\"Test_Leaf\">"), std::string::npos) << body;
    EXPECT_EQ(log.count("Exception while writing response"), 0u);
}

}  // namespace
