// Faults in MOF: each check with the place and text of its message, the
// recovery that goes on to find more, and the rule that a compilation with
// an error writes nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "MofTestSupport.h"
#include "vela/VelaBaseException.h"

namespace {

using moftest::compile;

// "line:column: message" lines as the compiler writes them for main.mof.
std::string errors(const std::string& lines) {
    std::string out;
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);) {
        const auto colon = line.find(": ");
        out += "main.mof:" + line.substr(0, colon) + ": error: " + line.substr(colon + 2) + "\n";
    }
    return out;
}

struct Case {
    std::string mof;
    const char* diagnostics;  // all of them, one per line, for errors()
};

// Each case fails with exactly its diagnostics, and nothing reaches the sink.
void expectDiagnostics(const std::vector<Case>& cases, const std::string& prefix = "") {
    for (const Case& c : cases) {
        std::shared_ptr<tarn::MofClassSetSink> sink;
        auto r = compile(prefix + c.mof, &sink);
        EXPECT_EQ(r.text(), errors(c.diagnostics)) << c.mof;
        EXPECT_FALSE(r.ok) << c.mof;
        EXPECT_EQ(sink->classSet()->classCount(), 0u) << c.mof;
        EXPECT_TRUE(sink->getInstances("root/cimv2").empty()) << c.mof;
    }
}

TEST(MofErrors, ClassChecks) {
    expectDiagnostics({
        {"class A { };\nclass B : Nowhere { };", "2:11: unknown superclass Nowhere of class B"},
        {"class A : C { };\nclass B : A { };\nclass C : B { };",
         "2:11: class B inherits from itself through A"},
        {"class A { };\nclass a { };", "2:7: class a is already declared at main.mof:1:7"},
        {"class A { string P; uint8 p; };",
         "1:27: property p is declared twice in class A (first at main.mof:1:18)"},
        {"class A { uint32 M(); uint32 M([In] string x); };",
         "1:30: method M is declared twice in class A (first at main.mof:1:18)"},
        {"class A { uint32 M(string x, uint8 X); };",
         "1:36: parameter X is declared twice in method A.M"},
        {"class E { };\n[Association]\nclass A : E { E REF r; };",
         "3:11: association A cannot be a subclass of E, which is not an association"},
        {"class E { };\nclass A { E REF r; };",
         "2:17: class A declares a reference but is not an association"},
        {"[Association]\nclass A { Missing REF r; };",
         "2:11: reference A.r names unknown class Missing"},
        {"class A { uint32 M(Missing REF r); };",
         "1:20: parameter r of method A.M names unknown class Missing"},
        {"class A { [EmbeddedInstance(\"Missing\")] string E; };",
         "1:48: EmbeddedInstance of property A.E names unknown class Missing"},
        {"class A { [EmbeddedInstance(\"Missing\")] string M(); };",
         "1:48: EmbeddedInstance of method A.M names unknown class Missing"},
        {"class A { };\nclass B : A { [Override(\"P\")] string P; };",
         "2:38: property B.P overrides nothing: no superclass of B has a property P"},
        {"class A { string P; string Q; };\nclass B : A { [Override(\"Q\")] string P; };",
         "2:38: property B.P has Override(\"Q\"), which names another property"},
        {"class A { };\nclass B : A { [Override(\"M\")] uint32 M(); };",
         "2:38: method B.M overrides nothing: no superclass of B has a method M"},
        {"class A { string P; };\nclass B : A { [Override(\"P\")] uint8 P; };",
         "2:7: class B: property B.P overrides a string property with a uint8"},
        {"class A { [Key] string P; };\nclass B : A { [Override(\"P\"), Key(false)] string P; };",
         "2:7: class B: qualifier Key of property B.P cannot be overridden: it is DisableOverride "
         "in A"},
        {"class A { uint8 P[2] = {1, 2, 3}; };",
         "1:24: default value of property A.P has 3 elements, more than the array size 2"},
    });
}

