#include <gtest/gtest.h>

#include "vela/VELSmrPtr.h"
#include "vela/VELValSlist.h"
#include "vela/VelaBaseException.h"

namespace {

struct Base {
    virtual ~Base() = default;
    int value = 7;
};
struct Derived : Base {};
struct Other : Base {};

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
    EXPECT_EQ(l.entries(), 3u);
    EXPECT_TRUE(l.contains(2));
    EXPECT_FALSE(l.contains(4));
    l.append(4);
    EXPECT_EQ(l[3], 4);
    EXPECT_THROW(l.at(4), VelaBaseException);
    l.removeAt(0);
    EXPECT_EQ(l.first(), 2);
    EXPECT_THROW(VELValSlist<int>().first(), VelaBaseException);
}

}  // namespace
