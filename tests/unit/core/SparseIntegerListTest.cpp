#include <gtest/gtest.h>

#include <vector>

#include "vela/SparseIntegerList.h"
#include "vela/VelaBaseException.h"

namespace {

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

TEST(SparseIntegerList, AddAppendsAndContainsBothEndsOfARange) {
    SparseIntegerList l;
    l.parse("10-12");
    l.parse("1");
    EXPECT_EQ(values(l), (std::vector<std::uint32_t>{10, 11, 12, 1}));
    for (std::uint32_t in : {1u, 10u, 11u, 12u}) {
        EXPECT_TRUE(l.contains(in)) << in;
    }
    for (std::uint32_t out : {0u, 2u, 9u, 13u}) {
        EXPECT_FALSE(l.contains(out)) << out;
    }
}

}  // namespace