TEST(MofErrors, QualifierChecks) {
    expectDiagnostics({
        {"class A { [Key, Colour(\"red\")] string P; };",
         "1:17: unknown qualifier Colour on property A.P"},
        {"class A { [Max(1)] string P; };",
         "1:12: qualifier Max cannot be used on a property (property A.P); its scope is reference"},
        {"class A { [Key] uint32 M(); };",
         "1:12: qualifier Key cannot be used on a method (method A.M); its scope is property, "
         "reference"},
        {"class A { uint32 M([Key] string x); };",
         "1:21: qualifier Key cannot be used on a parameter (parameter x of method A.M); its scope "
         "is property, reference"},
        {"[Key]\nclass A { };",
         "1:2: qualifier Key cannot be used on a class (class A); its scope is property, "
         "reference"},
        // Decided once the superclass is known.
        {"[Association] class L { };\n[Indication] class N : L { };",
         "2:2: qualifier Indication cannot be used on an association (class N); its scope is "
         "class, indication"},
        {"class A { [MaxLen(\"long\")] string P; };",
         "1:19: value of qualifier MaxLen on property A.P: expected a uint32 value, found string "
         "\"long\""},
        {"class A { [ValueMap {\"1\", 2}] uint8 P; };",
         "1:27: value of qualifier ValueMap on property A.P: expected a string value, found number "
         "2"},
        {"[Description(\"a\"), description(\"b\")]\nclass A { };",
         "1:20: qualifier description is given twice on class A"},
        {"[Description(\"a\") : ToSubclass Restricted]\nclass A { };",
         "1:2: qualifier Description on class A: ToSubclass and Restricted contradict each other"},
        {"Qualifier Key : boolean = false, Scope(property);\n"
         "Qualifier KEY : boolean = true, Scope(property);",
         "2:11: qualifier KEY is declared again, differently (first at main.mof:1:11)"},
        {"Qualifier Size : uint8 = 256, Scope(property);",
         "1:26: default value of qualifier Size: number 256 is out of range for uint8"},
    });
}

TEST(MofErrors, DefaultValueTypeMismatches) {
    const std::pair<const char*, const char*> cases[] = {
        {"uint16 P = -1", "number -1 is negative, but uint16 is unsigned"},
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
    };
    for (const auto& [declaration, message] : cases) {
        // Reported at the value, after "= ".
        const std::string at = "2:" + std::to_string(std::string(declaration).find("= ") + 5);
        EXPECT_EQ(compile(std::string("class A {\n  ") + declaration + ";\n};\n").text(),
                  errors(at + ": default value of property A.P: " + message));
    }
}

TEST(MofErrors, InstanceChecks) {
    const char* const classes =
        "class A { [Key] string K; uint8 N; };\n"
        "[Abstract] class Z { [Key] string K; };\n"
        "[Association] class L { [Key] A REF X; [Key] A REF Y; };\n";
    expectDiagnostics(
        {
            {"instance of Nope { K = \"x\"; };", "4:13: instance of unknown class Nope"},
            {"instance of A { N = 1; };", "4:13: instance of A leaves key property K unset"},
            {"instance of A { K = null; };", "4:13: instance of A leaves key property K unset"},
            {"instance of A { K = \"x\"; Colour = 1; };", "4:26: class A has no property Colour"},
            {"instance of A { K = \"x\"; k = \"y\"; };",
             "4:26: property k is given twice in this instance (first at main.mof:4:17)"},
            {"instance of A { K = \"x\"; N = 300; };",
             "4:30: property N of instance of A: number 300 is out of range for uint8"},
            {"instance of Z { K = \"x\"; };", "4:13: instance of abstract class Z"},
            {"instance of L { X = $Nobody; Y = $Nobody; };",
             "4:21: property X of instance of L: unknown alias $Nobody\n"
             "4:34: property Y of instance of L: unknown alias $Nobody"},
            {"instance of A as $a { K = \"1\"; };\ninstance of A as $a { K = \"2\"; };",
             "5:18: alias $a is already used at main.mof:4:18"},
            {"instance of L as $l { X = \"A.K=\\\"1\\\"\"; Y = \"A.K=\\\"2\\\"\"; };\n"
             "instance of L { X = $l; Y = \"A.K=\\\"2\\\"\"; };",
             "5:21: property X of instance of L: alias $l is an instance of L, which is not a A"},
            {"instance of L { X = \"Q.K=\\\"1\\\"\"; Y = \"A.K=\\\"2\\\"\"; };",
             "4:21: property X of instance of L: reference to unknown class Q"},
            {"instance of L { X = \"L.X=\\\"1\\\"\"; Y = \"A.K=\\\"2\\\"\"; };",
             "4:21: property X of instance of L: the reference names class L, which is not a A"},
            {"instance of L { X = \"A.K=\"; Y = \"A.K=\\\"2\\\"\"; };",
             "4:21: property X of instance of L: 'A.K=' is not a valid object path: a key value "
             "must be quoted, a number or TRUE/FALSE"},
            {"instance of L { X = \"A\"; Y = \"A.K=\\\"2\\\"\"; };",
             "4:21: property X of instance of L: the reference lacks key K of A"},
            {"instance of L as $p { X = $q; Y = \"A.K=\\\"2\\\"\"; };\n"
             "instance of L as $q { X = $p; Y = \"A.K=\\\"2\\\"\"; };",
             "4:13: the keys of this instance of L refer to the instance itself through aliases"},
            {"instance of A { K = \"x\"; };\ninstance of A { K = \"x\"; N = 2; };",
             "5:13: instance root/cimv2:A.k=\"x\" is already declared at main.mof:4:13"},
        },
        classes);
}

