// Faults in MOF: each check with the place and text of its message, the
// recovery that goes on to find more, and the rule that a compilation with
// an error writes nothing.
#include <gtest/gtest.h>

#include "MofTestSupport.h"
#include "vela/VelaBaseException.h"

namespace {

using moftest::compile;

struct Case {
    const char* what;
    const char* mof;
    const char* diagnostics;  // all of them, one per line
};

void expectDiagnostics(const Case* cases, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        const Case& c = cases[i];
        std::shared_ptr<tarn::MofClassSetSink> sink;
        auto r = compile(c.mof, &sink);
        EXPECT_EQ(r.text(), c.diagnostics) << c.what;
        EXPECT_FALSE(r.ok) << c.what;
        // Nothing of a faulty compilation reaches the sink.
        EXPECT_EQ(sink->classSet()->classCount(), 0u) << c.what;
        EXPECT_TRUE(sink->getInstances("root/cimv2").empty()) << c.what;
    }
}

TEST(MofErrors, ClassChecks) {
    const Case cases[] = {
        {"unknown superclass", "class A { };\nclass B : Nowhere { };\n",
         "main.mof:2:11: error: unknown superclass Nowhere of class B\n"},
        {"inheritance cycle", "class A : C { };\nclass B : A { };\nclass C : B { };\n",
         "main.mof:2:11: error: class B inherits from itself through A\n"},
        {"duplicate class", "class A { };\nclass a { };\n",
         "main.mof:2:7: error: class a is already declared at main.mof:1:7\n"},
        {"duplicate property", "class A {\n  string P;\n  uint8 p;\n};\n",
         "main.mof:3:9: error: property p is declared twice in class A (first at main.mof:2:10)\n"},
        {"duplicate method", "class A {\n  uint32 M();\n  uint32 M([In] string x);\n};\n",
         "main.mof:3:10: error: method M is declared twice in class A (first at main.mof:2:10)\n"},
        {"duplicate parameter", "class A {\n  uint32 M(string x, uint8 X);\n};\n",
         "main.mof:2:28: error: parameter X is declared twice in method A.M\n"},
        {"association below a class that is none",
         "class E { };\n[Association]\nclass A : E {\n  E REF r;\n};\n",
         "main.mof:3:11: error: association A cannot be a subclass of E, which is not an "
         "association\n"},
        {"reference outside an association", "class E { };\nclass A {\n  E REF r;\n};\n",
         "main.mof:3:9: error: class A declares a reference but is not an association\n"},
        {"reference to an unknown class", "[Association]\nclass A {\n  Missing REF r;\n};\n",
         "main.mof:3:3: error: reference A.r names unknown class Missing\n"},
        {"parameter of an unknown class", "class A {\n  uint32 M(Missing REF r);\n};\n",
         "main.mof:2:12: error: parameter r of method A.M names unknown class Missing\n"},
        {"embedded instance of an unknown class",
         "class A {\n  [EmbeddedInstance(\"Missing\")] string E;\n};\n",
         "main.mof:2:40: error: EmbeddedInstance of property A.E names unknown class Missing\n"},
        {"embedded instance returned of an unknown class",
         "class A {\n  [EmbeddedInstance(\"Missing\")] string M();\n};\n",
         "main.mof:2:40: error: EmbeddedInstance of method A.M names unknown class Missing\n"},
        {"override of nothing", "class A { };\nclass B : A {\n  [Override(\"P\")] string P;\n};\n",
         "main.mof:3:26: error: property B.P overrides nothing: no superclass of B has a property "
         "P\n"},
        {"override naming another element",
         "class A { string P; string Q; };\nclass B : A {\n  [Override(\"Q\")] string P;\n};\n",
         "main.mof:3:26: error: property B.P has Override(\"Q\"), which names another property\n"},
        {"override of a missing method",
         "class A { };\nclass B : A {\n  [Override(\"M\")] uint32 M();\n};\n",
         "main.mof:3:26: error: method B.M overrides nothing: no superclass of B has a method M\n"},
        {"override changing the type",
         "class A { string P; };\nclass B : A {\n  [Override(\"P\")] uint8 P;\n};\n",
         "main.mof:2:7: error: class B: property B.P overrides a string property with a uint8\n"},
        {"DisableOverride qualifier changed",
         "class A { [Key] string P; };\nclass B : A {\n  [Override(\"P\"), Key(false)] string "
         "P;\n};\n",
         "main.mof:2:7: error: class B: qualifier Key of property B.P cannot be overridden: it is "
         "DisableOverride in A\n"},
        {"fixed array default too long", "class A {\n  uint8 P[2] = {1, 2, 3};\n};\n",
         "main.mof:2:16: error: default value of property A.P has 3 elements, more than the array "
         "size 2\n"},
    };
    expectDiagnostics(cases, std::size(cases));
}

