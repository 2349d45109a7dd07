// The MOF language as the compiler accepts it: qualifier declarations,
// every literal form, classes with their features, associations and
// indications, instances with aliases, and the pragmas.
#include <gtest/gtest.h>

#include "MofTestSupport.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaNameSpacePath.h"

namespace {

using moftest::compile;
using tarn::QualifierFlavor;
using tarn::QualifierScope;

const char* const kNs = "root/cimv2";

template <class T>
std::vector<T> all(VELSmrPtr<tarn::Iterator<T>> it) {
    std::vector<T> out;
    while (it->hasNext()) {
        out.push_back(it->next());
    }
    return out;
}

std::string printed(const VELSmrPtr<IVelaValue>& v) {
    if (v.isNull()) {
        return "<none>";
    }
    if (!v->isSet()) {
        return "<null>";
    }
    return v->toString().str();
}

TEST(MofLanguage, QualifierDeclarationsKeepTypeDefaultScopeAndFlavor) {
    auto sink = moftest::sinkWithQualifiers();
    ASSERT_TRUE(sink);
    struct Case {
        const char* name;
        const char* type;
        bool array;
        const char* value;
        std::uint32_t scope;
        std::uint32_t flavor;
    };
    const Case cases[] = {
        {"Key", "boolean", false, "FALSE", QualifierScope::Property | QualifierScope::Reference,
         QualifierFlavor::DisableOverride},
        {"Abstract", "boolean", false, "FALSE",
         QualifierScope::Class | QualifierScope::Association | QualifierScope::Indication,
         QualifierFlavor::Restricted},
        {"Description", "string", false, "<null>", QualifierScope::Any,
         QualifierFlavor::Translatable},
        {"Version", "string", false, "<null>",
         QualifierScope::Class | QualifierScope::Association | QualifierScope::Indication,
         QualifierFlavor::Restricted | QualifierFlavor::Translatable},
        {"ValueMap", "string", true, "<none>",
         QualifierScope::Property | QualifierScope::Method | QualifierScope::Parameter, 0},
        {"MaxLen", "uint32", false, "<null>",
         QualifierScope::Property | QualifierScope::Method | QualifierScope::Parameter, 0},
        {"Weight", "real32", false, "1.5", QualifierScope::Property, 0},
        {"Letter", "char16", false, "a", QualifierScope::Property, 0},
        {"In", "boolean", false, "TRUE", QualifierScope::Parameter,
         QualifierFlavor::DisableOverride},
    };
    for (const auto& c : cases) {
        auto d = sink->classSet()->getQualifierDef(kNs, VELString(c.name).toLower());
        ASSERT_FALSE(d.isNull()) << c.name;
        EXPECT_EQ(d->getName(), VELString(c.name));
        EXPECT_EQ(d->getType()->getName(), VELString(c.type)) << c.name;
        EXPECT_EQ(d->getType()->isArray(), c.array) << c.name;
        EXPECT_EQ(printed(d->getDefaultValue()), c.value) << c.name;
        EXPECT_EQ(d->getScope(), c.scope) << c.name;
        EXPECT_EQ(d->getFlavor(), c.flavor) << c.name;
    }
    EXPECT_EQ(sink->classSet()->getQualifierDefs(kNs).size(), 18u);
}

TEST(MofLanguage, EveryLiteralFormAsADefaultValue) {
    struct Case {
        const char* declaration;
        const char* value;  // printed form; "<null>" for an explicit null
    };
    const Case cases[] = {
        {"uint8 P = 0x1F", "31"},
        {"uint8 P = 255", "255"},
        {"uint16 P = 017", "15"},
        {"uint32 P = 101b", "5"},
        {"uint64 P = 18446744073709551615", "18446744073709551615"},
        {"sint8 P = -128", "-128"},
        {"sint16 P = -0x10", "-16"},
        {"sint32 P = +42", "42"},
        {"sint64 P = -9223372036854775808", "-9223372036854775808"},
        {"real32 P = 1.5", "1.5"},
        {"real32 P = 7", "7"},
        {"real64 P = -2.5e-3", "-0.0025"},
        {"real64 P = .125", "0.125"},
        {"boolean P = true", "TRUE"},
        {"boolean P = False", "FALSE"},
        {"string P = \"a\" \"b\"\n   \"\\x41\\t\"", "abA\t"},
        {"string P = \"\"", ""},
        {"char16 P = 'x'", "x"},
        {"char16 P = '\\x263A'", "\xE2\x98\xBA"},
        {"datetime P = \"20240131235959.123456+060\"", "20240131235959.123456+060"},
        {"datetime P = \"00000001020304.000000:000\"", "00000001020304.000000:000"},
        {"string P = NULL", "<null>"},
        {"uint8 P[] = {1, 0x2, 011, 100b}", "{1,2,9,4}"},
        {"string P[] = {\"x\", \"y\" \"z\"}", "{x,yz}"},
        {"boolean P[] = {}", "{}"},
        {"uint16 P[4] = {1, 2}", "{1,2}"},
        {"real64 P[] = {1, 2.5, null}", "{1,2.5,NULL}"},
    };
    for (const auto& c : cases) {
        std::shared_ptr<tarn::MofClassSetSink> sink;
        auto r = compile(std::string("class T {\n  ") + c.declaration + ";\n};\n", &sink);
        ASSERT_TRUE(r.ok) << c.declaration << "\n" << r.text();
        auto p = sink->classSet()->getClass(kNs, "T")->getPropertyDef("P");
        ASSERT_FALSE(p.isNull());
        EXPECT_EQ(printed(p->getDefaultValue()), c.value) << c.declaration;
    }
}

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
        EXPECT_EQ(printed(q->getValue()), c.value) << c.qualifier;
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

TEST(MofLanguage, ClassesWithPropertiesArraysMethodsParametersAndOverrides) {
    std::shared_ptr<tarn::MofClassSetSink> sink;
    auto r = compile(R"(
    [Abstract, Version("1.0"), Description("base")]
class Test_Base {
      [Key, Description("id")]
   string Id;
   uint16 Status = 2;
   uint8 Octets[16];
   string Names[] = {"a"};
      [Description("resets")]
   uint32 Reset(
         [In, Description("force it")]
      boolean Force,
         [In(false), Out]
      string Messages[],
         [In, EmbeddedInstance("Test_Base")]
      string Template);
};

class Test_Leaf : Test_Base {
      [Override("Status")]
   uint16 Status = 3;
   datetime Since;
      [Override("Reset")]
   uint32 Reset(
         [In]
      boolean Force,
         [In(false), Out]
      string Messages[],
         [In]
      string Template);
   sint64 Compute([In] real64 Inputs[]);
};
)",
                     &sink);
    ASSERT_TRUE(r.ok) << r.text();
    auto base = sink->classSet()->getClass(kNs, "Test_Base");
    auto leaf = sink->classSet()->getClass(kNs, "Test_Leaf");
    ASSERT_FALSE(leaf.isNull());
    EXPECT_TRUE(base->isAbstract());
    EXPECT_FALSE(leaf->isAbstract());
    EXPECT_EQ(leaf->getSuperClass()->getName(), VELString("Test_Base"));

