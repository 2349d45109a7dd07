#include <gtest/gtest.h>

#include <memory>

#include "tarn/CClassSet.h"
#include "tarn/CQualifier.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/ClassOriginDictionary.h"
#include "vela/VelaBaseException.h"

namespace {

using tarn::CMethodDef;
using tarn::CParameterDef;
using tarn::CPropertyDef;
using tarn::CQualifier;
using tarn::QualifierFlavor;

VELSmrPtr<tarn::IQualifier> q(const char* name, VELSmrPtr<IVelaValue> value,
                              std::uint32_t flavor = QualifierFlavor::Default) {
    return VELSmrPtr<tarn::IQualifier>(new CQualifier(name, value->getType(), value, flavor));
}

VELSmrPtr<tarn::IQualifier> text(const char* name, const char* v,
                                 std::uint32_t flavor = QualifierFlavor::Default) {
    return q(name, CVelaValue::makeString(v), flavor);
}

VELSmrPtr<tarn::IQualifier> flag(const char* name,
                                 std::uint32_t flavor = QualifierFlavor::Default) {
    return q(name, CVelaValue::makeBoolean(true), flavor);
}

template <class T>
std::vector<T> all(VELSmrPtr<tarn::Iterator<T>> it) {
    std::vector<T> out;
    while (it->hasNext()) {
        out.push_back(it->next());
    }
    return out;
}

std::vector<std::string> names(VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IPropertyDef>>> it) {
    std::vector<std::string> out;
    for (const auto& p : all(it)) {
        out.push_back(p->getName().str());
    }
    return out;
}

std::vector<std::string> qualifierNames(VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IQualifier>>> it) {
    std::vector<std::string> out;
    for (const auto& x : all(it)) {
        out.push_back(x->getName().str() + "@" + x->getDefiningClassName().str());
    }
    return out;
}

// Three levels: Test_Base (abstract, key Name) <- Test_Middle (overrides
// Caption, adds Size, overrides method Reset) <- Test_Leaf (adds Extra).
class SchemaTest : public ::testing::Test {
  protected:
    void SetUp() override {
        auto base = makeVELSmrPtr<CVelaClass>("Test_Base", "");
        base->addQualifier(flag("Abstract", QualifierFlavor::Restricted));
        base->addQualifier(text("Description", "the base", QualifierFlavor::Translatable));
        base->addQualifier(text("Version", "1.0", QualifierFlavor::DisableOverride));
        auto name = makeVELSmrPtr<CPropertyDef>("Name", CVelaType::string);
        name->addQualifier(flag("Key", QualifierFlavor::DisableOverride));
        name->addQualifier(text("Description", "name of it"));
        base->addProperty(name);
        auto caption = makeVELSmrPtr<CPropertyDef>("Caption", CVelaType::string,
                                                   CVelaValue::makeString("none"));
        caption->addQualifier(text("Description", "short text"));
        caption->addQualifier(q("MaxLen", CVelaValue::makeUint32(64)));
        base->addProperty(caption);
        auto reset = makeVELSmrPtr<CMethodDef>("Reset", CVelaType::uint32);
        auto force = makeVELSmrPtr<CParameterDef>("Force", CVelaType::boolean);
        force->addQualifier(flag("In"));
        reset->addParameter(force);
        reset->addQualifier(text("Description", "resets"));
        base->addMethod(reset);
        set.addClass("root/test", base);

        auto middle = makeVELSmrPtr<CVelaClass>("Test_Middle", "Test_Base");
        auto caption2 = makeVELSmrPtr<CPropertyDef>("caption", CVelaType::string);
        caption2->addQualifier(flag("Override", QualifierFlavor::Restricted));
        caption2->addQualifier(q("MaxLen", CVelaValue::makeUint32(32)));
        middle->addProperty(caption2);
        middle->addProperty(makeVELSmrPtr<CPropertyDef>("Size", CVelaType::uint64));
        auto reset2 = makeVELSmrPtr<CMethodDef>("Reset", CVelaType::uint32);
        auto force2 = makeVELSmrPtr<CParameterDef>("Force", CVelaType::boolean);
        force2->addQualifier(text("Description", "really"));
        reset2->addParameter(force2);
        reset2->addQualifier(flag("Override", QualifierFlavor::Restricted));
        middle->addMethod(reset2);
        set.addClass("root/test", middle);

        auto leaf = makeVELSmrPtr<CVelaClass>("Test_Leaf", "Test_Middle");
        leaf->addQualifier(text("Description", "the leaf"));
        leaf->addProperty(makeVELSmrPtr<CPropertyDef>("Extra", CVelaType::sint8));
        set.addClass("root/test", leaf);
    }

    VELSmrPtr<IVelaClass> cls(const char* name) { return set.getClass("ROOT/test", name); }

