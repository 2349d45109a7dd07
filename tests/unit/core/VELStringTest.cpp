#include <gtest/gtest.h>

#include <climits>

#include "vela/VELString.h"

namespace {

struct AtoiCase {
    const char* text;
    long long atol;
    int atoi;
};

TEST(VELString, AtoiAndAtolFollowCAndSaturate) {
    const AtoiCase cases[] = {
        {"", 0, 0},
        {"42", 42, 42},
        {"  -17xyz", -17, -17},
        {"+8", 8, 8},
        {"1.9", 1, 1},
        {"0.5", 0, 0},
        {"abc", 0, 0},
        {"- 5", 0, 0},
        {"2147483648", 2147483648LL, INT_MAX},
        {"-2147483649", -2147483649LL, INT_MIN},
        {"9223372036854775807", LLONG_MAX, INT_MAX},
        {"-9223372036854775808", LLONG_MIN, INT_MIN},
        {"99999999999999999999999", LLONG_MAX, INT_MAX},
        {"-99999999999999999999999", LLONG_MIN, INT_MIN},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(VELString(c.text).atol(), c.atol) << c.text;
        EXPECT_EQ(VELString(c.text).atoi(), c.atoi) << c.text;
    }
}

TEST(VELString, IsNumericAcceptsOnlySignedDigits) {
    for (const char* yes : {"0", "123", "-1", "+7", "0000"}) {
        EXPECT_TRUE(VELString(yes).isNumeric()) << yes;
    }
    for (const char* no : {"", "-", "+", " 1", "1 ", "1a", "1.0", "ten", "0x10"}) {
        EXPECT_FALSE(VELString(no).isNumeric()) << no;
    }
}

TEST(VELString, ComparisonsExactAndIgnoringCase) {
    VELString s("MethodCall");
    EXPECT_TRUE(s.equalsIgnoreCase("methodcall"));
    EXPECT_TRUE(s.equalsIgnoreCase("METHODCALL"));
    EXPECT_FALSE(s.equalsIgnoreCase("MethodCal"));
    EXPECT_FALSE(s.equals("methodcall"));
    EXPECT_EQ(VELString("a").compareTo("b"), -1);
    EXPECT_EQ(VELString("b").compareTo("a"), 1);
    EXPECT_EQ(VELString("ab").compareTo("ab"), 0);
    EXPECT_EQ(VELString("ab").compareTo("abc"), -1);
    EXPECT_EQ(VELString("ABC").compareToIgnoreCase("abd"), -1);
    EXPECT_EQ(VELString("abc").compareToIgnoreCase("ABC"), 0);
    EXPECT_TRUE(VELString("M-POST").beginsWith("M-"));
    EXPECT_FALSE(VELString("M").beginsWith("M-"));
    EXPECT_TRUE(VELString("text/xml; charset=utf-8").contains("charset=utf-8"));
    EXPECT_TRUE(VELString("CIM_ErrorX").beginsWithIgnoreCase("cim_error"));
    EXPECT_TRUE(VELString("trace.log").endsWith(".log"));
}

TEST(VELString, TrimCaseAndConcatenation) {
    EXPECT_EQ(VELString(" \t x y \r\n").trim(), VELString("x y"));
    EXPECT_EQ(VELString(" \t ").trim(), VELString(""));
    EXPECT_EQ(VELString("MiXeD1").toLower(), VELString("mixed1"));
    EXPECT_EQ(VELString("MiXeD1").toUpper(), VELString("MIXED1"));
    EXPECT_EQ("a" + VELString("b") + "c" + VELString::valueOf(-5), VELString("abc-5"));
    EXPECT_EQ(VELString("hello").substring(3), VELString("lo"));
    EXPECT_EQ(VELString("hello").substring(9), VELString(""));
}

}  // namespace
