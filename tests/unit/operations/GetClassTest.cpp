// GetClass: the requests its reader refuses and the failures its response
// reports.
#include <set>
#include <sstream>

#include "GetClassOperation.h"
#include "OperationTestSupport.h"
#include "tarn/CQualifier.h"
#include "vela/IVelaGetClassOperation.h"

namespace {

using namespace optest;
using cimxmlpa::GetClassOperation;

constexpr const char* kWho = "cimxmlpa::GetClassOperation::setRequest";

class GetClassTest : public ::testing::Test {
  protected:
    GetClassTest() {
        // A described subclass, so that every flag changes what is written.
        auto described = makeVELSmrPtr<CVelaClass>("Test_Described", "Test_Leaf");
        described->addQualifier(VELSmrPtr<tarn::IQualifier>(new tarn::CQualifier(
            "Description", CVelaType::string, CVelaValue::makeString("a leaf"), 0)));
        auto note = makeVELSmrPtr<tarn::CPropertyDef>("Note", CVelaType::string);
        note->addQualifier(VELSmrPtr<tarn::IQualifier>(new tarn::CQualifier(
            "Description", CVelaType::string, CVelaValue::makeString("a note"), 0)));
        described->addProperty(note);
        context.classes->addClass(kNs, described);
        context.handler.run = [this](const VELSmrPtr<IVelaOperation>& op) {
            VELSmrPtr<IVelaClass> cls = context.classes->getClass(kNs, op->getClassName());
            if (cls.isNull()) {
                fail(*op, 5, "no such class");
            } else {
                dynamic_cast<IVelaGetClassOperation&>(*op).setClass(cls);
            }
        };
    }

    std::unique_ptr<GetClassOperation> read(const std::string& params) {
        VELSmrPtr<VELCIMMethodCall> call = parseCall("GetClass", params);
        return std::make_unique<GetClassOperation>(&context, call, nullptr);
    }
    std::string respond(const std::string& params) {
        Body body;
        operation = run(context, "GetClass", params, body);
        return body.text();
    }
    static std::string classElement(const char* name,
                                    const VELSmrPtr<VELValSlist<VELString>>& propertyList,
                                    bool includeQualifiers, bool classOrigin, bool localOnly,
                                    const tarn::CClassSet& classes) {
        std::ostringstream os;
        cimxmlpa::CIMXMLUtil::streamClass(os, classes.getClass(kNs, name), propertyList,
                                          includeQualifiers, classOrigin, localOnly);
        return os.str();
    }

    FakeContext context;
    OperationFactory::Operation operation;
    QuietTrace quiet;
    tarn::LogCapture log;
};

TEST_F(GetClassTest, BadRequestsAreRefusedWithCodeFour) {
    struct Case {
        std::string params;
        const char* who;
        const char* message;
    };
    constexpr const char* kCheck = "cimxmlpa::CIMXMLUtil::validateParameterNames";
    const Case cases[] = {
        {"", kCheck, "Operation 'GetClass' missing required parameter 'ClassName'"},
        {className("Test_Leaf") + iparam("IncludeQualifiers", value("yes")), kWho,
         "Invalid value for includeQualifiers: yes"},
        {className("Test_Leaf") + iparam("IncludeClassOrigin", value("1")), kWho,
         "Invalid value for includeClassOrigin: 1"},
        {className("Test_Leaf") + iparam("LocalOnly", value("no")), kWho,
         "Invalid value for localOnly: no"},
        // Not a parameter of GetClass.
        {className("Test_Leaf") + iparam("DeepInheritance", value("true")), kCheck,
         "Operation 'GetClass' has unsupported parameter 'DeepInheritance'"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.params);
        log.clear();
        auto op = read(c.params);
        EXPECT_FALSE(op->isValid());
        EXPECT_EQ(op->getErrorCode(), 4);
        EXPECT_TRUE(log.contains(c.who, c.message, 1));
    }
}

TEST_F(GetClassTest, FailuresAnswerWithAnError) {
    EXPECT_EQ(respond(className("Test_Missing")),
              response("GetClass",
                       "<ERROR CODE=\"5\" DESCRIPTION=\"The specified class does not exist. (no "
                       "such class)\"/>"));

    context.handler.run = [](const VELSmrPtr<IVelaOperation>&) {};
    EXPECT_EQ(respond(className("Test_Leaf")),
              response("GetClass",
                       "<ERROR CODE=\"1\" DESCRIPTION=\"A general error occurred that is not "
                       "covered by a more specific error code.\"/>"));
    EXPECT_EQ(operation->getErrorCode(), 1);
    EXPECT_TRUE(log.contains("cimxmlpa::GetClassOperation::writeResponse",
                             "CIMOM returned CIM_SUCCESS but failed to supply an instance", 1));
}

}  // namespace
