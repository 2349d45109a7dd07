// Classes with qualifiers, properties, methods and parameters over three
// levels of inheritance.
#include "EncoderTestSupport.h"
#include "tarn/QualifierFlavor.h"

namespace enctest {
namespace {

using tarn::CMethodDef;
using tarn::CParameterDef;
using tarn::CPropertyDef;
using tarn::QualifierFlavor;

VELSmrPtr<tarn::IQualifier> text(const char* name, const char* v, std::uint32_t flavor = 0) {
    return qualifier(name, str(v), flavor);
}
VELSmrPtr<tarn::IQualifier> flag(const char* name, std::uint32_t flavor = 0) {
    return qualifier(name, CVelaValue::makeBoolean(true), flavor);
}

// The element with these qualifiers added, in order.
template <class T, class... Q>
VELSmrPtr<T> with(VELSmrPtr<T> element, Q... qualifiers) {
    (element->addQualifier(qualifiers), ...);
    return element;
}
VELSmrPtr<CPropertyDef> prop(const char* name, const VELSmrPtr<IVelaType>& type) {
    return makeVELSmrPtr<CPropertyDef>(name, type);
}
VELSmrPtr<CParameterDef> param(const char* name, const VELSmrPtr<IVelaType>& type) {
    return makeVELSmrPtr<CParameterDef>(name, type);
}

// Test_Base <- Test_Middle (overrides caption and Reset, adds Size) <- Test_Leaf
// (adds a scalar, a reference, an array and an embedded instance property
// and a method with every kind of parameter).
class ClassSchema : public ::testing::Test {
  protected:
    void SetUp() override {
        using F = QualifierFlavor;
        auto base =
            with(makeVELSmrPtr<CVelaClass>("Test_Base", ""), flag("Abstract", F::Restricted),
                 text("Description", "the base", F::Translatable),
                 text("Version", "1.0", F::DisableOverride));
        base->addProperty(with(prop("Name", CVelaType::string), flag("Key", F::DisableOverride),
                               text("Description", "name & id")));
        base->addProperty(with(
            makeVELSmrPtr<CPropertyDef>("Caption", CVelaType::string, str("none")),
            text("Description", "short text"), qualifier("MaxLen", CVelaValue::makeUint32(64))));
        auto reset = makeVELSmrPtr<CMethodDef>("Reset", CVelaType::uint32);
        reset->addParameter(with(param("Force", CVelaType::boolean), flag("In")));
        base->addMethod(with(reset, text("Description", "resets")));
        classes->addClass("root/test", base);

        auto middle = makeVELSmrPtr<CVelaClass>("Test_Middle", "Test_Base");
        middle->addProperty(with(prop("caption", CVelaType::string),
                                 flag("Override", F::Restricted),
                                 qualifier("MaxLen", CVelaValue::makeUint32(32))));
        middle->addProperty(prop("Size", CVelaType::uint64));
        auto reset2 = makeVELSmrPtr<CMethodDef>("Reset", CVelaType::uint32);
        reset2->addParameter(
            with(param("Force", CVelaType::boolean), text("Description", "really")));
        middle->addMethod(with(reset2, flag("Override", F::Restricted)));
        classes->addClass("root/test", middle);

        auto leaf = with(makeVELSmrPtr<CVelaClass>("Test_Leaf", "Test_Middle"),
                         text("Description", "the leaf"));
        leaf->addProperty(
            with(prop("Extra", CVelaType::sint8), text("Description", "extra", F::Translatable)));
        leaf->addProperty(prop("Owner", CVelaType::referenceTo("Test_Base")));
        leaf->addProperty(with(prop("Codes", CVelaType::get(CIMTypeId::UInt16, true)),
                               text("ArrayType", "Indexed", F::Restricted)));
        leaf->addProperty(prop("Blob", CVelaType::embeddedInstance("Test_Base")));
        auto attach = makeVELSmrPtr<CMethodDef>("Attach", CVelaType::embeddedInstance("Test_Base"));
        attach->addParameter(param("Target", CVelaType::referenceTo("Test_Base")));
        attach->addParameter(param("Targets", CVelaType::referenceTo("Test_Base", true)));
        attach->addParameter(
            with(param("Names", CVelaType::get(CIMTypeId::String, true)), flag("In")));
        attach->addParameter(param("Data", CVelaType::embeddedInstance("Test_Base")));
        leaf->addMethod(attach);
        classes->addClass("root/test", leaf);
    }

    VELSmrPtr<IVelaClass> cls(const char* name) { return classes->getClass("root/test", name); }

