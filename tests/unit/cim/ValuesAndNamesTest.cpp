// Values and their text, instance names, XML escaping, and the qualifier
// lookups of CIMUtil.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "tarn/CClassSet.h"
#include "tarn/CQualifier.h"
#include "tarn/ISchemaCatalog.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

std::string printed(const VELSmrPtr<IVelaValue>& v) {
    std::ostringstream os;
    v->print(os);
    return os.str();
}

struct TextCase {
    const char* type;
    const char* input;
    const char* printed;  // canonical text the value prints as
};

// Every accepted text form, what it prints as, and that the printed form
// parses back to an equal value.
TEST(ValueText, AcceptedFormsPrintCanonicallyAndRoundTrip) {
    const TextCase cases[] = {
        {"boolean", "TRUE", "TRUE"},
        {"boolean", "false", "FALSE"},
        {"boolean", " True\n", "TRUE"},
        {"uint8", "0", "0"},
        {"uint8", "255", "255"},
        {"uint8", "0xff", "255"},
        {"uint8", "0X0A", "10"},
        {"uint8", "+7", "7"},
        {"uint8", "-0", "0"},
        {"sint8", "-128", "-128"},
        {"sint8", "127", "127"},
        {"sint8", "-0x80", "-128"},
        {"uint16", "65535", "65535"},
        {"sint16", "-32768", "-32768"},
        {"uint32", "4294967295", "4294967295"},
        {"sint32", "-2147483648", "-2147483648"},
        {"uint64", "18446744073709551615", "18446744073709551615"},
        {"uint64", "0xFFFFFFFFFFFFFFFF", "18446744073709551615"},
        {"sint64", "-9223372036854775808", "-9223372036854775808"},
        {"sint64", "9223372036854775807", "9223372036854775807"},
        {"real64", "0.1", "0.1"},
        {"real64", "1e300", "1e+300"},
        {"real64", "-2.5E-3", "-0.0025"},
        {"real64", "+3", "3"},
        {"real64", "4.9406564584124654e-324", "5e-324"},
        {"real64", "1.7976931348623157e308", "1.7976931348623157e+308"},
        {"real64", "NaN", "NaN"},
        {"real64", "INF", "INF"},
        {"real64", "-INF", "-INF"},
        {"real32", "0.1", "0.1"},
        {"real32", "3.4028235e38", "3.4028235e+38"},
        {"real32", "1.5", "1.5"},
        {"char16", "a", "a"},
        {"char16", " ", " "},
        {"char16", "\xC3\xA9", "\xC3\xA9"},          // e acute, two bytes
        {"char16", "\xE2\x82\xAC", "\xE2\x82\xAC"},  // euro sign, three bytes
        {"string", "  keeps blanks\n", "  keeps blanks\n"},
        {"string", "", ""},
        {"datetime", "20261122065600.123456+060", "20261122065600.123456+060"},
        {"datetime", "20240229000000.000000-000", "20240229000000.000000-000"},
        {"datetime", "00000001020304.000000:000", "00000001020304.000000:000"},
        {"datetime", "2026**********.******+000", "2026**********.******+000"},
        {"datetime", "20261122065600.12****+000", "20261122065600.12****+000"},
        {"datetime", "********020304.******:000", "********020304.******:000"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.type) + " '" + c.input + "'");
        VELSmrPtr<IVelaType> type = CVelaType::fromName(c.type);
        ASSERT_FALSE(type.isNull());
        VELSmrPtr<IVelaValue> v;
        ASSERT_NO_THROW(v = CVelaValue::parse(type, c.input));
        EXPECT_EQ(v->getType()->getName(), VELString(c.type));
        EXPECT_EQ(printed(v), c.printed);
        VELSmrPtr<IVelaValue> back = CVelaValue::parse(type, printed(v));
        EXPECT_TRUE(back->equals(*v)) << printed(back);
    }
}

struct BadCase {
    const char* type;
    const char* input;
    const char* why;  // part of the error message
};