TEST(MofErrors, SyntaxErrorsAreReportedAndParsingGoesOn) {
    expectDiagnostics({
        {"class A {\n  string P\n  uint8 Q;\n};\nclass B {\n  strin R;\n};",
         "3:3: expected ';' after the property declaration, found 'uint8'\n"
         "6:3: 'strin' is not a data type, and no 'REF' follows it"},
        {"class A { };\n42;\nclass B : { };\nclass C { string X = ; };",
         "2:1: expected 'class', 'instance', 'qualifier' or '#pragma', found number 42\n"
         "3:11: expected a superclass name, found '{'\n"
         "4:22: expected a value, found ';'"},
        {"class A {\n  [Description(\"x\"] string P;\n  uint8 Q = 1;\n  string R = 2;\n};",
         "2:19: expected ')' after the qualifier value, found ']'\n"
         "4:14: default value of property A.R: expected a string value, found number 2"},
        {"class A {\n  string P;\n",
         "3:1: expected '}' to close the class body of A, found end of file"},
        {"class A { [ValueMap {{\"1\"}}] string P; };", "1:22: arrays cannot be nested"},
        {"class A {\n  string P = \"a\\qb\";\n  uint8 Q = 09;\n  uint8 @ R;\n};",
         "2:16: unknown escape sequence '\\q'\n"
         "3:13: malformed octal number '09'\n"
         "4:9: unexpected '@'"},
        {"[Association] class A { A REF R[]; };", "1:32: a reference property cannot be an array"},
        {"[Key] Qualifier X : boolean, Scope(any);",
         "1:7: expected 'class' or 'instance' after the qualifier list, found 'Qualifier'"},
        {"class A { uint8 P[0]; };",
         "1:19: the size of a fixed array must be between 1 and 1048576"},
        {"#pragma include (\"a.mof\", \"b.mof\")\n#pragma namespace (\"/\")\n"
         "#pragma include \"x.mof\"",
         "1:17: #pragma include takes one string: the file to include\n"
         "2:19: #pragma namespace names no namespace\n"
         "3:17: expected '(' after the pragma name, found string \"x.mof\""},
    });
}