TEST(MofErrors, QualifierChecks) {
    const Case cases[] = {
        {"unknown qualifier", "class A {\n  [Key, Colour(\"red\")] string P;\n};\n",
         "main.mof:2:9: error: unknown qualifier Colour on property A.P\n"},
        {"qualifier out of scope on a property", "class A {\n  [Max(1)] string P;\n};\n",
         "main.mof:2:4: error: qualifier Max cannot be used on a property (property A.P); its "
         "scope is reference\n"},
        {"qualifier out of scope on a method", "class A {\n  [Key] uint32 M();\n};\n",
         "main.mof:2:4: error: qualifier Key cannot be used on a method (method A.M); its scope "
         "is property, reference\n"},
        {"qualifier out of scope on a parameter", "class A {\n  uint32 M([Key] string x);\n};\n",
         "main.mof:2:13: error: qualifier Key cannot be used on a parameter (parameter x of "
         "method A.M); its scope is property, reference\n"},
        {"qualifier out of scope on a class", "[Key]\nclass A { };\n",
         "main.mof:1:2: error: qualifier Key cannot be used on a class (class A); its scope is "
         "property, reference\n"},
        {"association qualifier scope decided after resolution",
         "[Association] class L { };\n[Indication] class N : L { };\n",
         "main.mof:2:2: error: qualifier Indication cannot be used on an association (class N); "
         "its scope is class, indication\n"},
        {"qualifier value of the wrong type", "class A {\n  [MaxLen(\"long\")] string P;\n};\n",
         "main.mof:2:11: error: value of qualifier MaxLen on property A.P: expected a uint32 "
         "value, "
         "found string \"long\"\n"},
        {"array element of the wrong type", "class A {\n  [ValueMap {\"1\", 2}] uint8 P;\n};\n",
         "main.mof:2:19: error: value of qualifier ValueMap on property A.P: expected a string "
         "value, found number 2\n"},
        {"array for a scalar qualifier", "class A {\n  [MaxLen {1, 2}] string P;\n};\n",
         "main.mof:2:11: error: value of qualifier MaxLen on property A.P: expected a single "
         "uint32 value, found an array\n"},
        {"qualifier given twice", "[Description(\"a\"), description(\"b\")]\nclass A { };\n",
         "main.mof:1:20: error: qualifier description is given twice on class A\n"},
        {"contradicting flavors", "[Description(\"a\") : ToSubclass Restricted]\nclass A { };\n",
         "main.mof:1:2: error: qualifier Description on class A: ToSubclass and Restricted "
         "contradict each other\n"},
        {"qualifier declared again differently",
         "Qualifier Key : boolean = false, Scope(property);\n"
         "Qualifier KEY : boolean = true, Scope(property);\n",
         "main.mof:2:11: error: qualifier KEY is declared again, differently (first at "
         "main.mof:1:11)\n"},
        {"qualifier default of the wrong type", "Qualifier Size : uint8 = 256, Scope(property);\n",
         "main.mof:1:26: error: default value of qualifier Size: number 256 is out of range for "
         "uint8\n"},
    };
    expectDiagnostics(cases, std::size(cases));
}