TEST(ValueText, RejectsTextThatDoesNotFitTheType) {
    const BadCase cases[] = {
        {"boolean", "yes", "TRUE or FALSE"},
        {"boolean", "", "TRUE or FALSE"},
        {"uint8", "256", "out of range"},
        {"uint8", "0x100", "out of range"},
        {"uint8", "-1", "negative"},
        {"uint8", "1.0", "unexpected character"},
        {"uint8", "", "no digits"},
        {"uint8", "0x", "unexpected character"},
        {"sint8", "128", "out of range"},
        {"sint8", "-129", "out of range"},
        {"uint64", "18446744073709551616", "out of range"},
        {"sint64", "-9223372036854775809", "out of range"},
        {"sint64", "9223372036854775808", "out of range"},
        {"uint32", "12 34", "unexpected character"},
        {"real64", "1e400", "out of range"},
        {"real64", "abc", "not a number"},
        {"real64", "1.0x", "not a number"},
        {"real64", "", "not a number"},
        {"real64", "0x1p3", "not a number"},
        {"real32", "3.5e38", "out of range"},
        {"char16", "", "exactly one character"},
        {"char16", "ab", "exactly one character"},
        {"char16", "\xF0\x9F\x98\x80", "exactly one character"},  // outside the BMP
        {"char16", "\xC3", "exactly one character"},
        {"datetime", "2026112206560.123456+060", "25 characters"},
        {"datetime", "20261322065600.123456+060", "month out of range"},
        {"datetime", "20230229000000.000000+000", "day out of range for the month"},
        {"datetime", "20261122245600.123456+060", "hour out of range"},
        {"datetime", "20261122065600,123456+060", "must be '.'"},
        {"datetime", "20261122065600.123456*060", "'+', '-' or ':'"},
        {"datetime", "20261122065600.1*3456+060", "followed by '*'"},
        {"datetime", "2026112206560*.123456+060", "digits or all '*'"},
        {"datetime", "00000001020304.000000:001", "ends in ':000'"},
        {"datetime", "00000001250304.000000:000", "hours out of range"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.type) + " '" + c.input + "'");
        try {
            CVelaValue::parse(CVelaType::fromName(c.type), c.input);
            ADD_FAILURE() << "accepted";
        } catch (const VelaBaseException& e) {
            EXPECT_TRUE(e.getMessage().contains(c.why)) << e.getMessage();
            EXPECT_EQ(e.getCode(), 13);
        }
    }
}

TEST(ValueText, RealsPrintTheShortestTextThatReadsBackExactly) {
    // 0.1, the smallest and the largest are AcceptedForms' rows.
    const double samples[] = {1.0 / 3, 2.0 / 3, 1e-7, 123456789.125, 6.02214076e23, -0.0};
    for (double d : samples) {
        std::string text = printed(CVelaValue::makeReal64(d));
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), d) << text;
        EXPECT_EQ(std::signbit(std::strtod(text.c_str(), nullptr)), std::signbit(d)) << text;
    }
    const float floats[] = {0.1f, 1.0f / 3, 16777217.0f, std::numeric_limits<float>::min()};
    for (float f : floats) {
        std::string text = printed(CVelaValue::makeReal32(f));
        EXPECT_EQ(std::strtof(text.c_str(), nullptr), f) << text;
        EXPECT_LE(text.size(), 15u) << "real32 printed with double precision: " << text;
    }
}

TEST(ValueText, TypedMakersCheckRangesAndReadBack) {
    EXPECT_THROW(CVelaValue::makeUnsigned(CIMTypeId::UInt8, 256), VelaBaseException);
    EXPECT_THROW(CVelaValue::makeSigned(CIMTypeId::SInt16, 40000), VelaBaseException);
    EXPECT_THROW(CVelaValue::makeUnsigned(CIMTypeId::SInt8, 1), VelaBaseException);
    EXPECT_EQ(CVelaValue::makeUint16(65535)->getUnsigned(), 65535u);
    EXPECT_EQ(printed(CVelaValue::makeChar16(u'\u00e9')), "\xC3\xA9");
    EXPECT_EQ(printed(CVelaValue::makeChar16(0xD800)), "\xEF\xBF\xBD");
    EXPECT_THROW(CVelaValue::makeDateTime("not a datetime"), VelaBaseException);
    // Typed reads of the wrong kind throw instead of returning garbage.
    EXPECT_THROW(CVelaValue::makeBoolean(true)->getString(), VelaBaseException);
    EXPECT_THROW(CVelaValue::makeString("x")->getUnsigned(), VelaBaseException);
    EXPECT_THROW(CVelaValue::makeNull(CVelaType::uint8)->getUnsigned(), VelaBaseException);
    EXPECT_EQ(printed(CVelaValue::makeNull(CVelaType::uint8)), "");
    EXPECT_FALSE(CVelaValue::makeNull(CVelaType::uint8)->isSet());
}

// Array text with null elements, empty arrays and arrays built from element
// values are TypeCheck's rows, each stored and read back.

// Conversions of untyped text and of typed values to the declared type are
// TypeCheck's (tests/unit/repository): a table of every type, each read back.

VELSmrPtr<IVelaNameSpacePath> ns(const char* name, const char* host = "") {
    return VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath(host, name));
}

TEST(InstanceName, CanonicalTextIgnoresKeyOrderAndCase) {
    CVelaInstanceName a("CIM_Thing", ns("root/cimv2"));
    a.addKeyBinding("Name", CVelaValue::makeString("a \"quoted\" \\ name"));
    a.addKeyBinding("Id", CVelaValue::makeUint32(7));
    a.addKeyBinding("Enabled", CVelaValue::makeBoolean(true));
    CVelaInstanceName b("CIM_Thing", ns("root/cimv2"));
    b.addKeyBinding("ENABLED", CVelaValue::makeBoolean(true));
    b.addKeyBinding("name", CVelaValue::makeString("a \"quoted\" \\ name"));
    b.addKeyBinding("iD", CVelaValue::makeUint32(7));
    EXPECT_EQ(a.toString(), b.toString());
    EXPECT_EQ(
        a.toString(),
        VELString("root/cimv2:CIM_Thing.enabled=TRUE,id=7,name=\"a \\\"quoted\\\" \\\\ name\""));
    EXPECT_TRUE(a.equals(b));
    CVelaInstanceName c("cim_thing", ns("root/cimv2"));
    c.addKeyBinding("Name", CVelaValue::makeString("other"));
    c.addKeyBinding("Id", CVelaValue::makeUint32(7));
    c.addKeyBinding("Enabled", CVelaValue::makeBoolean(true));
    EXPECT_FALSE(a.equals(c));
}

