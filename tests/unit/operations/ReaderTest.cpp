// The request readers of the instance operations: what they store, which
// requests they refuse, with which code and which log line.
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

TEST_F(ReaderTest, PropertyListAbsentIsNullAndEmptyIsAnEmptyList) {
    struct Case {
        std::string parameter;
        bool null;
        std::vector<std::string> names;
        const char* getLogLine;
    };
    const Case cases[] = {
        {"", true, {}, "PropertyList is null"},
        {iparam("PropertyList", ""), true, {}, "PropertyList is null"},
        {iparam("PropertyList", "<VALUE.ARRAY></VALUE.ARRAY>"),
         false,
         {},
         "Adding PropertyList with size=0"},
        {propertyList({"Name", "Size"}),
         false,
         {"Name", "Size"},
         "Adding PropertyList with size=2"},
        {iparam("PropertyList", "<VALUE.ARRAY><VALUE>Id</VALUE><VALUE.NULL/></VALUE.ARRAY>"),
         false,
         {"Id"},
         "Adding PropertyList with size=1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.parameter);
        log.clear();
        auto enumerate =
            make<EnumerateInstancesOperation>("EnumerateInstances", className("X") + c.parameter);
        auto get = make<GetInstanceOperation>("GetInstance",
                                              iparam("InstanceName", leafName()) + c.parameter);
        auto modify = make<ModifyInstanceOperation>(
            "ModifyInstance",
            iparam("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + leafName() + leafInstance() +
                                           "</VALUE.NAMEDINSTANCE>") +
                c.parameter);
        for (const VELSmrPtr<VELValSlist<VELString>>& list :
             {enumerate->getPropertyList(), get->getPropertyList(), modify->getPropertyList()}) {
            ASSERT_EQ(list.isNull(), c.null);
            if (!c.null) {
                std::vector<std::string> names;
                for (const VELString& n : *list) {
                    names.push_back(n.str());
                }
                EXPECT_EQ(names, c.names);
            }
        }
        EXPECT_TRUE(log.contains(kGetWho, c.getLogLine, 4));
    }
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

TEST_F(ReaderTest, ValidRequestsFillTheOperation) {
    auto get = make<GetInstanceOperation>("GetInstance", iparam("InstanceName", leafName("42")));
    ASSERT_FALSE(get->getName().isNull());
    EXPECT_EQ(get->getName()->toString(), "Test_Leaf.id=42");
    EXPECT_EQ(get->getNameSpace(), kNs);

    auto names =
        make<EnumerateInstanceNamesOperation>("EnumerateInstanceNames", className("Test_Middle"));
    EXPECT_TRUE(names->isValid());
    EXPECT_EQ(names->getClassName(), "Test_Middle");

    auto create =
        make<CreateInstanceOperation>("CreateInstance", iparam("NewInstance", leafInstance()));
    ASSERT_FALSE(create->getInstance().isNull());
    EXPECT_EQ(create->getInstance()->getPropertyCount(), 2u);
    EXPECT_EQ(create->getClassName(), "Test_Leaf");
    EXPECT_TRUE(log.contains("cimxmlpa::CreateInstanceOperation::setRequestInstance",
                             "New instance of class Test_Leaf", 3));

    auto modify = make<ModifyInstanceOperation>(
        "ModifyInstance",
        iparam("ModifiedInstance", "<VALUE.NAMEDINSTANCE>" + leafName("9") + leafInstance() +
                                       "</VALUE.NAMEDINSTANCE>"));
    ASSERT_FALSE(modify->getInstanceName().isNull());
    EXPECT_EQ(modify->getInstanceName()->toString(), "Test_Leaf.id=9");
    ASSERT_FALSE(modify->getInstance().isNull());
    EXPECT_EQ(modify->getInstance()->getClassName(), "Test_Leaf");
    EXPECT_TRUE(modify->getPropertyList().isNull());

    auto del = make<DeleteInstanceOperation>("DeleteInstance", iparam("InstanceName", leafName()));
    ASSERT_FALSE(del->getInstanceName().isNull());
    EXPECT_EQ(del->getInstanceName()->toString(), "Test_Leaf.id=7");
    EXPECT_TRUE(log.contains("cimxmlpa::DeleteInstanceOperation::setRequestParameters",
                             "Instance to delete: Test_Leaf.id=7", 3));
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

TEST_F(ReaderTest, TheServedNamesReachTheirClassesAndNoOtherNameDoes) {
    struct Case {
        const char* method;
        std::function<bool(VelaOperationBase*)> isClass;
    };
    const Case cases[] = {
        {"GetInstance", [](auto* op) { return dynamic_cast<GetInstanceOperation*>(op); }},
        {"EnumerateInstances",
         [](auto* op) { return dynamic_cast<EnumerateInstancesOperation*>(op); }},
        {"EnumerateInstanceNames",
         [](auto* op) { return dynamic_cast<EnumerateInstanceNamesOperation*>(op); }},
        {"CreateInstance", [](auto* op) { return dynamic_cast<CreateInstanceOperation*>(op); }},
        {"ModifyInstance", [](auto* op) { return dynamic_cast<ModifyInstanceOperation*>(op); }},
        {"DeleteInstance", [](auto* op) { return dynamic_cast<DeleteInstanceOperation*>(op); }},
        {"GetClass", [](auto* op) { return dynamic_cast<GetClassOperation*>(op); }},
        {"EnumerateClasses", [](auto* op) { return dynamic_cast<EnumerateClassesOperation*>(op); }},
        {"EnumerateClassNames",
         [](auto* op) { return dynamic_cast<EnumerateClassNamesOperation*>(op); }},
        {"GetQualifier", [](auto* op) { return dynamic_cast<GetQualifierOperation*>(op); }},
        {"EnumerateQualifiers",
         [](auto* op) { return dynamic_cast<EnumerateQualifiersOperation*>(op); }},
        {"GetProperty", [](auto* op) { return dynamic_cast<GetPropertyOperation*>(op); }},
        {"SetProperty", [](auto* op) { return dynamic_cast<SetPropertyOperation*>(op); }},
    };
    for (const Case& c : cases) {
        VELSmrPtr<VELCIMMethodCall> call = parseCall(c.method, "");
        OperationFactory::Operation op =
            OperationFactory::createIntrinsic(c.method, &context, call, nullptr);
        ASSERT_FALSE(op.isNull()) << c.method;
        EXPECT_TRUE(c.isClass(op.get())) << c.method;
        EXPECT_EQ(op->getOperationName(), c.method);
    }
    for (const char* other : {"getInstance", "GetInstances", "DeleteClass"}) {
        VELSmrPtr<VELCIMMethodCall> call = parseCall(other, "");
        EXPECT_TRUE(OperationFactory::createIntrinsic(other, &context, call, nullptr).isNull())
            << other;
    }
}

}  // namespace