TEST(MofErrors, DefaultValueTypeMismatches) {
    struct Mismatch {
        const char* declaration;
        const char* message;
    };
    const Mismatch cases[] = {
        {"uint8 P = 256", "number 256 is out of range for uint8"},
        {"uint16 P = -1", "number -1 is negative, but uint16 is unsigned"},
        {"sint8 P = 128", "number 128 is out of range for sint8"},
        {"sint32 P = -2147483649", "number -2147483649 is out of range for sint32"},
        {"real32 P = 1e39", "real 1e+39 is out of range for real32"},
        {"uint32 P = 1.5", "expected a uint32 value, found real 1.5"},
        {"string P = 5", "expected a string value, found number 5"},
        {"boolean P = \"true\"", "expected a boolean value, found string \"true\""},
        {"char16 P = \"x\"", "expected a char16 value, found string \"x\""},
        {"string P = 'x'", "expected a string value, found a char16 literal"},
        {"datetime P = \"2024-01-01\"",
         "\"2024-01-01\" is not a valid datetime: a datetime has exactly 25 characters"},
        {"uint8 P[] = 1", "expected an array value in braces for uint8[], found number 1"},
        {"uint8 P = {1}", "expected a single uint8 value, found an array"},
        {"string P = $alias", "expected a string value, found alias $alias"},
        {"boolean P[] = {true, 1}", "expected a boolean value, found number 1"},
    };
    for (const auto& c : cases) {
        auto r = compile(std::string("class A {\n  ") + c.declaration + ";\n};\n");
        ASSERT_EQ(r.errors().size(), 1u) << c.declaration << "\n" << r.text();
        const std::string e = r.errors()[0];
        std::string expected = "error: default value of property A.P: " + std::string(c.message);
        EXPECT_NE(e.find(expected), std::string::npos) << e << "\nwanted: " << expected;
        EXPECT_EQ(e.rfind("main.mof:2:", 0), 0u) << e;
    }
}

TEST(MofErrors, InstanceChecks) {
    const char* const classes =
        "class A { [Key] string K; uint8 N; };\n"
        "[Abstract] class Z { [Key] string K; };\n"
        "[Association] class L { [Key] A REF X; [Key] A REF Y; };\n";
    struct InstanceCase {
        const char* what;
        const char* instances;  // from line 4 on
        const char* diagnostics;
    };
    const InstanceCase cases[] = {
        {"unknown class", "instance of Nope { K = \"x\"; };\n",
         "main.mof:4:13: error: instance of unknown class Nope\n"},
        {"key left unset", "instance of A { N = 1; };\n",
         "main.mof:4:13: error: instance of A leaves key property K unset\n"},
        {"key set to null", "instance of A { K = null; };\n",
         "main.mof:4:13: error: instance of A leaves key property K unset\n"},
        {"unknown property", "instance of A { K = \"x\"; Colour = 1; };\n",
         "main.mof:4:26: error: class A has no property Colour\n"},
        {"property given twice", "instance of A { K = \"x\"; k = \"y\"; };\n",
         "main.mof:4:26: error: property k is given twice in this instance (first at "
         "main.mof:4:17)\n"},
        {"value of the wrong type", "instance of A { K = \"x\"; N = 300; };\n",
         "main.mof:4:30: error: property N of instance of A: number 300 is out of range for "
         "uint8\n"},
        {"abstract class", "instance of Z { K = \"x\"; };\n",
         "main.mof:4:13: error: instance of abstract class Z\n"},
        {"unknown alias", "instance of L { X = $Nobody; Y = $Nobody; };\n",
         "main.mof:4:21: error: property X of instance of L: unknown alias $Nobody\n"
         "main.mof:4:34: error: property Y of instance of L: unknown alias $Nobody\n"},
        {"alias used twice",
         "instance of A as $a { K = \"1\"; };\ninstance of A as $a { K = \"2\"; };\n",
         "main.mof:5:18: error: alias $a is already used at main.mof:4:18\n"},
        {"alias of the wrong class",
         "instance of L as $l { X = \"A.K=\\\"1\\\"\"; Y = \"A.K=\\\"2\\\"\"; };\n"
         "instance of L { X = $l; Y = \"A.K=\\\"2\\\"\"; };\n",
         "main.mof:5:21: error: property X of instance of L: alias $l is an instance of L, which "
         "is not a A\n"},
        {"reference text naming an unknown class",
         "instance of L { X = \"Q.K=\\\"1\\\"\"; Y = \"A.K=\\\"2\\\"\"; };\n",
         "main.mof:4:21: error: property X of instance of L: reference to unknown class Q\n"},
        {"reference text naming the wrong class",
         "instance of L { X = \"L.X=\\\"1\\\"\"; Y = \"A.K=\\\"2\\\"\"; };\n",
         "main.mof:4:21: error: property X of instance of L: the reference names class L, which "
         "is not a A\n"},
        {"reference text that is no path",
         "instance of L { X = \"A.K=\"; Y = \"A.K=\\\"2\\\"\"; };\n",
         "main.mof:4:21: error: property X of instance of L: 'A.K=' is not a valid object path: a "
         "key value must be quoted, a number or TRUE/FALSE\n"},
        {"reference text without the keys",
         "instance of L { X = \"A\"; Y = \"A.K=\\\"2\\\"\"; };\n",
         "main.mof:4:21: error: property X of instance of L: the reference lacks key K of A\n"},
        {"aliases through keys in a cycle",
         "instance of L as $p { X = $q; Y = \"A.K=\\\"2\\\"\"; };\n"
         "instance of L as $q { X = $p; Y = \"A.K=\\\"2\\\"\"; };\n",
         "main.mof:4:13: error: the keys of this instance of L refer to the instance itself "
         "through aliases\n"},
        {"same instance twice",
         "instance of A { K = \"x\"; };\ninstance of A { K = \"x\"; N = 2; };\n",
         "main.mof:5:13: error: instance root/cimv2:A.k=\"x\" is already declared at "
         "main.mof:4:13\n"},
    };
    for (const auto& c : cases) {
        std::shared_ptr<tarn::MofClassSetSink> sink;
        auto r = compile(std::string(classes) + c.instances, &sink);
        EXPECT_EQ(r.text(), c.diagnostics) << c.what;
        EXPECT_FALSE(r.ok) << c.what;
        EXPECT_EQ(sink->classSet()->classCount(), 0u) << c.what;
    }
}

