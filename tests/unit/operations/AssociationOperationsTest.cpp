// The association operations outside tarnd: which requests their readers
// refuse, with which code and log line, what they store, and how the
// results of Associators and References are written.
#include "AssociatorNamesOperation.h"
#include "AssociatorsOperation.h"
#include "OperationTestSupport.h"
#include "ReferencesOperation.h"
#include "tarn/CQualifier.h"
#include "vela/IVelaAssociatorsOperation.h"

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

TEST_F(AssociationOperationsTest, ReadersStoreTheObjectAndTheFiltersAsReceived) {
    auto op = make("Associators",
                   objectName(leafName("9")) + iparam("AssocClass", "<CLASSNAME NAME=\"A_b\"/>") +
                       iparam("ResultClass", "<CLASSNAME NAME=\"Test_Other\"/>") +
                       iparam("Role", value("From")) + iparam("IncludeQualifiers", value("any")) +
                       iparam("IncludeClassOrigin", value("True")) + propertyList({"Id"}));
    ASSERT_TRUE(op->isValid());
    auto& assoc = dynamic_cast<IVelaAssociatorsOperation&>(*op);
    EXPECT_EQ(assoc.getObjectName()->toString(), "Test_Leaf.id=9");
    EXPECT_EQ(op->getClassName(), "Test_Leaf");
    EXPECT_EQ(assoc.getAssocClass(), "A_b");
    EXPECT_EQ(assoc.getResultClass(), "Test_Other");
    EXPECT_EQ(assoc.getRole(), "From");
    EXPECT_TRUE(assoc.getResultRole().isNull());
    EXPECT_TRUE(assoc.getClassOrigin());
    EXPECT_EQ(assoc.getPropertyList()->entries(), 1u);
    const char* who = "cimxmlpa::AssociatorsOperation::setRequest";
    EXPECT_TRUE(log.contains(who, "Test_Leaf.id=9", 4));
    EXPECT_TRUE(log.contains(who, "AssocClass=A_b", 4));
    EXPECT_TRUE(log.contains(who, "ResultRole=", 4));

    auto names = make("AssociatorNames", objectName("<CLASSNAME NAME=\"Test_Base\"/>"));
    ASSERT_TRUE(names->isValid());
    EXPECT_TRUE(
        dynamic_cast<IVelaAssociatorNamesOperation&>(*names).getObjectName()->isClassName());
}

TEST_F(AssociationOperationsTest, ClassesAreWrittenLocallyWithoutQualifiersInstancesWithPaths) {
    // Test_Leaf again, with a qualifier.
    auto leafClass = makeVELSmrPtr<CVelaClass>("Test_Leaf", "Test_Middle");
    leafClass->addQualifier(VELSmrPtr<tarn::IQualifier>(new tarn::CQualifier(
        "Description", CVelaType::string, CVelaValue::makeString("a leaf"), 0)));
    leafClass->addProperty(makeVELSmrPtr<tarn::CPropertyDef>("Extra", CVelaType::string));
    leafClass->resolve(context.classes->getClass(kNs, "Test_Middle"));
    std::string body = respond(
        "Associators",
        objectName(leafName()) + iparam("IncludeQualifiers", value("TRUE")) +
            iparam("IncludeClassOrigin", value("TRUE")),
        {CVelaValue::makeClass(VELSmrPtr<IVelaClass>(leafClass)), CVelaValue::makeObject(leaf(7))});
    // The class: its path with the object manager's host, its own properties
    // only, no qualifiers.
    const std::size_t split = body.find("</VALUE.OBJECTWITHPATH>");
    ASSERT_NE(split, std::string::npos) << body;
    const std::string cls = body.substr(0, split);
    const std::string instance = body.substr(split);
    EXPECT_NE(cls.find("<IRETURNVALUE><VALUE.OBJECTWITHPATH><CLASSPATH>\n<NAMESPACEPATH>\n"
                       "<HOST>localhost</HOST>"),
              std::string::npos)
        << body;
    EXPECT_NE(cls.find("<CLASS NAME=\"Test_Leaf\" SUPERCLASS=\"Test_Middle\">\n<PROPERTY "
                       "NAME=\"Extra\""),
              std::string::npos);
    EXPECT_EQ(cls.find("NAME=\"Size\""), std::string::npos);
    EXPECT_EQ(cls.find("<QUALIFIER"), std::string::npos);
    // The instance, with its path and class origins.
    EXPECT_EQ(instance.find("</VALUE.OBJECTWITHPATH><VALUE.OBJECTWITHPATH>\n<INSTANCEPATH>"), 0u);
    EXPECT_NE(instance.find("<PROPERTY NAME=\"Size\" TYPE=\"uint64\" CLASSORIGIN=\"Test_Middle\" "
                            "PROPAGATED=\"true\"><VALUE>4096</VALUE>"),
              std::string::npos);
    EXPECT_TRUE(
        body.ends_with("</VALUE.OBJECTWITHPATH>\n</IRETURNVALUE></IMETHODRESPONSE></SIMPLERSP>"));
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