    std::shared_ptr<tarn::CClassSet> classes = std::make_shared<tarn::CClassSet>();
};

const std::string kFlavors = "OVERRIDABLE=\"true\" TOSUBCLASS=\"true\" TRANSLATABLE=\"false\" ";

std::string q(const char* name, const char* type, bool propagated, const std::string& flavors,
              const char* value) {
    return std::string("<QUALIFIER NAME=\"") + name + "\" TYPE=\"" + type + "\" PROPAGATED=\"" +
           (propagated ? "true" : "false") + "\" " + flavors + ">\n<VALUE>" + value +
           "</VALUE>\n</QUALIFIER>\n";
}

// The expected CLASS of Test_Leaf, assembled from literal pieces.
std::string expectedLeaf(bool localOnly, bool quals, bool origin, bool filtered) {
    auto o = [&](const char* cls) {
        return origin ? std::string("CLASSORIGIN=\"") + cls + "\"" : std::string();
    };
    auto iq = [&](const std::string& s) { return quals ? s : std::string(); };
    struct Piece {
        bool inherited;
        bool selected;
        std::string text;
    };
    const Piece properties[] = {
        {true, true,
         "<PROPERTY NAME=\"Name\"  TYPE=\"string\" PROPAGATED=\"true\" " + o("Test_Base") + ">\n" +
             iq(q("Key", "boolean", true,
                  "OVERRIDABLE=\"false\" TOSUBCLASS=\"true\" TRANSLATABLE=\"false\" ", "TRUE") +
                q("Description", "string", true, kFlavors, "name &amp; id")) +
             "</PROPERTY>\n"},
        {true, false,
         "<PROPERTY NAME=\"caption\"  TYPE=\"string\" PROPAGATED=\"true\" " + o("Test_Middle") +
             ">\n" +
             iq(q("Description", "string", true, kFlavors, "short text") +
                q("MaxLen", "uint32", true, kFlavors, "32")) +
             "</PROPERTY>\n"},
        {true, false,
         "<PROPERTY NAME=\"Size\"  TYPE=\"uint64\" PROPAGATED=\"true\" " + o("Test_Middle") +
             ">\n</PROPERTY>\n"},
        {false, true,
         "<PROPERTY NAME=\"Extra\"  TYPE=\"sint8\" PROPAGATED=\"false\" " + o("Test_Leaf") + ">\n" +
             iq(q("Description", "string", false,
                  "OVERRIDABLE=\"true\" TOSUBCLASS=\"true\" TRANSLATABLE=\"true\" ", "extra")) +
             "</PROPERTY>\n"},
        {false, false,
         "<PROPERTY.REFERENCE NAME=\"Owner\"  REFERENCECLASS=\"Test_Base\" PROPAGATED=\"false\" " +
             o("Test_Leaf") +
             ">\n<VALUE.REFERENCE>\n<CLASSNAME NAME=\"Test_Base\"/>\n</VALUE.REFERENCE>\n"
             "</PROPERTY.REFERENCE>\n"},
        {false, false,
         "<PROPERTY.ARRAY NAME=\"Codes\"  TYPE=\"uint16\" PROPAGATED=\"false\" " + o("Test_Leaf") +
             ">\n" +
             iq(q("ArrayType", "string", false,
                  "OVERRIDABLE=\"true\" TOSUBCLASS=\"false\" TRANSLATABLE=\"false\" ", "Indexed")) +
             "</PROPERTY.ARRAY>\n"},
        {false, false,
         "<PROPERTY NAME=\"Blob\"  TYPE=\"string\" EmbeddedObject=\"instance\" "
         "PROPAGATED=\"false\" " +
             o("Test_Leaf") + ">\n</PROPERTY>\n"},
    };
    const Piece methods[] = {
        {true, true,
         "<METHOD NAME=\"Reset\" TYPE=\"uint32\" PROPAGATED=\"true\" " + o("Test_Middle") + ">\n" +
             iq(q("Description", "string", true, kFlavors, "resets")) +
             "<PARAMETER NAME=\"Force\"  TYPE=\"boolean\" >\n" +
             iq(q("In", "boolean", true, kFlavors, "TRUE") +
                q("Description", "string", true, kFlavors, "really")) +
             "</PARAMETER>\n</METHOD>\n"},
        {false, true,
         "<METHOD NAME=\"Attach\" TYPE=\"string\" EmbeddedObject=\"instance\" "
         "PROPAGATED=\"false\" " +
             o("Test_Leaf") +
             ">\n<PARAMETER.REFERENCE NAME=\"Target\"  REFERENCECLASS=\"Test_Base\" >\n"
             "</PARAMETER.REFERENCE>\n<PARAMETER.REFARRAY NAME=\"Targets\"  "
             "REFERENCECLASS=\"Test_Base\" >\n</PARAMETER.REFARRAY>\n<PARAMETER.ARRAY "
             "NAME=\"Names\"  TYPE=\"string\" >\n" +
             iq(q("In", "boolean", false, kFlavors, "TRUE")) +
             "</PARAMETER.ARRAY>\n<PARAMETER NAME=\"Data\"  TYPE=\"string\" "
             "EmbeddedObject=\"instance\" >\n</PARAMETER>\n</METHOD>\n"},
    };
    std::string s = "<CLASS NAME=\"Test_Leaf\" SUPERCLASS=\"Test_Middle\">\n";
    s += iq(q("Description", "string", false, kFlavors, "the leaf"));
    if (!localOnly) {
        s += iq(q("Version", "string", true,
                  "OVERRIDABLE=\"false\" TOSUBCLASS=\"true\" TRANSLATABLE=\"false\" ", "1.0"));
    }
    for (const Piece& p : properties) {
        if (!(localOnly && p.inherited) && (!filtered || p.selected)) {
            s += p.text;
        }
    }
    // Methods are not filtered by the property list.
    for (const Piece& m : methods) {
        if (!(localOnly && m.inherited)) {
            s += m.text;
        }
    }
    return s + "</CLASS>\n";
}

TEST_F(ClassSchema, LeafClassInEveryCombinationOfFlagsAndPropertyList) {
    auto list = makeVELSmrPtr<CIMXMLUtil::PropertyList>(
        std::vector<VELString>{"NAME", "extra", "Missing", "Reset"});
    for (int bits = 0; bits < 16; ++bits) {
        bool localOnly = bits & 1, quals = bits & 2, origin = bits & 4, filtered = bits & 8;
        std::string text = out([&](std::ostream& os) {
            CIMXMLUtil::streamClass(os, cls("Test_Leaf"), filtered ? list : nullptr, quals, origin,
                                    localOnly);
        });
        EXPECT_EQ(text, expectedLeaf(localOnly, quals, origin, filtered))
            << "localOnly=" << localOnly << " includeQualifiers=" << quals
            << " includeClassOrigin=" << origin << " propertyList=" << filtered;
        EXPECT_TRUE(wellFormed(text));
    }
}

}  // namespace
}  // namespace enctest