TEST(MofErrors, SyntaxErrorsAreReportedAndParsingGoesOn) {
    const Case cases[] = {
        {"missing semicolon and a later fault",
         "class A {\n  string P\n  uint8 Q;\n};\nclass B {\n  strin R;\n};\n",
         "main.mof:3:3: error: expected ';' after the property declaration, found 'uint8'\n"
         "main.mof:6:3: error: 'strin' is not a data type, and no 'REF' follows it\n"},
        {"stray tokens between declarations",
         "class A { };\n42;\nclass B : { };\nclass C { string X = ; };\n",
         "main.mof:2:1: error: expected 'class', 'instance', 'qualifier' or '#pragma', found "
         "number 42\n"
         "main.mof:3:11: error: expected a superclass name, found '{'\n"
         "main.mof:4:22: error: expected a value, found ';'\n"},
        {"unbalanced brackets inside a class",
         "class A {\n  [Description(\"x\"] string P;\n  uint8 Q = 1;\n  string R = 2;\n};\n",
         "main.mof:2:19: error: expected ')' after the qualifier value, found ']'\n"
         "main.mof:4:14: error: default value of property A.R: expected a string value, found "
         "number 2\n"},
        {"unterminated class body", "class A {\n  string P;\n",
         "main.mof:3:1: error: expected '}' to close the class body of A, found end of file\n"},
        {"nested arrays", "class A { [ValueMap {{\"1\"}}] string P; };\n",
         "main.mof:1:22: error: arrays cannot be nested\n"},
        {"lexical faults keep their token",
         "class A {\n  string P = \"a\\qb\";\n  uint8 Q = 09;\n  uint8 @ R;\n};\n",
         "main.mof:2:16: error: unknown escape sequence '\\q'\n"
         "main.mof:3:13: error: malformed octal number '09'\n"
         "main.mof:4:9: error: unexpected '@'\n"},
        {"reference property declared as an array", "[Association] class A { A REF R[]; };\n",
         "main.mof:1:32: error: a reference property cannot be an array\n"},
        {"qualifier list before a qualifier declaration",
         "[Key] Qualifier X : boolean, Scope(any);\n",
         "main.mof:1:7: error: expected 'class' or 'instance' after the qualifier list, found "
         "'Qualifier'\n"},
        {"fixed array of size zero", "class A { uint8 P[0]; };\n",
         "main.mof:1:19: error: the size of a fixed array must be between 1 and 1048576\n"},
        {"bad pragmas",
         "#pragma include (\"a.mof\", \"b.mof\")\n#pragma namespace (\"/\")\n#pragma include "
         "\"x.mof\"\n",
         "main.mof:1:17: error: #pragma include takes one string: the file to include\n"
         "main.mof:2:19: error: #pragma namespace names no namespace\n"
         "main.mof:3:17: error: expected '(' after the pragma name, found string \"x.mof\"\n"},
    };
    expectDiagnostics(cases, std::size(cases));
}

