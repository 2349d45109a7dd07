// The MOF language where the DMTF schema does not exercise it: typed
// qualifier values, flavors at the use, class order, aliases as instance
// keys, and the pragmas.
#include <gtest/gtest.h>

#include "MofTestSupport.h"
#include "tarn/QualifierFlavor.h"

namespace {

using moftest::compile;
using tarn::QualifierFlavor;

const char* const kNs = "root/cimv2";

TEST(MofLanguage, QualifierValuesAreTypedByTheirDeclaration) {
    std::shared_ptr<tarn::MofClassSetSink> sink;
    auto r = compile(R"(
class T {
    [Key, Description("name" " of it"), MaxLen(0x40), MinValue(-5),
     ValueMap {"0", "1"}, Values("one value"), Weight(2), Letter('q')]
  string Name;
};
)",
                     &sink);
    ASSERT_TRUE(r.ok) << r.text();
    auto p = sink->classSet()->getClass(kNs, "T")->getPropertyDef("Name");
    struct Case {
        const char* qualifier;
        const char* type;
        const char* value;
        std::uint32_t flavor;
    };
    const Case cases[] = {
        {"Key", "boolean", "TRUE", QualifierFlavor::DisableOverride},
        {"Description", "string", "name of it", QualifierFlavor::Translatable},
        {"MaxLen", "uint32", "64", 0},
        {"MinValue", "sint64", "-5", 0},
        {"ValueMap", "string", "{0,1}", 0},
        // A single value for an array qualifier is an array of one.
        {"Values", "string", "{one value}", QualifierFlavor::Translatable},
        {"Weight", "real32", "2", 0},
        {"Letter", "char16", "q", 0},
    };
    for (const auto& c : cases) {
        auto q = p->getQualifier(c.qualifier);
        ASSERT_FALSE(q.isNull()) << c.qualifier;
        EXPECT_EQ(q->getType()->getName(), VELString(c.type)) << c.qualifier;
        EXPECT_EQ(q->getValue()->toString(), VELString(c.value)) << c.qualifier;
        EXPECT_EQ(q->getFlavor(), c.flavor) << c.qualifier;
        EXPECT_EQ(q->getDefiningClassName(), VELString("T"));
    }
    EXPECT_TRUE(p->isKey());
}

TEST(MofLanguage, FlavorsAtTheUseChangeTheDeclaredOnes) {
    std::shared_ptr<tarn::MofClassSetSink> sink;
    auto r = compile(R"(
[Description("base") : Restricted DisableOverride]
class A {
    [Description("kept"), MaxLen(8) : DisableOverride]
  string S;
};
class B : A {
  [Override("S"), MaxLen(8)] string S;
};
)",
                     &sink);
    ASSERT_TRUE(r.ok) << r.text();
    auto a = sink->classSet()->getClass(kNs, "A");
    EXPECT_EQ(a->getQualifier("Description")->getFlavor(), QualifierFlavor::Translatable |
                                                               QualifierFlavor::Restricted |
                                                               QualifierFlavor::DisableOverride);
    EXPECT_EQ(a->getPropertyDef("S")->getQualifier("MaxLen")->getFlavor(),
              QualifierFlavor::DisableOverride);
    auto b = sink->classSet()->getClass(kNs, "B");
    EXPECT_TRUE(b->getQualifier("Description").isNull()) << "Restricted at the use";
    // The DisableOverride MaxLen may be repeated with the same value.
    EXPECT_EQ(b->getPropertyDef("S")->getQualifier("MaxLen")->getValue()->getUnsigned(), 8u);
    EXPECT_EQ(b->getPropertyDef("S")->getQualifier("Description")->getValue()->getString(),
              VELString("kept"));
}

TEST(MofLanguage, ClassesMayComeInAnyOrderAndAreHandedOverSuperclassFirst) {
    std::shared_ptr<tarn::MofClassSetSink> sink;
    auto r = compile(R"(
class C : B { };
class B : A { uint8 X; };
class Other { };
class A { [Key] string Id; };
)",
                     &sink);
    ASSERT_TRUE(r.ok) << r.text();
    // The set refuses a class before its superclass, so r.ok shows the order of handing over.
    std::vector<std::string> order;
    for (const auto& c : sink->classSet()->getSubclasses(kNs, "", true)) {
        order.push_back(c->getName().str());
    }
    EXPECT_EQ(order, (std::vector<std::string>{"A", "Other", "B", "C"}));
    EXPECT_EQ(sink->classSet()->getClass(kNs, "C")->getKeyNames(), std::vector<VELString>{"Id"});
}

TEST(MofLanguage, InstanceKeysMayReferToOtherInstancesThroughAliases) {
    std::shared_ptr<tarn::MofClassSetSink> sink;
    auto r = compile(R"(
class Node { [Key] string Name; };
[Association] class Edge { [Key] Node REF From; [Key] Node REF To; };
[Association] class Meta { [Key] Edge REF Of; [Key] Node REF Note; };
instance of Meta { Of = $E; Note = $B; };
instance of Edge as $E { From = $A; To = $B; };
instance of Node as $A { Name = "a"; };
instance of Node as $B { Name = "b"; };
)",
                     &sink);
    ASSERT_TRUE(r.ok) << r.text();
    auto meta = sink->getInstances(kNs)[0];
    auto of = meta->getProperty("Of")->getValue()->getReference();
    EXPECT_EQ(of->getClassName(), VELString("Edge"));
    EXPECT_EQ(
        of->getKeyBinding(0)->getValue()->getReference()->getKeyBinding(0)->getValue()->getString(),
        VELString("a"));
}

TEST(MofLanguage, PragmasNamespaceIncludeAndLocale) {
    auto sink = moftest::sinkWithQualifiers();
    tarn::MofOptions options;
    options.includeDirs = {"lib"};
    auto r = moftest::compileInto(
        *sink,
        {{"main.mof",
          "#pragma locale (\"en_US\")\n"
          "#pragma include (\"sub/base.mof\")\n"
          "#pragma namespace (\"root/other\")\n"
          "#pragma include (\"shared.mof\")\n"
          "#pragma namespace (\"/root/cimv2/\")\n"
          "class Main : Base { };\n"},
         {"sub/base.mof", "#pragma include (\"more.mof\")\nclass Base : More { };\n"},
         {"sub/more.mof", "class More { [Key] string Id; };\n"},
         {"lib/shared.mof",
          "Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride);\n"
          "class Shared { [Key] string Id; };\n"}},
        options);
    ASSERT_TRUE(r.ok) << r.text();
    EXPECT_TRUE(r.diagnostics.empty()) << r.text();
    EXPECT_EQ(r.summary.files, 4u);
    EXPECT_FALSE(sink->classSet()->getClass("root/cimv2", "Main").isNull());
    EXPECT_FALSE(sink->classSet()->getClass("root/cimv2", "More").isNull());
    EXPECT_TRUE(sink->classSet()->getClass("root/cimv2", "Shared").isNull());
    EXPECT_FALSE(sink->classSet()->getClass("root/other", "Shared").isNull());
    EXPECT_EQ(sink->classSet()->getClass("root/other", "Shared")->getNameSpace(),
              VELString("root/other"));
    EXPECT_FALSE(sink->classSet()->getQualifierDef("root/other", "Key").isNull());
}

}  // namespace