    std::vector<std::string> props;
    for (const auto& p : all(leaf->getPropertyDefs(true))) {
        props.push_back(p->getName().str() + "@" + p->getOriginClassName().str());
    }
    EXPECT_EQ(props,
              (std::vector<std::string>{"Id@Test_Base", "Status@Test_Leaf", "Octets@Test_Base",
                                        "Names@Test_Base", "Since@Test_Leaf"}));
    EXPECT_EQ(leaf->getKeyNames(), std::vector<VELString>{"Id"});
    auto octets = leaf->getPropertyDef("Octets");
    EXPECT_TRUE(octets->getType()->isArray());
    EXPECT_EQ(octets->getType()->getName(), VELString("uint8"));
    EXPECT_EQ(octets->getArraySize(), 16u);
    EXPECT_EQ(leaf->getPropertyDef("Names")->getArraySize(), 0u);
    EXPECT_EQ(printed(leaf->getPropertyDef("Status")->getDefaultValue()), "3");
    EXPECT_EQ(printed(base->getPropertyDef("Status")->getDefaultValue()), "2");
    EXPECT_EQ(leaf->getPropertyDef("Id")->getQualifier("Description")->getDefiningClassName(),
              VELString("Test_Base"));

    auto reset = leaf->getMethodDef("reset");
    ASSERT_FALSE(reset.isNull());
    EXPECT_EQ(reset->getOriginClassName(), VELString("Test_Leaf"));
    EXPECT_EQ(reset->getReturnType()->getName(), VELString("uint32"));
    // Inherited qualifiers reach the override; its Override does not propagate further.
    EXPECT_EQ(reset->getQualifier("Description")->getValue()->getString(), VELString("resets"));
    EXPECT_FALSE(reset->getQualifier("Override").isNull());
    auto params = all(reset->getParameters());
    ASSERT_EQ(params.size(), 3u);
    EXPECT_EQ(params[0]->getName(), VELString("Force"));
    EXPECT_EQ(params[0]->getQualifier("Description")->getValue()->getString(),
              VELString("force it"));
    EXPECT_TRUE(params[1]->getType()->isArray());
    EXPECT_FALSE(params[1]->getQualifier("In")->getValue()->getBoolean());
    EXPECT_TRUE(params[1]->getQualifier("Out")->getValue()->getBoolean());
    EXPECT_EQ(params[2]->getQualifier("EmbeddedInstance")->getValue()->getString(),
              VELString("Test_Base"));
    auto compute = leaf->getMethodDef("Compute");
    EXPECT_EQ(compute->getReturnType()->getName(), VELString("sint64"));
    EXPECT_EQ(all(compute->getParameters())[0]->getType()->getName(), VELString("real64"));
    EXPECT_EQ(base->getMethodDef("Reset")->getOriginClassName(), VELString("Test_Base"));
    EXPECT_TRUE(base->getMethodDef("Compute").isNull());
}