TEST(MofErrors, ManyFaultsAreAllReportedUpToTheLimit) {
    std::string mof;
    for (int i = 0; i < 10; ++i) {
        mof += "class C" + std::to_string(i) + " : Missing { };\n";
    }
    auto r = compile(mof);
    EXPECT_EQ(r.errors().size(), 10u) << r.text();

    tarn::MofOptions options;
    options.limits.maxErrors = 3;
    r = compile(mof, nullptr, options);
    EXPECT_EQ(r.text(),
              "main.mof:1:12: error: unknown superclass Missing of class C0\n"
              "main.mof:2:12: error: unknown superclass Missing of class C1\n"
              "main.mof:3:12: error: unknown superclass Missing of class C2\n"
              "error: too many errors (3), compilation stopped\n");
}

TEST(MofErrors, IncludeFaults) {
    auto sink = moftest::sinkWithQualifiers();
    struct IncludeCase {
        const char* what;
        std::map<std::string, std::string> files;
        const char* diagnostics;
    };
    const IncludeCase cases[] = {
        {"missing file",
         {{"main.mof", "class A { };\n#pragma include (\"gone.mof\")\n"}},
         "main.mof:2:17: error: include file gone.mof not found (looked for gone.mof, "
         "inc/gone.mof)\n"},
        {"cycle",
         {{"main.mof", "#pragma include (\"a.mof\")\n"},
          {"a.mof", "class A { };\n#pragma include (\"b.mof\")\n"},
          {"b.mof", "#pragma include (\"a.mof\")\n"}},
         "b.mof:1:17: error: include cycle: a.mof -> b.mof -> a.mof\n"},
        {"file including itself",
         {{"main.mof", "#pragma include (\"main.mof\")\n"}},
         "main.mof:1:17: error: include cycle: main.mof -> main.mof\n"},
    };
    for (const auto& c : cases) {
        tarn::MofOptions options;
        options.includeDirs = {"inc"};
        auto r = moftest::compileInto(*sink, c.files, options);
        EXPECT_EQ(r.text(), c.diagnostics) << c.what;
        EXPECT_FALSE(r.ok);
    }
    EXPECT_EQ(sink->classSet()->classCount(), 0u);
}

