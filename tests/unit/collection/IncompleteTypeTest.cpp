// The templates must build for model types that are only declared, as the
// operation code uses them through VELSmrPtr without their definitions.
#include <gtest/gtest.h>

#include "tarn/MultiResponseCollection.h"
#include "tarn/MultiResponseWriter.h"

class OpaqueModelObject;  // deliberately never defined

template class tarn::MultiResponseCollection<VELSmrPtr<OpaqueModelObject>>;
template class tarn::MultiResponseWriter<VELSmrPtr<OpaqueModelObject>>;

namespace {

TEST(MultiResponseCollection, CarriesPointersToIncompleteTypes) {
    using Collection = tarn::MultiResponseCollection<VELSmrPtr<OpaqueModelObject>>;
    auto c = makeVELSmrPtr<Collection>(2u);
    {
        tarn::MultiResponseWriter<VELSmrPtr<OpaqueModelObject>> w(c);
        c->allowComplete();
        EXPECT_TRUE(w.add(VELSmrPtr<OpaqueModelObject>(), true));
    }
    ASSERT_TRUE(c->hasNext());
    EXPECT_TRUE(c->next().isNull());
    EXPECT_FALSE(c->hasNext());
}

}  // namespace