TEST(MofLanguage, AssociationsAndIndications) {
    std::shared_ptr<tarn::MofClassSetSink> sink;
    auto r = compile(R"(
class Test_Element { [Key] string Name; };
class Test_Special : Test_Element { };
[Association, Description("links two elements")]
class Test_Link {
  [Key, Max(1)] Test_Element REF Left;
  [Key] Test_Element REF Right;
  uint32 Weight = 1;
  Test_Element REF Pick([In] Test_Element REF Among[]);
};
[Association]
class Test_SpecialLink : Test_Link {
  [Override("Left")] Test_Special REF Left;
};
[Indication, Abstract]
class Test_Event {
  string Source;
  datetime Time;
};
[Indication]
class Test_Alert : Test_Event {
  uint16 Severity;
};
)",
                     &sink);
    ASSERT_TRUE(r.ok) << r.text();
    auto link = sink->classSet()->getClass(kNs, "Test_Link");
    EXPECT_TRUE(link->isAssociation());
    EXPECT_EQ(link->getKeyNames(), (std::vector<VELString>{"Left", "Right"}));
    auto left = link->getPropertyDef("Left");
    EXPECT_TRUE(left->getType()->isReference());
    EXPECT_EQ(left->getType()->getReferenceClassName(), VELString("Test_Element"));
    EXPECT_EQ(left->getQualifier("Max")->getValue()->getUnsigned(), 1u);
    auto pick = link->getMethodDef("Pick");
    EXPECT_EQ(pick->getReturnType()->getReferenceClassName(), VELString("Test_Element"));
    auto among = all(pick->getParameters())[0]->getType();
    EXPECT_TRUE(among->isReference());
    EXPECT_TRUE(among->isArray());

    auto special = sink->classSet()->getClass(kNs, "Test_SpecialLink");
    EXPECT_TRUE(special->isAssociation());
    EXPECT_EQ(special->getPropertyDef("Left")->getType()->getReferenceClassName(),
              VELString("Test_Special"));
    EXPECT_EQ(special->getPropertyDef("Left")->getOriginClassName(), VELString("Test_SpecialLink"));
    EXPECT_TRUE(special->getPropertyDef("Left")->isKey()) << "Key propagates to the override";

    EXPECT_TRUE(sink->classSet()->getClass(kNs, "Test_Event")->isIndication());
    EXPECT_TRUE(sink->classSet()->getClass(kNs, "Test_Event")->isAbstract());
    auto alert = sink->classSet()->getClass(kNs, "Test_Alert");
    EXPECT_TRUE(alert->isIndication());
    EXPECT_FALSE(alert->isAbstract());
    EXPECT_FALSE(alert->isAssociation());
    EXPECT_TRUE(alert->getKeyNames().empty());
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