TEST(MofErrors, HostileInputIsRejectedCleanly) {
    // Includes nested beyond the limit (each file includes the next).
    std::map<std::string, std::string> chain;
    chain["main.mof"] = "#pragma include (\"f1.mof\")\n";
    for (int i = 1; i < 50; ++i) {
        chain["f" + std::to_string(i) + ".mof"] =
            "#pragma include (\"f" + std::to_string(i + 1) + ".mof\")\n";
    }
    tarn::MofOptions options;
    options.limits.maxIncludeDepth = 8;
    auto sink = moftest::sinkWithQualifiers();
    auto r = moftest::compileInto(*sink, chain, options);
    EXPECT_EQ(r.text(), "f7.mof:1:17: error: includes nested more than 8 deep\n");

    // An include bomb: each file includes the next one twice; the total size stops it.
    std::map<std::string, std::string> bomb;
    bomb["main.mof"] = "#pragma include (\"b1.mof\")\n#pragma include (\"b1.mof\")\n";
    for (int i = 1; i < 30; ++i) {
        std::string next = "#pragma include (\"b" + std::to_string(i + 1) + ".mof\")\n";
        bomb["b" + std::to_string(i) + ".mof"] = next + next + std::string(1000, ' ');
    }
    bomb["b30.mof"] = std::string(1000, ' ');
    options = tarn::MofOptions();
    options.limits.maxTotalBytes = 1 << 20;
    r = moftest::compileInto(*sink, bomb, options);
    ASSERT_FALSE(r.ok);
    EXPECT_NE(r.errors()[0].find("the compilation would read more than 1048576 bytes"),
              std::string::npos)
        << r.errors()[0];
    EXPECT_LE(r.summary.bytes, std::size_t(1) << 20);

    // A string literal larger than the limit, also when made of many pieces.
    options = tarn::MofOptions();
    options.limits.maxLiteralBytes = 1000;
    r = compile("class A { string P = \"" + std::string(1001, 'x') + "\"; };", nullptr, options);
    EXPECT_EQ(r.text(), "main.mof:1:22: error: string literal longer than 1000 bytes\n");
    std::string pieces;
    for (int i = 0; i < 30; ++i) {
        pieces += "\"" + std::string(50, 'y') + "\" ";
    }
    r = compile("class A { string P = " + pieces + "; };", nullptr, options);
    EXPECT_EQ(r.text(), "main.mof:1:22: error: string literal longer than 1000 bytes\n");

    // An array with more elements than allowed.
    options = tarn::MofOptions();
    options.limits.maxArrayElements = 10;
    r = compile("class A { uint8 P[] = {1,2,3,4,5,6,7,8,9,10,11}; };", nullptr, options);
    EXPECT_EQ(r.text(), "main.mof:1:45: error: array with more than 10 elements\n");

    // Deeply nested brackets in an unknown pragma.
    r = compile("#pragma odd (" + std::string(100, '(') + std::string(100, ')') + ")\n");
    EXPECT_EQ(r.text(), "main.mof:1:79: error: brackets nested too deeply\n");

    // Inheritance deeper than the limit; the chain is walked without recursion.
    std::string classes = "class K0 { };\n";
    for (int i = 1; i < 5000; ++i) {
        classes += "class K" + std::to_string(i) + " : K" + std::to_string(i - 1) + " { };\n";
    }
    r = compile(classes);
    EXPECT_EQ(r.text(), "main.mof:66:13: error: class K65 has more than 64 superclasses\n");
}

TEST(MofErrors, SizeLimitsBoundWhatACompilationHolds) {
    struct LimitCase {
        const char* what;
        void (*set)(tarn::MofLimits&);
        std::string mof;
        const char* diagnostics;
    };
    std::string manyProperties = "class A {\n";
    for (int i = 0; i < 10; ++i) {
        manyProperties += "  uint8 P" + std::to_string(i) + ";\n";
    }
    manyProperties += "};\n";
    const LimitCase cases[] = {
        {"qualifiers of one element", [](tarn::MofLimits& l) { l.maxQualifiers = 2; },
         "[Description(\"a\"), Version(\"1\"), Abstract]\nclass A { };\n",
         "main.mof:1:34: error: more than 2 qualifiers on one element\n"},
        {"properties of one class", [](tarn::MofLimits& l) { l.maxFeatures = 8; }, manyProperties,
         "main.mof:10:3: error: class A has more than 8 properties and methods\n"},
        {"values of one instance", [](tarn::MofLimits& l) { l.maxFeatures = 1; },
         "class A { [Key] string K; };\ninstance of A { K = \"x\"; K = \"y\"; };\n",
         "main.mof:2:26: error: an instance with more than 1 values\n"},
        {"parameters of one method", [](tarn::MofLimits& l) { l.maxParameters = 1; },
         "class A { uint32 M(string a, string b); };\n",
         "main.mof:1:30: error: method M has more than 1 parameters\n"},
        {"nodes of the syntax tree", [](tarn::MofLimits& l) { l.maxSyntaxNodes = 8; },
         manyProperties,
         "main.mof:9:3: error: the MOF holds more than 8 declarations, features, qualifiers and "
         "values; compilation stopped\n"},
        {"size of the resolved classes", [](tarn::MofLimits& l) { l.maxSchemaSize = 30; },
         manyProperties + "class B : A { };\nclass C : B { };\n",
         "main.mof:14:7: error: the classes hold more than 30 properties, methods, parameters and "
         "qualifiers in all, inherited ones counted in each class; compilation stopped\n"},
    };
    for (const auto& c : cases) {
        tarn::MofOptions options;
        c.set(options.limits);
        auto r = compile(c.mof, nullptr, options);
        EXPECT_EQ(r.text(), c.diagnostics) << c.what;
        EXPECT_FALSE(r.ok) << c.what;
    }
}

