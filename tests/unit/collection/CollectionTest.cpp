// Single-threaded behaviour of the result collection: exact error texts,
// control markers, the consumer giving up, and pointers to types that are
// only declared (as the operation code uses them).
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tarn/MultiResponseCollection.h"
#include "tarn/MultiResponseWriter.h"
#include "vela/CI_Time.h"

// Compiles only if the collection carries pointers to incomplete types.
class OpaqueModelObject;  // deliberately never defined

template class tarn::MultiResponseCollection<VELSmrPtr<OpaqueModelObject>>;
template class tarn::MultiResponseWriter<VELSmrPtr<OpaqueModelObject>>;

namespace {

using Collection = tarn::MultiResponseCollection<VELString>;
using Writer = tarn::MultiResponseWriter<VELString>;

// A control marker that records its name when the consumer reaches it.
class RecordingMarker : public tarn::IMarker<VELString> {
  public:
    RecordingMarker(std::vector<std::string>& log, std::string name)
        : _log(log), _name(std::move(name)) {}
    bool isMarker() const override { return true; }
    void process() override { _log.push_back(_name); }

  private:
    std::vector<std::string>& _log;
    std::string _name;
};

VELSmrPtr<tarn::IMarker<VELString>> marker(std::vector<std::string>& log, std::string name) {
    return makeVELSmrPtr<RecordingMarker>(log, std::move(name));
}

VELSmrPtr<Collection> unbounded() {
    return makeVELSmrPtr<Collection>(0u);
}

// Reads everything that hasNext/next hand out, logging items as "item:<text>".
void drain(Collection& c, std::vector<std::string>& log) {
    while (c.hasNext()) {
        log.push_back("item:" + c.next().str());
    }
}

TEST(MultiResponseCollection, MisuseIsRefusedWithTheFunctionAndItsReason) {
    const std::pair<void (*)(const VELSmrPtr<Collection>&), const char*> cases[] = {
        {[](auto& c) { c->allowComplete(), c->allowComplete(); },
         "MultiResponseCollection::allowComplete: allowComplete() may only be called once."},
        {[](auto& c) { c->allowComplete(), Writer(c); },
         "MultiResponseCollection::registerWriter: Writers may be registered only while "
         "collection is incomplete."},
        {[](auto& c) { c->allowComplete(), c->unregisterWriter(); },
         "MultiResponseCollection::unregisterWriter: Writers may be registered only while "
         "collection is incomplete."},
        {[](auto& c) {
             Writer w(c);
             w.add("only", true);
             EXPECT_EQ(c->next(), "only");
             c->next();
         },
         "MultiResponseCollection::next: no more items."},
    };
    for (const auto& [misuse, refusal] : cases) {
        auto c = unbounded();
        try {
            misuse(c);
            ADD_FAILURE() << "no exception: " << refusal;
        } catch (const VelaBaseException& e) {
            EXPECT_EQ(e.getWho() + ": " + e.getMessage(), refusal);
            EXPECT_EQ(e.getType() + e.getWhere(), "");
            EXPECT_EQ(e.getCode(), 0);
        }
    }
}

TEST(MultiResponseCollection, MarkersRunInQueueOrderAndAreNeverReturned) {
    for (std::uint32_t bounds : {0u, 8u}) {
        SCOPED_TRACE(bounds);
        auto c = makeVELSmrPtr<Collection>(bounds);
        std::vector<std::string> log;
        {
            Writer w(c);
            c->allowComplete();
            w.add(marker(log, "m1"), true);
            w.add(marker(log, "m2"), true);
            w.add("x", true);
            w.add(marker(log, "m3"), true);
            w.add("y", true);
            w.add(marker(log, "m4"), true);
        }
        drain(*c, log);
        EXPECT_EQ(log, (std::vector<std::string>{"m1", "m2", "item:x", "m3", "item:y", "m4"}));
        // Only items count as results: an error with markers alone is still reported.
        auto onlyMarkers = makeVELSmrPtr<Collection>(bounds);
        Writer w(onlyMarkers);
        w.add(marker(log, "m5"), true);
        w.setErrorCode(3);
        EXPECT_EQ(onlyMarkers->getErrorCode(), 3);
    }
}

TEST(MultiResponseCollection, ConsumerDoneProcessesMarkersDropsItemsAndRefusesMore) {
    struct Payload {};
    using PCollection = tarn::MultiResponseCollection<VELSmrPtr<Payload>>;
    using PWriter = tarn::MultiResponseWriter<VELSmrPtr<Payload>>;
    class CountingMarker : public tarn::IMarker<VELSmrPtr<Payload>> {
      public:
        explicit CountingMarker(int& n) : _n(n) {}
        bool isMarker() const override { return true; }
        void process() override { ++_n; }

      private:
        int& _n;
    };

    for (std::uint32_t bounds : {0u, 4u}) {
        SCOPED_TRACE(bounds);
        auto c = makeVELSmrPtr<PCollection>(bounds);
        int processed = 0;
        PWriter w(c);
        c->allowComplete();
        auto payload = makeVELSmrPtr<Payload>();
        std::weak_ptr<Payload> watch = payload.shared();
        EXPECT_TRUE(w.add(std::move(payload), true));
        EXPECT_TRUE(w.add(makeVELSmrPtr<CountingMarker>(processed), true));
        c->signalConsumerDone();
        EXPECT_EQ(processed, 1);
        EXPECT_TRUE(watch.expired());
        EXPECT_FALSE(w.add(makeVELSmrPtr<Payload>(), true));
        EXPECT_FALSE(w.add(makeVELSmrPtr<CountingMarker>(processed), true));
        EXPECT_EQ(processed, 1);
        w.Close();
        EXPECT_TRUE(c->isComplete());
        EXPECT_FALSE(c->hasNext());
    }
}

}  // namespace