TEST(MofErrors, ManyFaultsAreAllReportedUpToTheLimit) {
    std::string mof;
    for (int i = 0; i < 10; ++i) {
        mof += "class C" + std::to_string(i) + " : Missing { };\n";
    }
    const std::string all = compile(mof).text();
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 10) << all;

    tarn::MofOptions options;
    options.limits.maxErrors = 3;
    EXPECT_EQ(compile(mof, nullptr, options).text(),
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

TEST(MofErrors, IncludesAreBoundedInDepthAndTotalSize) {
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
    EXPECT_NE(
        r.diagnostics.at(0).toString().find("the compilation would read more than 1048576 bytes"),
        std::string::npos)
        << r.text();
    EXPECT_LE(r.summary.bytes, std::size_t(1) << 20);
}

TEST(MofErrors, SizeLimitsBoundWhatACompilationHolds) {
    struct LimitCase {
        void (*set)(tarn::MofLimits&);
        std::string mof;
        const char* diagnostics;
    };
    std::string manyProperties = "class A {\n";
    for (int i = 0; i < 10; ++i) {
        manyProperties += "  uint8 P" + std::to_string(i) + ";\n";
    }
    manyProperties += "};\n";
    std::string pieces;
    for (int i = 0; i < 30; ++i) {
        pieces += "\"" + std::string(50, 'y') + "\" ";
    }
    // Inheritance deeper than the limit; the chain is walked without recursion.
    std::string deep = "class K0 { };\n";
    for (int i = 1; i < 5000; ++i) {
        deep += "class K" + std::to_string(i) + " : K" + std::to_string(i - 1) + " { };\n";
    }
    auto literals = [](tarn::MofLimits& l) { l.maxLiteralBytes = 1000; };
    auto none = [](tarn::MofLimits&) {};
    const LimitCase cases[] = {
        {literals, "class A { string P = \"" + std::string(1001, 'x') + "\"; };",
         "1:22: string literal longer than 1000 bytes"},
        {literals, "class A { string P = " + pieces + "; };",
         "1:22: string literal longer than 1000 bytes"},
        {[](tarn::MofLimits& l) { l.maxArrayElements = 10; },
         "class A { uint8 P[] = {1,2,3,4,5,6,7,8,9,10,11}; };",
         "1:45: array with more than 10 elements"},
        {none, "#pragma odd (" + std::string(100, '(') + std::string(100, ')') + ")\n",
         "1:79: brackets nested too deeply"},
        {none, deep, "66:13: class K65 has more than 64 superclasses"},
        {[](tarn::MofLimits& l) { l.maxQualifiers = 2; },
         "[Description(\"a\"), Version(\"1\"), Abstract]\nclass A { };",
         "1:34: more than 2 qualifiers on one element"},
        {[](tarn::MofLimits& l) { l.maxFeatures = 8; }, manyProperties,
         "10:3: class A has more than 8 properties and methods"},
        {[](tarn::MofLimits& l) { l.maxFeatures = 1; },
         "class A { [Key] string K; };\ninstance of A { K = \"x\"; K = \"y\"; };",
         "2:26: an instance with more than 1 values"},
        {[](tarn::MofLimits& l) { l.maxParameters = 1; },
         "class A { uint32 M(string a, string b); };", "1:30: method M has more than 1 parameters"},
        {[](tarn::MofLimits& l) { l.maxSyntaxNodes = 8; }, manyProperties,
         "9:3: the MOF holds more than 8 declarations, features, qualifiers and values; "
         "compilation stopped"},
        {[](tarn::MofLimits& l) { l.maxSchemaSize = 30; },
         manyProperties + "class B : A { };\nclass C : B { };",
         "14:7: the classes hold more than 30 properties, methods, parameters and qualifiers in "
         "all, inherited ones counted in each class; compilation stopped"},
    };
    for (const auto& c : cases) {
        tarn::MofOptions options;
        c.set(options.limits);
        auto r = compile(c.mof, nullptr, options);
        EXPECT_EQ(r.text(), errors(c.diagnostics)) << c.mof.substr(0, 80);
        EXPECT_FALSE(r.ok);
    }
}

TEST(MofErrors, FilesThatCannotBeReadAreReported) {
    const std::pair<const char*, const char*> cases[] = {
        {"/nonexistent/dir/x.mof", "error: cannot read /nonexistent/dir/x.mof: no such file"},
        {"/", "error: cannot read /: not a regular file"},
        {nullptr, "dev.mof:1:17: error: cannot read include file /dev/zero: not a regular file"},
    };
    for (const auto& [file, message] : cases) {
        tarn::MofCompiler compiler;
        EXPECT_FALSE(file ? compiler.compileFile(file)
                          : compiler.compileText("#pragma include (\"/dev/zero\")\n", "dev.mof"));
        EXPECT_EQ(compiler.diagnostics().at(0).toString(), message);
    }
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

TEST(MofErrors, ASinkFailureAbortsTheSinkAndNothingIsHandedOverAfterAnError) {
    const char* const qualifier = "Qualifier Key : boolean = false, Scope(property);\n";
    tarn::MofCompiler compiler;
    compiler.compileText(
        std::string(qualifier) +
        "class A { [Key] string K; };\nclass B : A { };\ninstance of B { K = \"b\"; };\n");
    FailingSink sink;
    EXPECT_FALSE(compiler.commit(sink));
    EXPECT_EQ(sink.log, "begin;ns root/cimv2;qualifier Key;class A;class B;abort;");
    EXPECT_EQ(compiler.diagnostics().back().toString(),
              "error: writing the result failed, nothing was written: disk full");

    tarn::MofCompiler faulty;
    faulty.compileText(std::string(qualifier) +
                       "class A { [Key] string K; };\nclass B : Nope { };\n");
    FailingSink untouched;
    EXPECT_FALSE(faulty.commit(untouched));
    EXPECT_EQ(untouched.log, "");
    EXPECT_EQ(faulty.summary().errors, 1u);
    // Nothing can be added once the compilation is finished.
    EXPECT_FALSE(faulty.compileText("class C { };"));
}

}  // namespace
