// The core value types: strings, integer lists, the checked pointer and list;
// the regular expression shared by threads.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>
#include <vector>

#include "tarn/VELRegExp.h"
#include "vela/SparseIntegerList.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"
#include "vela/VelaBaseException.h"

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
        {"abc", 0, 0},
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

std::vector<std::uint32_t> values(const SparseIntegerList& l) {
    return {l.begin(), l.end()};
}

TEST(SparseIntegerList, ExpandsRangesInListOrder) {
    struct Case {
        const char* text;
        std::vector<std::uint32_t> expected;
    } cases[] = {
        {"5000", {5000}},
        {"5000,5002-5004", {5000, 5002, 5003, 5004}},
        {" 7 , 3-4 ,1", {7, 3, 4, 1}},
        {"9-9", {9}},
        {"0", {0}},
        {"4294967294-4294967295", {4294967294u, 4294967295u}},
    };
    for (const auto& c : cases) {
        SparseIntegerList l;
        ASSERT_TRUE(l.add(c.text)) << c.text;
        EXPECT_EQ(values(l), c.expected) << c.text;
        EXPECT_EQ(l.entries(), c.expected.size());
        for (std::uint32_t v : c.expected) {
            EXPECT_TRUE(l.contains(v)) << c.text << " " << v;
        }
    }
    // Each parse appends; both ends of a range are in it, its neighbours not.
    SparseIntegerList l;
    l.parse("10-12");
    l.parse("1");
    EXPECT_EQ(values(l), (std::vector<std::uint32_t>{10, 11, 12, 1}));
    for (std::uint32_t out : {0u, 2u, 9u, 13u}) {
        EXPECT_FALSE(l.contains(out)) << out;
    }
}

TEST(SparseIntegerList, RejectsBadTextAndKeepsTheList) {
    for (const char* bad : {"", " ", "a", "5000,", ",5000", "10-5", "1--2", "-3", "1-", "1.5",
                            "4294967296", "5000;5001", "5 000"}) {
        SparseIntegerList l;
        l.add("1");
        VELString why;
        EXPECT_FALSE(l.add(bad, &why)) << bad;
        EXPECT_FALSE(why.isNull()) << bad;
        EXPECT_EQ(values(l), std::vector<std::uint32_t>{1}) << bad;
        EXPECT_THROW(l.parse(bad), VelaBaseException) << bad;
    }
}

struct Base {
    virtual ~Base() = default;
    int value = 7;
};

TEST(VELSmrPtr, NullDereferenceThrowsInsteadOfCrashing) {
    VELSmrPtr<Base> p;
    EXPECT_TRUE(p.isNull());
    try {
        (void)p->value;
        FAIL() << "no exception";
    } catch (const VelaBaseException& e) {
        EXPECT_EQ(e.getType(), VELString("NullPointer"));
    }
    EXPECT_THROW((void)*p, VelaBaseException);
}

TEST(VELValSlist, IndexedAccessIsChecked) {
    VELValSlist<int> l{1, 2, 3};
    l.append(4);
    EXPECT_EQ(l[3], 4);
    EXPECT_THROW(l.at(4), VelaBaseException);
    l.removeAt(0);
    EXPECT_EQ(l.first(), 2);
    EXPECT_THROW(VELValSlist<int>().first(), VelaBaseException);
}

// More threads than the expression keeps compiled copies for, at once.
TEST(VELRegExp, ThreadsMatchOneExpressionAtOnce) {
    const tarn::VELRegExp re("^[0-9]+\\.[0-9]+$");
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 12; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 400; ++i) {
                const bool whole = (i + t) % 2 == 0;
                wrong += re.match(whole ? "2.0" : "2.0.1") != whole;
            }
        });
    }
    for (auto& th : threads) {
        th.join();
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
