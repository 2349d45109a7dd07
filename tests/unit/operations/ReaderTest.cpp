// The request readers of the instance operations: what they accept and how
// they read it (refusals are in RefusalTest).
#include "EnumerateInstancesOperation.h"
#include "GetInstanceOperation.h"
#include "OperationTestSupport.h"

namespace {

using namespace optest;
using namespace cimxmlpa;

class ReaderTest : public ::testing::Test {
  protected:
    template <class Op>
    std::unique_ptr<Op> make(const std::string& method, const std::string& params) {
        VELSmrPtr<VELCIMMethodCall> call = parseCall(method, params);
        return std::make_unique<Op>(&context, call, nullptr);
    }

    FakeContext context;
    QuietTrace quiet;
};

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

TEST_F(ReaderTest, ParametersAllowedButNeverReadPassWithAnyValue) {
    const std::string named =
        iparam("ModifiedInstance",
               "<VALUE.NAMEDINSTANCE>" + leafName() + leafInstance() + "</VALUE.NAMEDINSTANCE>");
    const std::pair<const char*, std::string> cases[] = {
        {"GetInstance", iparam("InstanceName", leafName()) + iparam("LocalOnly", value("maybe")) +
                            iparam("IncludeQualifiers", value("x")) + propertyList({"Id"})},
        {"ModifyInstance", named + iparam("IncludeQualifiers", value("x"))},
    };
    for (const auto& [method, params] : cases) {
        SCOPED_TRACE(method);
        OperationFactory::Operation op =
            OperationFactory::createIntrinsic(method, &context, parseCall(method, params), nullptr);
        ASSERT_FALSE(op.isNull());
        EXPECT_TRUE(op->isValid());
        EXPECT_EQ(op->getErrorCode(), 0);
    }
}

}  // namespace