TEST(MofLanguage, InstancesWithAliasesAndReferences) {
    std::shared_ptr<tarn::MofClassSetSink> sink;
    auto r = compile(R"(
class Test_Element {
  [Key] string Name;
  [Key] uint16 Slot;
  string Label = "none";
  uint8 Data[];
};
[Association]
class Test_Link {
  [Key] Test_Element REF Left;
  [Key] Test_Element REF Right;
  real32 Strength;
};
[Association]
class Test_Holder {
  [Key] string Id;
  Test_Element REF Favourite;
};

// The alias is used before the instance that declares it.
instance of Test_Link {
  Left = $First;
  Right = "Test_Element.Name=\"b\",Slot=2";
  Strength = 0.5;
};
instance of Test_Element as $First {
  Name = "a";
  Slot = 1;
  Data = {1, 2, 3};
};
instance of Test_Element {
  [Description("the second")]
  Name = "b";
  Slot = 2;
  Label = "second";
};
instance of Test_Holder { Id = "h"; };
)",
                     &sink);
    ASSERT_TRUE(r.ok) << r.text();
    auto instances = sink->getInstances(kNs);
    ASSERT_EQ(instances.size(), 4u);
    const auto& link = instances[0];
    EXPECT_EQ(link->getClassName(), VELString("Test_Link"));
    EXPECT_EQ(link->getPath()->toString(),
              VELString("root/cimv2:Test_Link.left=\"root/cimv2:Test_Element.name=\\\"a\\\","
                        "slot=1\",right=\"Test_Element.name=\\\"b\\\",slot=2\""));
    auto left = link->getProperty("Left")->getValue()->getReference();
    EXPECT_EQ(left->getClassName(), VELString("Test_Element"));
    EXPECT_EQ(left->getKeyBinding(1)->getValue()->getType()->getName(), VELString("uint16"));
    // A path written as text gets its keys typed by the class.
    auto right = link->getProperty("Right")->getValue()->getReference();
    EXPECT_FALSE(right->getKeyBinding(1)->getValue()->isUntyped());
    EXPECT_EQ(right->getKeyBinding(1)->getValue()->getUnsigned(), 2u);
    EXPECT_EQ(link->getProperty("Strength")->getValue()->getReal(), 0.5);

    const auto& first = instances[1];
    EXPECT_EQ(first->getPropertyCount(), 4u) << "every property of the class";
    EXPECT_EQ(printed(first->getProperty("Label")->getValue()), "none") << "class default";
    EXPECT_EQ(printed(first->getProperty("Data")->getValue()), "{1,2,3}");
    EXPECT_EQ(first->getPath()->getNameSpacePath()->getNameSpace(), VELString(kNs));
    EXPECT_EQ(printed(instances[2]->getProperty("label")->getValue()), "second");
    // An unset property is present with a null value of its type.
    auto favourite = instances[3]->getProperty("Favourite");
    ASSERT_FALSE(favourite.isNull());
    EXPECT_FALSE(favourite->getValue()->isSet());
    EXPECT_TRUE(favourite->getType()->isReference());
    EXPECT_EQ(r.summary.instances, 4u);
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

TEST(MofLanguage, UnknownPragmasAreWarnedAndIgnored) {
    auto r = compile(
        "#pragma deleteclass (\"X\", FAIL)\n"
        "#pragma source (\"//host/root\")\n"
        "class A { };\n");
    EXPECT_TRUE(r.ok) << r.text();
    EXPECT_EQ(r.text(),
              "main.mof:1:9: warning: unknown #pragma deleteclass; ignored\n"
              "main.mof:2:9: warning: #pragma source is not supported; ignored\n");
    EXPECT_EQ(r.summary.classes, 1u);
    EXPECT_EQ(r.summary.warnings, 2u);
}

TEST(MofLanguage, ASchemaCanBeCompiledInStepsOnTopOfWhatTheSinkHolds) {
    auto sink = moftest::sinkWithQualifiers();
    ASSERT_TRUE(moftest::compileInto(*sink, {{"main.mof", "class A { [Key] string Id; };"}}).ok);
    auto r = moftest::compileInto(
        *sink,
        {{"main.mof", "class B : A { uint8 X; };\ninstance of B { Id = \"one\"; X = 1; };"}});
    ASSERT_TRUE(r.ok) << r.text();
    EXPECT_EQ(sink->classSet()->getClass(kNs, "B")->getPropertyDef("Id")->getOriginClassName(),
              VELString("A"));
    EXPECT_EQ(sink->getInstances(kNs).size(), 1u);
    // A class the sink already holds is refused by the sink; nothing of that
    // compilation is kept.
    r = moftest::compileInto(*sink, {{"main.mof", "class C { };\nclass A { };"}});
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.text(),
              "error: writing the result failed, nothing was written: class A already exists in "
              "namespace root/cimv2\n");
    EXPECT_TRUE(sink->classSet()->getClass(kNs, "C").isNull());
}

}  // namespace
