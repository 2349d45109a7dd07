// The request readers of the instance operations: which requests they
// refuse, with which code and which log line.
#include "CreateInstanceOperation.h"
#include "DeleteInstanceOperation.h"
#include "EnumerateClassNamesOperation.h"
#include "EnumerateClassesOperation.h"
#include "EnumerateInstanceNamesOperation.h"
#include "EnumerateInstancesOperation.h"
#include "EnumerateQualifiersOperation.h"
#include "GetClassOperation.h"
#include "GetInstanceOperation.h"
#include "GetPropertyOperation.h"
#include "GetQualifierOperation.h"
#include "ModifyInstanceOperation.h"
#include "OperationTestSupport.h"
#include "SetPropertyOperation.h"

namespace {

using namespace optest;
using namespace cimxmlpa;

constexpr const char* kEnumWho = "cimxmlpa::EnumerateInstancesOperation::initialize";
constexpr const char* kGetWho = "cimxmlpa::GetInstanceOperation::initialize";

class ReaderTest : public ::testing::Test {
  protected:
    template <class Op>
    std::unique_ptr<Op> make(const std::string& method, const std::string& params) {
        VELSmrPtr<VELCIMMethodCall> call = parseCall(method, params);
        return std::make_unique<Op>(&context, call, nullptr);
    }

    FakeContext context;
    QuietTrace quiet;
    tarn::LogCapture log;
};

// The log line of an exception the reader caught, as the reader must write it.
std::string caughtLine(const std::function<void()>& thrower) {
    try {
        thrower();
    } catch (const VelaBaseException& e) {
        return "Caught " + e.getWho().str() + "; Code: " + std::to_string(e.getCode()) +
               "; Msg: " + e.getMessage().str();
    }
    ADD_FAILURE() << "nothing thrown";
    return {};
}

TEST_F(ReaderTest, BooleanWordsInAnyCaseAreAcceptedAndEmptyTakesTheDefault) {
    struct Case {
        const char* text;  // null: parameter absent
        bool deepInheritance;
        bool classOrigin;
    };
    const Case cases[] = {
        {nullptr, true, false},  {"", true, false},       {"True", true, true},
        {"FaLsE", false, false}, {"TRUE", true, true},    {"false", false, false},
        {"true", true, true},    {"fALSE", false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text ? c.text : "(absent)");
        std::string params = className("Test_Base");
        if (c.text != nullptr) {
            params += iparam("DeepInheritance", value(c.text)) +
                      iparam("IncludeClassOrigin", value(c.text));
        }
        auto op = make<EnumerateInstancesOperation>("EnumerateInstances", params);
        EXPECT_TRUE(op->isValid());
        EXPECT_EQ(op->getErrorCode(), 0);
        EXPECT_EQ(op->getDeepInheritance(), c.deepInheritance);
        EXPECT_EQ(op->getClassOrigin(), c.classOrigin);

        auto get = make<GetInstanceOperation>(
            "GetInstance", iparam("InstanceName", leafName()) +
                               (c.text ? iparam("IncludeClassOrigin", value(c.text)) : ""));
        EXPECT_TRUE(get->isValid());
        EXPECT_EQ(get->getClassOrigin(), c.classOrigin);
    }
}

TEST_F(ReaderTest, OtherBooleanWordsAreRefusedWithCodeFourAndTheirText) {
    struct Case {
        const char* method;
        const char* parameter;
        const char* text;
        const char* who;
        const char* message;
    };
    const Case cases[] = {
        {"EnumerateInstances", "DeepInheritance", "yes", kEnumWho,
         "Invalid value for deepInheritance: yes"},
        {"EnumerateInstances", "DeepInheritance", "1", kEnumWho,
         "Invalid value for deepInheritance: 1"},
        {"EnumerateInstances", "DeepInheritance", " true", kEnumWho,
         "Invalid value for deepInheritance:  true"},
        {"EnumerateInstances", "IncludeClassOrigin", "true ", kEnumWho,
         "Invalid value for includeClassOrigin: true "},
        {"EnumerateInstances", "IncludeClassOrigin", "0", kEnumWho,
         "Invalid value for includeClassOrigin: 0"},
        {"GetInstance", "IncludeClassOrigin", "yes", kGetWho,
         "Invalid value for includeClassOrigin: yes"},
        {"GetInstance", "IncludeClassOrigin", "t", kGetWho,
         "Invalid value for includeClassOrigin: t"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.method) + " " + c.parameter + "='" + c.text + "'");
        log.clear();
        std::string method = c.method;
        std::string params = iparam(c.parameter, value(c.text));
        std::unique_ptr<VelaOperationBase> op;
        if (method == "GetInstance") {
            op = make<GetInstanceOperation>(method, iparam("InstanceName", leafName()) + params);
        } else {
            op = make<EnumerateInstancesOperation>(method, className("Test_Base") + params);
        }
        EXPECT_FALSE(op->isValid());
        EXPECT_EQ(op->getErrorCode(), 4);
        EXPECT_TRUE(log.contains(c.who, c.message, 1)) << log.lines().size() << " lines";
    }
}

TEST_F(ReaderTest, TheBadValueOfIncludeClassOriginStopsBeforeDeepInheritanceIsRead) {
    auto op = make<EnumerateInstancesOperation>(
        "EnumerateInstances", className("Test_Base") + iparam("DeepInheritance", value("no")) +
                                  iparam("IncludeClassOrigin", value("no")));
    EXPECT_EQ(op->getErrorCode(), 4);
    EXPECT_EQ(log.count("Invalid value for includeClassOrigin: no"), 1u);
    EXPECT_EQ(log.count("Invalid value for deepInheritance: no"), 0u);
}

