// Parameter-name checks and parameter values.
#include "EncoderTestSupport.h"
#include "vela/CVelaActualParameter.h"

namespace enctest {
namespace {

using Names = CIMXMLUtil::ParamNameSet;

VELCIMMethodCall call(const char* method, std::initializer_list<const char*> params) {
    VELCIMMethodCall c(method, VELCIMMethodCall::Kind::Intrinsic, "root/cimv2");
    for (const char* p : params) {
        c.addParameter(makeVELSmrPtr<VELCIMParamValue>(p, str("x"), "string"));
    }
    return c;
}

std::vector<std::string> messages(const tarn::LogCapture& log) {
    std::vector<std::string> m;
    for (const auto& line : log.lines()) {
        EXPECT_EQ(line.source, VELString("cimxmlpa::CIMXMLUtil::validateParameterNames"));
        EXPECT_EQ(line.severity, 1);
        m.push_back(line.message.str());
    }
    return m;
}

TEST(ParameterNames, EveryProblemIsLoggedInRequestOrderThenMissingNamesInSetOrder) {
    const Names required{"InstanceName", "ClassName"};
    const Names other{"LocalOnly", "PropertyList"};
    tarn::LogCapture log;
    EXPECT_FALSE(CIMXMLUtil::validateParameterNames(
        call("GetClass", {"Foo", "LocalOnly", "Bar", "LocalOnly", "classname", "LocalOnly"}),
        required, other));
    EXPECT_EQ(messages(log), (std::vector<std::string>{
                                 "Operation 'GetClass' has unsupported parameter 'Foo'",
                                 "Operation 'GetClass' has unsupported parameter 'Bar'",
                                 "Operation 'GetClass' has duplicate parameter 'LocalOnly'",
                                 "Operation 'GetClass' has unsupported parameter 'classname'",
                                 "Operation 'GetClass' has duplicate parameter 'LocalOnly'",
                                 "Operation 'GetClass' missing required parameter 'ClassName'",
                                 "Operation 'GetClass' missing required parameter 'InstanceName'",
                             }));
}

VELSmrPtr<IVelaActualParameter> param(const char* name, Value v) {
    return VELSmrPtr<IVelaActualParameter>(new CVelaActualParameter(name, std::move(v)));
}

// A parameter whose type cannot be read.
class FailingParameter : public IVelaActualParameter {
  public:
    explicit FailingParameter(void (*fail)()) : _fail(fail) {}
    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override {
        _fail();
        throw std::logic_error("unreachable");
    }
    const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }

  private:
    void (*_fail)();
    VELString _name = "Bad";
    Value _value = str("never written");
};

TEST(Parameters, IntrinsicAndExtrinsicValuesOfEachKind) {
    auto disk = nameOf("CIM_Disk", nsPath("root/cimv2", "h1"), {{"Id", str("d1")}});
    auto names =
        makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::String, true),
                                  std::make_shared<const CVelaValue::ScalarArray>(
                                      CVelaValue::ScalarArray{VELString("a"), VELString()}));
    struct Case {
        VELSmrPtr<IVelaActualParameter> param;
        bool intrinsic;
        std::string expected;
    };
    const Case cases[] = {
        {param("ClassName", str("x&y")), true,
         "\n<IPARAMVALUE NAME=\"ClassName\" PARAMTYPE=\"string\"><VALUE>x&amp;y</VALUE>\n"
         "</IPARAMVALUE>"},
        {param("P", str("")), true,
         "\n<IPARAMVALUE NAME=\"P\" PARAMTYPE=\"string\"></IPARAMVALUE>"},
        {param("P", str("")), false,
         "\n<PARAMVALUE NAME=\"P\" PARAMTYPE=\"string\"><VALUE></VALUE>\n</PARAMVALUE>"},
        {param("a<b", CVelaValue::makeUint32(7)), false,
         "\n<PARAMVALUE NAME=\"a&lt;b\" PARAMTYPE=\"uint32\"><VALUE>7</VALUE>\n</PARAMVALUE>"},
        {param("Disk", CVelaValue::makeReference(disk)), false,
         "\n<PARAMVALUE NAME=\"Disk\" PARAMTYPE=\"reference\"><VALUE.REFERENCE>" + kDiskPath +
             "</VALUE.REFERENCE>\n</PARAMVALUE>"},
        {param("Data", CVelaValue::makeObject(noteInstance("n"))), false,
         "\n<PARAMVALUE NAME=\"Data\" PARAMTYPE=\"string\" EmbeddedObject=\"instance\">\n<VALUE>" +
             kInnerEscaped + "</VALUE>\n</PARAMVALUE>"},
        {param("Names", names), false,
         "\n<PARAMVALUE NAME=\"Names\" PARAMTYPE=\"string\"><VALUE.ARRAY>\n<VALUE>a</VALUE>\n"
         "<VALUE></VALUE>\n</VALUE.ARRAY>\n</PARAMVALUE>"},
        {param("Names", names), true,
         "\n<IPARAMVALUE NAME=\"Names\" PARAMTYPE=\"string\"><VALUE.ARRAY>\n<VALUE>a</VALUE>\n"
         "</VALUE.ARRAY>\n</IPARAMVALUE>"},
        {VELSmrPtr<IVelaActualParameter>(new VELCIMParamValue("Empty", VELSmrPtr<IVelaValue>())),
         false, "\n<PARAMVALUE NAME=\"Empty\" PARAMTYPE=\"string\"></PARAMVALUE>"},
    };
    for (const Case& c : cases) {
        std::string text = out([&](std::ostream& os) {
            CIMXMLUtil::streamParameter(os, c.param, c.intrinsic, false);
        });
        EXPECT_EQ(text, c.expected);
        EXPECT_TRUE(wellFormed(text));
    }
}

TEST(Parameters, AFailedReadLeavesAnEmptyTypeAndAPlaceholderValue) {
    struct Case {
        void (*fail)();
        const char* logged;
    };
    for (const Case& c :
         {Case{throwPlatform, kPlatformLine}, Case{throwUnknown, "Unknown Exception thrown."}}) {
        const char* logged = c.logged;
        auto fail = c.fail;
        VELSmrPtr<IVelaActualParameter> bad(new FailingParameter(fail));
        tarn::LogCapture log;
        EXPECT_EQ(out([&](std::ostream& os) { CIMXMLUtil::streamParameter(os, bad, false, true); }),
                  "\n<PARAMVALUE NAME=\"Bad\" PARAMTYPE=\"\"><VALUE></VALUE></PARAMVALUE>");
        EXPECT_TRUE(log.contains("CIMXMLUtil", logged, 1));
        std::ostringstream os;
        EXPECT_ANY_THROW(CIMXMLUtil::streamParameter(os, bad, true, false));
        EXPECT_TRUE(os.str().empty());
    }
    VELSmrPtr<IVelaActualParameter> lost(new FailingParameter(throwNetwork));
    std::ostringstream os;
    EXPECT_THROW(CIMXMLUtil::streamParameter(os, lost, true, true), VELNetException);
}

}  // namespace
}  // namespace enctest