TEST(MofErrors, FilesThatCannotBeReadAreReported) {
    tarn::MofCompiler compiler;
    EXPECT_FALSE(compiler.compileFile("/nonexistent/dir/x.mof"));
    EXPECT_EQ(compiler.diagnostics().at(0).toString(),
              "error: cannot read /nonexistent/dir/x.mof: no such file");
    tarn::MofCompiler second;
    EXPECT_FALSE(second.compileFile("/"));
    EXPECT_EQ(second.diagnostics().at(0).toString(), "error: cannot read /: not a regular file");
    tarn::MofCompiler third;
    EXPECT_FALSE(third.compileText("#pragma include (\"/dev/zero\")\n", "dev.mof"));
    EXPECT_EQ(third.diagnostics().at(0).toString(),
              "dev.mof:1:17: error: cannot read include file /dev/zero: not a regular file");
}

// A sink that fails in the middle: the compiler aborts it and reports the failure.
class FailingSink : public tarn::IMofSink {
  public:
    void begin() override { log += "begin;"; }
    void nameSpace(const VELString& ns) override { log += "ns " + ns.str() + ";"; }
    void qualifierDecl(const VELSmrPtr<tarn::IQualifierDef>& q) override {
        log += "qualifier " + q->getName().str() + ";";
    }
    void classDecl(const VELSmrPtr<CVelaClass>& c) override {
        log += "class " + c->getName().str() + ";";
        if (c->getName() == "B") {
            throw VelaBaseException("IOError", "FailingSink", "classDecl", "disk full", 1);
        }
    }
    void instance(const VELSmrPtr<IVelaObject>&) override { log += "instance;"; }
    void commit() override { log += "commit;"; }
    void abort() noexcept override { log += "abort;"; }
    std::string log;
};

TEST(MofErrors, ASinkFailureAbortsTheSink) {
    tarn::MofCompiler compiler;
    compiler.compileText(
        "Qualifier Key : boolean = false, Scope(property);\n"
        "class A { [Key] string K; };\nclass B : A { };\ninstance of B { K = \"b\"; };\n");
    FailingSink sink;
    EXPECT_FALSE(compiler.commit(sink));
    EXPECT_EQ(sink.log, "begin;ns root/cimv2;qualifier Key;class A;class B;abort;");
    EXPECT_EQ(compiler.diagnostics().back().toString(),
              "error: writing the result failed, nothing was written: disk full");
}

TEST(MofErrors, NothingIsHandedOverAfterAnyError) {
    tarn::MofCompiler compiler;
    compiler.compileText(
        "Qualifier Key : boolean = false, Scope(property);\n"
        "class A { [Key] string K; };\nclass B : Nope { };\n");
    FailingSink sink;
    EXPECT_FALSE(compiler.commit(sink));
    EXPECT_EQ(sink.log, "");
    EXPECT_EQ(compiler.summary().errors, 1u);
    // Nothing can be added once the compilation is finished.
    EXPECT_FALSE(compiler.compileText("class C { };"));
}

}  // namespace