TEST(InstanceName, ReferenceKeysNestCanonically) {
    auto inner = makeVELSmrPtr<CVelaInstanceName>("CIM_A", ns("root/x"));
    inner->addKeyBinding("K", CVelaValue::makeString("v"));
    CVelaInstanceName outer("CIM_Assoc", ns("root/x", "host1"));
    outer.addKeyBinding("Ref", CVelaValue::makeReference(inner));
    EXPECT_EQ(outer.toString(),
              VELString("//host1/root/x:CIM_Assoc.ref=\"root/x:CIM_A.k=\\\"v\\\"\""));
}

struct EncodeCase {
    std::string in;
    std::string out;
};

TEST(CIMUtil, XmlEncodeEscapesAndKeepsDocumentsWellFormed) {
    const EncodeCase cases[] = {
        {"plain text\twith tab\nand line", "plain text\twith tab\nand line"},
        {"a&b<c>d\"e'f", "a&amp;b&lt;c&gt;d&quot;e&apos;f"},
        {"line\r\nend", "line&#13;\nend"},
        {std::string("nul\0here", 8), "nul\xEF\xBF\xBDhere"},
        {"bell\x07", "bell\xEF\xBF\xBD"},
        {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"},
        {"bad \xC3 byte", "bad \xEF\xBF\xBD byte"},
        {"overlong \xC0\xAF", "overlong \xEF\xBF\xBD\xEF\xBF\xBD"},
        {"surrogate \xED\xA0\x80", "surrogate \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"nonchar \xEF\xBF\xBF", "nonchar \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"truncated \xE2\x82", "truncated \xEF\xBF\xBD\xEF\xBF\xBD"},
        {"", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CIMUtil::xmlEncode(VELString(c.in)).str(), c.out) << c.in;
        std::ostringstream os;
        CIMUtil::xmlEncode(os, c.in);
        EXPECT_EQ(os.str(), c.out) << c.in;
        EXPECT_EQ(CIMUtil::needsXmlEncoding(c.in), c.in != c.out) << c.in;
    }
}

class QualifiedKeys : public ::testing::Test {
  protected:
    void SetUp() override {
        auto set = std::make_shared<tarn::CClassSet>();
        auto cls = makeVELSmrPtr<CVelaClass>("TARN_Holder", "");
        auto key = makeVELSmrPtr<tarn::CPropertyDef>("Target", CVelaType::string);
        key->addQualifier(VELSmrPtr<tarn::IQualifier>(
            new tarn::CQualifier("Key", CVelaType::boolean, CVelaValue::makeBoolean(true), 0)));
        key->addQualifier(VELSmrPtr<tarn::IQualifier>(
            new tarn::CQualifier(CIMUtil::REFERENCE_KEY_QUALIFIER, CVelaType::boolean,
                                 CVelaValue::makeBoolean(true), 0)));
        cls->addProperty(key);
        auto plain = makeVELSmrPtr<tarn::CPropertyDef>("Other", CVelaType::string);
        plain->addQualifier(VELSmrPtr<tarn::IQualifier>(new tarn::CQualifier(
            "EmbeddedInstance", CVelaType::string, CVelaValue::makeString("CIM_Foo"), 0)));
        cls->addProperty(plain);
        set->addClass("root/cimv2", cls);
        tarn::ISchemaCatalog::install(set);
    }
    void TearDown() override { tarn::ISchemaCatalog::install(nullptr); }
};

TEST_F(QualifiedKeys, ReferenceAndEmbeddedQualifiersAreFoundThroughTheLookup) {
    EXPECT_TRUE(CIMUtil::isReferenceQualified("root/cimv2", "TARN_Holder", "target"));
    EXPECT_FALSE(CIMUtil::isReferenceQualified("root/cimv2", "TARN_Holder", "Other"));
    EXPECT_FALSE(CIMUtil::isReferenceQualified("root/other", "TARN_Holder", "Target"));
    EXPECT_FALSE(CIMUtil::isReferenceQualified("root/cimv2", "Unknown", "Target"));
    EXPECT_TRUE(CIMUtil::isEmbeddedQualified("root/cimv2", "TARN_Holder", "Other"));
    EXPECT_FALSE(CIMUtil::isEmbeddedQualified("root/cimv2", "TARN_Holder", "Target"));
    // A new lookup is seen at once, despite the per-thread cache.
    tarn::ISchemaCatalog::install(std::make_shared<tarn::CClassSet>());
    EXPECT_FALSE(CIMUtil::isReferenceQualified("root/cimv2", "TARN_Holder", "Target"));
}

}  // namespace