TEST_F(ReaderTest, AnUnknownParameterFailsBeforeClassNameIsRead) {
    // ClassName is given without value: had the reader gone on, it would say
    // that ClassName is missing.
    auto op = make<EnumerateInstancesOperation>(
        "EnumerateInstances", iparam("ClassName", "") + iparam("Colour", value("blue")));
    EXPECT_EQ(op->getErrorCode(), 4);
    EXPECT_TRUE(log.contains("cimxmlpa::CIMXMLUtil::validateParameterNames",
                             "Operation 'EnumerateInstances' has unsupported parameter 'Colour'",
                             1));
    EXPECT_EQ(log.count("Missing ClassName parameter."), 0u);
    EXPECT_TRUE(op->getClassName().isNull());
    EXPECT_EQ(op->getNameSpace(), kNs);
}

TEST_F(ReaderTest, ParameterSetsDecideWhichRequestsAreRefused) {
    struct Case {
        const char* method;
        std::string params;
        bool valid;
    };
    const std::string namedLeaf =
        iparam("ModifiedInstance",
               "<VALUE.NAMEDINSTANCE>" + leafName() + leafInstance() + "</VALUE.NAMEDINSTANCE>");
    const Case cases[] = {
        // Allowed but never read: any value passes.
        {"EnumerateInstances",
         className("Test_Base") + iparam("LocalOnly", value("maybe")) +
             iparam("IncludeQualifiers", value("perhaps")),
         true},
        {"GetInstance",
         iparam("InstanceName", leafName()) + iparam("LocalOnly", value("maybe")) +
             iparam("IncludeQualifiers", value("x")) + propertyList({"Id"}),
         true},
        {"ModifyInstance", namedLeaf + iparam("IncludeQualifiers", value("x")), true},
        // Not in the sets of the method.
        {"EnumerateInstances", className("Test_Base") + iparam("InstanceName", leafName()), false},
        {"GetInstance",
         iparam("InstanceName", leafName()) + iparam("DeepInheritance", value("TRUE")), false},
        {"EnumerateInstanceNames", className("Test_Base") + propertyList({"Id"}), false},
        {"CreateInstance", iparam("NewInstance", leafInstance()) + propertyList({"Id"}), false},
        {"ModifyInstance", namedLeaf + iparam("LocalOnly", value("TRUE")), false},
        {"DeleteInstance", iparam("InstanceName", leafName()) + className("Test_Leaf"), false},
        // Names compare exactly.
        {"EnumerateInstances", iparam("classname", "<CLASSNAME NAME=\"Test_Base\"/>"), false},
        // Twice the same parameter.
        {"EnumerateInstances", className("Test_Base") + className("Test_Leaf"), false},
        // A required one missing.
        {"DeleteInstance", "", false},
        {"CreateInstance", "", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.method) + ": " + c.params);
        VELSmrPtr<VELCIMMethodCall> call = parseCall(c.method, c.params);
        OperationFactory::Operation op =
            OperationFactory::createIntrinsic(c.method, &context, call, nullptr);
        ASSERT_FALSE(op.isNull());
        EXPECT_EQ(op->isValid(), c.valid);
        EXPECT_EQ(op->getErrorCode(), c.valid ? 0 : 4);
    }
}

TEST_F(ReaderTest, ParametersThatArePresentButUnusableAreRefused) {
    const std::string notAReference =
        caughtLine([] { CVelaValue::makeUntyped("x")->getReference(); });
    struct Case {
        const char* method;
        std::string params;
        int code;
        const char* who;
        std::string message;  // empty: the reader logs nothing of its own
    };
    const Case cases[] = {
        {"EnumerateInstances", iparam("ClassName", ""), 4, kEnumWho,
         "Missing ClassName parameter."},
        {"EnumerateInstanceNames", iparam("ClassName", ""), 4, "", ""},
        {"CreateInstance", iparam("NewInstance", ""), 4,
         "cimxmlpa::CreateInstanceOperation::setRequestInstance", "Invalid parameter value."},
        {"ModifyInstance", iparam("ModifiedInstance", ""), 4,
         "cimxmlpa::ModifyInstanceOperation::setRequestParameters",
         "Invalid ModifiedInstance parameter value."},
        {"ModifyInstance", iparam("ModifiedInstance", value("x")), 4,
         "cimxmlpa::ModifyInstanceOperation::setRequestParameters",
         "Invalid ModifiedInstance parameter value."},
        // A value that is no instance name makes the model throw; the reader
        // reports that as a general failure.
        {"GetInstance", iparam("InstanceName", value("x")), 1, kGetWho, notAReference},
        {"DeleteInstance", iparam("InstanceName", value("x")), 1,
         "cimxmlpa::DeleteInstanceOperation::setRequestParameters", notAReference},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.method) + ": " + c.params);
        log.clear();
        VELSmrPtr<VELCIMMethodCall> call = parseCall(c.method, c.params);
        OperationFactory::Operation op =
            OperationFactory::createIntrinsic(c.method, &context, call, nullptr);
        ASSERT_FALSE(op.isNull());
        EXPECT_FALSE(op->isValid());
        EXPECT_EQ(op->getErrorCode(), c.code);
        if (c.message.empty()) {
            for (const auto& line : log.lines()) {
                EXPECT_FALSE(line.source.contains(c.method)) << line.message.str();
            }
        } else {
            EXPECT_TRUE(log.contains(c.who, c.message, 1)) << c.message;
        }
    }
}

}  // namespace
