#include <gtest/gtest.h>

#include <sstream>

#include "tarn/CClassSet.h"
#include "tarn/CQualifier.h"
#include "tarn/ISchemaCatalog.h"
#include "tarn/QualifierFlavor.h"
#include "vela/AdapterUtils.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

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
