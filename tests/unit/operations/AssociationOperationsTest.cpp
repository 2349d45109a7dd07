// The association operations outside tarnd: which requests their readers
// refuse, with which code and log line, and what Associators and References
// log while writing an instance whose class cannot be found.
#include "OperationTestSupport.h"

namespace {

using namespace optest;
using namespace cimxmlpa;

std::string objectName(const std::string& content) {
    return iparam("ObjectName", content);
}

class AssociationOperationsTest : public ::testing::Test {
  protected:
    OperationFactory::Operation make(const std::string& method, const std::string& params) {
        VELSmrPtr<VELCIMMethodCall> call = parseCall(method, params);
        return OperationFactory::createIntrinsic(method, &context, call, nullptr);
    }
    std::string respond(const std::string& method, const std::string& params,
                        std::vector<VELSmrPtr<IVelaValue>> results) {
        context.handler.run = [results](const VELSmrPtr<IVelaOperation>& op) {
            produce(*op, results);
        };
        Body body;
        run(context, method, params, body);
        return body.text();
    }

    FakeContext context;
    QuietTrace quiet;
    tarn::LogCapture log;
};

TEST_F(AssociationOperationsTest, ReadersRefuseWhatTheyCannotUseWithTheirOwnMessages) {
    const std::string missing =
        "Missing required parameter OBJECTNAME, or OBJECTNAME is not a "
        "REFERENCE type";
    struct Case {
        const char* method;
        std::string params;
        const char* who;      // of the message; empty when the reader writes none of its own
        std::string message;  // severity 1
    };
    const Case cases[] = {
        {"AssociatorNames", objectName(""), "cimxmlpa::AssociatorNamesOperation::setRequest",
         "Invalid parameter value."},
        {"AssociatorNames", objectName(value("Test_Leaf.Id=7")),
         "cimxmlpa::AssociatorNamesOperation::setRequest", "Invalid parameter value."},
        {"Associators", objectName(""), "cimxmlpa::AssociatorsOperation::setRequest", missing},
        {"Associators", objectName(value("x")), "cimxmlpa::AssociatorsOperation::setRequest",
         missing},
        {"References", objectName(value("x")), "cimxmlpa::ReferencesOperation::setRequest",
         "Invalid parameter value."},
        {"ReferenceNames", objectName(""), "cimxmlpa::ReferenceNamesOperation::setRequest",
         "Invalid parameter value."},
        {"Associators", objectName(leafName()) + iparam("IncludeClassOrigin", value("yes")),
         "cimxmlpa::AssociatorsOperation::setRequest", "Invalid value for includeClassOrigin: yes"},
        {"References", objectName(leafName()) + iparam("IncludeClassOrigin", value("1")),
         "cimxmlpa::ReferencesOperation::setRequest", "Invalid value for includeClassOrigin: 1"},
        // Parameters outside the operation's sets, and ObjectName missing.
        {"ReferenceNames", objectName(leafName()) + iparam("AssocClass", value("X")), "", ""},
        {"References", objectName(leafName()) + iparam("ResultRole", value("X")), "", ""},
        {"AssociatorNames", objectName(leafName()) + propertyList({"Id"}), "", ""},
        {"Associators", iparam("Role", value("X")), "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.method) + ": " + c.params);
        log.clear();
        auto op = make(c.method, c.params);
        ASSERT_FALSE(op.isNull());
        EXPECT_FALSE(op->isValid());
        EXPECT_EQ(op->getErrorCode(), 4);
        if (*c.who) {
            EXPECT_TRUE(log.contains(c.who, c.message, 1));
        } else {
            EXPECT_EQ(log.count(" parameter."), 0u);
        }
    }
}

TEST_F(AssociationOperationsTest, AnInstanceWhoseClassCannotBeFoundIsWrittenAllTheSame) {
    auto unknown = makeVELSmrPtr<CVelaObject>("Test_Gone", instanceName("Test_Gone", 1));
    unknown->addProperty("Id", CVelaValue::makeUint32(1));
    auto pathless = makeVELSmrPtr<CVelaObject>("Test_Leaf");
    pathless->addProperty("Id", CVelaValue::makeUint32(2));
    std::string body =
        respond("References", objectName(leafName()) + iparam("IncludeClassOrigin", value("true")),
                {CVelaValue::makeObject(unknown), CVelaValue::makeObject(pathless)});
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
    body = respond("Associators", objectName(leafName()), {CVelaValue::makeObject(leaf(7))});
    EXPECT_NE(body.find("<INSTANCE CLASSNAME=\"Test_Leaf\">"), std::string::npos) << body;
    EXPECT_EQ(log.count("Exception while writing response"), 0u);
}

}  // namespace