    tarn::CClassSet set;
};

TEST_F(SchemaTest, PropertiesKeepInheritedOrderWithOriginsAcrossThreeLevels) {
    auto leaf = cls("test_leaf");
    ASSERT_FALSE(leaf.isNull());
    EXPECT_EQ(names(leaf->getPropertyDefs(true)),
              (std::vector<std::string>{"Name", "caption", "Size", "Extra"}));
    EXPECT_EQ(names(leaf->getPropertyDefs(false)), (std::vector<std::string>{"Extra"}));
    EXPECT_EQ(names(cls("Test_Middle")->getPropertyDefs(false)),
              (std::vector<std::string>{"caption", "Size"}));
    EXPECT_EQ(leaf->getPropertyDef("NAME")->getOriginClassName(), VELString("Test_Base"));
    EXPECT_EQ(leaf->getPropertyDef("Caption")->getOriginClassName(), VELString("Test_Middle"));
    EXPECT_EQ(leaf->getPropertyDef("Extra")->getOriginClassName(), VELString("Test_Leaf"));
    EXPECT_EQ(leaf->getKeyNames(), std::vector<VELString>{"Name"});
    EXPECT_TRUE(leaf->getPropertyDef("Name")->isKey());
    EXPECT_EQ(all(leaf->getOwnPropertyNames()), std::vector<VELString>{"Extra"});
    EXPECT_EQ(all(cls("Test_Middle")->getOwnPropertyNames()),
              (std::vector<VELString>{"caption", "Size"}));
    // An override without a default keeps the inherited default.
    EXPECT_EQ(leaf->getPropertyDef("Caption")->getDefaultValue()->getString(), VELString("none"));
    EXPECT_TRUE(leaf->isA("TEST_BASE"));
    EXPECT_FALSE(cls("Test_Base")->isA("Test_Leaf"));
}

TEST_F(SchemaTest, QualifierFlavorsDecideWhatPropagates) {
    auto base = cls("Test_Base");
    auto middle = cls("Test_Middle");
    auto leaf = cls("Test_Leaf");
    EXPECT_TRUE(base->isAbstract());
    EXPECT_FALSE(middle->isAbstract()) << "Restricted must not reach subclasses";
    EXPECT_EQ(qualifierNames(middle->getQualifiers(true)),
              (std::vector<std::string>{"Description@Test_Base", "Version@Test_Base"}));
    EXPECT_TRUE(qualifierNames(middle->getQualifiers(false)).empty());
    // The leaf's own Description replaces the inherited one in place.
    EXPECT_EQ(qualifierNames(leaf->getQualifiers(true)),
              (std::vector<std::string>{"Description@Test_Leaf", "Version@Test_Base"}));
    EXPECT_EQ(qualifierNames(leaf->getQualifiers(false)),
              (std::vector<std::string>{"Description@Test_Leaf"}));
    EXPECT_EQ(leaf->getQualifier("description")->getFlavor(), QualifierFlavor::Default);

    // Property qualifiers: the override's own MaxLen, the inherited
    // Description, and its Override qualifier does not reach the leaf.
    auto middleCaption = middle->getPropertyDef("Caption");
    EXPECT_EQ(qualifierNames(middleCaption->getQualifiers(true)),
              (std::vector<std::string>{"Description@Test_Base", "MaxLen@Test_Middle",
                                        "Override@Test_Middle"}));
    EXPECT_EQ(qualifierNames(middleCaption->getQualifiers(false)),
              (std::vector<std::string>{"MaxLen@Test_Middle", "Override@Test_Middle"}));
    auto leafCaption = leaf->getPropertyDef("Caption");
    EXPECT_EQ(qualifierNames(leafCaption->getQualifiers(true)),
              (std::vector<std::string>{"Description@Test_Base", "MaxLen@Test_Middle"}));
    EXPECT_EQ(leafCaption->getQualifier("MaxLen")->getValue()->getUnsigned(), 32u);
}

TEST_F(SchemaTest, ConflictsAreRejectedWithTheirCodes) {
    auto codeOf = [&](VELSmrPtr<CVelaClass> c) {
        try {
            set.addClass("root/test", c);
        } catch (const VelaBaseException& e) {
            return e.getCode();
        }
        return 0;
    };
    EXPECT_EQ(codeOf(makeVELSmrPtr<CVelaClass>("Test_Orphan", "Test_Nowhere")), 10);
    EXPECT_EQ(codeOf(makeVELSmrPtr<CVelaClass>("TEST_BASE", "")), 11);
    // Changing a DisableOverride qualifier's value.
    auto bad = makeVELSmrPtr<CVelaClass>("Test_Bad", "Test_Base");
    bad->addQualifier(text("Version", "2.0"));
    EXPECT_THROW(set.addClass("root/test", bad), VelaBaseException);
    // Repeating it with the same value is fine.
    auto same = makeVELSmrPtr<CVelaClass>("Test_Same", "Test_Base");
    same->addQualifier(text("Version", "1.0"));
    EXPECT_NO_THROW(set.addClass("root/test", same));
    // Overriding a property with another type.
    auto retyped = makeVELSmrPtr<CVelaClass>("Test_Retyped", "Test_Base");
    retyped->addProperty(makeVELSmrPtr<CPropertyDef>("Caption", CVelaType::uint8));
    EXPECT_THROW(set.addClass("root/test", retyped), VelaBaseException);
    // Two local properties of one name.
    auto twice = makeVELSmrPtr<CVelaClass>("Test_Twice", "");
    twice->addProperty(makeVELSmrPtr<CPropertyDef>("A", CVelaType::uint8));
    EXPECT_THROW(twice->addProperty(makeVELSmrPtr<CPropertyDef>("a", CVelaType::uint8)),
                 VelaBaseException);
}

}  // namespace
