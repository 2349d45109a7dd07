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

TEST(VELSmrPtr, SharesOwnershipAndCastsChecked) {
    VELSmrPtr<Base> b(new Derived);
    VELSmrPtr<Base> copy = b;
    EXPECT_EQ(b.useCount(), 2);
    EXPECT_FALSE(b.dynamicCast<Derived>().isNull());
    EXPECT_TRUE(b.dynamicCast<Other>().isNull());
    EXPECT_NO_THROW(b.checkedCast<Derived>());
    EXPECT_THROW(b.checkedCast<Other>(), VelaBaseException);
    EXPECT_TRUE(VELSmrPtr<Base>().checkedCast<Other>().isNull());
    VELSmrPtr<Derived> d = makeVELSmrPtr<Derived>();
    VELSmrPtr<Base> up = d;
    EXPECT_TRUE(up == d);
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

TEST(VelaBaseException, TextFormUsedInLogs) {
    VelaBaseException e("InvalidData", "CIMXMLUtil", "StreamClassPath", "NameSpacePath missing", 1);
    EXPECT_EQ(e.getLocation(), VELString("CIMXMLUtil::StreamClassPath"));
    EXPECT_EQ(e.toString(),
              VELString("InvalidData Exception thrown in 'CIMXMLUtil::StreamClassPath': "
                        "NameSpacePath missing"));
    VelaBaseException f("", "MultiResponseCollection::next", "", "no more items.");
    EXPECT_EQ(f.getLocation(), VELString("MultiResponseCollection::next"));
    EXPECT_EQ(f.getCode(), 0);
}

}  // namespace
