// The class, qualifier and property operations of the adapter, where a
// running tarnd cannot show them: the exact log lines of refused requests.
#include "CIMXMLUtil.h"
#include "OperationTestSupport.h"
#include "tarn/CQualifier.h"
#include "vela/IVelaEnumerateQualifiersOperation.h"
#include "vela/IVelaSetPropertyOperation.h"

namespace {

using namespace optest;

const std::string kGeneralError =
    "<ERROR CODE=\"1\" DESCRIPTION=\"A general error occurred that is not covered by a more "
    "specific error code.\"/>";
const std::string kInvalidParameter =
    "<ERROR CODE=\"4\" DESCRIPTION=\"One or more parameter values passed to the method are not "
    "valid.\"/>";

std::string part(const char* id) {
    return std::string(
               "<INSTANCE CLASSNAME=\"Test_Part\"><PROPERTY NAME=\"Id\" "
               "TYPE=\"string\"><VALUE>") +
           id + "</VALUE></PROPERTY></INSTANCE>";
}
// CIM-XML text as a client sends it inside a VALUE.
std::string escaped(const std::string& xml) {
    std::string out;
    for (char c : xml) {
        out += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : std::string(1, c);
    }
    return out;
}

class SchemaAndPropertyTest : public ::testing::Test {
  protected:
    SchemaAndPropertyTest() {
        // A class that embeds instances, looked up by the SetProperty reader.
        auto holder = makeVELSmrPtr<CVelaClass>("Test_Holder", "");
        holder->addProperty(makeVELSmrPtr<tarn::CPropertyDef>("Id", CVelaType::string));
        auto parts =
            makeVELSmrPtr<tarn::CPropertyDef>("Parts", CVelaType::get(CIMTypeId::String, true));
        parts->addQualifier(VELSmrPtr<tarn::IQualifier>(new tarn::CQualifier(
            "EmbeddedInstance", CVelaType::string, CVelaValue::makeString("Test_Part"), 0)));
        holder->addProperty(parts);
        context.classes->addClass(kNs, holder);
        tarn::ISchemaCatalog::install(context.classes);
    }
    ~SchemaAndPropertyTest() override { tarn::ISchemaCatalog::install(nullptr); }

    std::string respond(const std::string& method, const std::string& params) {
        Body body;
        operation = run(context, method, params, body);
        return body.text();
    }
    FakeContext context;
    OperationFactory::Operation operation;
    QuietTrace quiet;
    tarn::LogCapture log;
};

TEST_F(SchemaAndPropertyTest, BadRequestsAreRefusedWithTheirCodeAndLogLine) {
    struct Case {
        const char* method;
        std::string params;
        int code;
        std::string who;
        std::string message;
    };
    const std::string classesWho = "cimxmlpa::EnumerateClassesOperation::setRequest";
    const std::string instance = iparam("InstanceName", leafName());
    const Case cases[] = {
        {"EnumerateClasses", iparam("DeepInheritance", value("yes")), 4, classesWho,
         "Invalid value for deepInheritance: yes"},
        {"EnumerateClasses", iparam("LocalOnly", value("1")), 4, classesWho,
         "Invalid value for localOnly: 1"},
        {"EnumerateClasses", iparam("IncludeQualifiers", value("no")), 4, classesWho,
         "Invalid value for includeQualifiers: no"},
        {"EnumerateClasses", iparam("IncludeClassOrigin", value(" true")), 4, classesWho,
         "Invalid value for includeClassOrigin:  true"},
        {"EnumerateClassNames", iparam("DeepInheritance", value("deep")), 4,
         "cimxmlpa::EnumerateClassNamesOperation::setRequest",
         "Invalid value for deepInheritance: deep"},
        {"GetQualifier", iparam("QualifierName", ""), 4,
         "cimxmlpa::GetQualifierOperation::setRequest", "Missing QualifierName parameter."},
        {"GetProperty", instance + iparam("PropertyName", ""), 4,
         "cimxmlpa::GetPropertyOperation::setRequestParameters", "Missing required parameter"},
        {"SetProperty", iparam("InstanceName", "") + iparam("PropertyName", value("Id")), 4,
         "cimxmlpa::SetPropertyOperation::setRequestParameters",
         "Missing InstanceName or PropertyName"},
        {"SetProperty",
         iparam("InstanceName", "<INSTANCENAME CLASSNAME=\"Test_Holder\"/>") +
             iparam("PropertyName", value("Parts")) +
             iparam("NewValue", "<VALUE.ARRAY><VALUE>" + escaped(part("p1")) +
                                    "</VALUE><VALUE>&lt;INSTANCE</VALUE></VALUE.ARRAY>"),
         4, "cimxmlpa::SetPropertyOperation::setRequestParameters",
         "Error parsing EmbeddedInstance/EmbeddedObject property \"Parts\""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.method) + ": " + c.params);
        log.clear();
        context.handler.calls = 0;
        EXPECT_EQ(respond(c.method, c.params),
                  response(c.method, c.code == 4 ? kInvalidParameter : kGeneralError));
        EXPECT_EQ(operation->getErrorCode(), c.code);
        EXPECT_EQ(context.handler.calls, 0);
        EXPECT_TRUE(log.contains(c.who, c.message, 1)) << c.message;
    }
}

}  // namespace
