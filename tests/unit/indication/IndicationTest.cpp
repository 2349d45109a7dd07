// The indication service: the per-destination queues on real threads (order,
// isolation of a stuck destination, the wait after a failure, pause and
// overflow), and matching of subscriptions read from a repository with the
// default schema.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <latch>

#include "HttpTestSupport.h"
#include "indication/DeliveryQueues.h"
#include "indication/IndicationService.h"
#include "repository/DefaultSchema.h"
#include "tarn/ProviderContext.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

// Records what each destination received; deliveries to "stuck" wait until
// released (bounded).
class Recorder {
  public:
    bool record(const std::string& destination, const std::string& what) {
        std::unique_lock<std::mutex> lock(_m);
        if (destination == "stuck") {
            _cv.wait_for(lock, 10s, [&] { return _released; });
        }
        _got[destination].push_back(what);
        _cv.notify_all();
        return true;
    }
    // The number of a DeliveryQueues item, under its namespace.
    bool deliver(const DeliveryQueues::Item& item) {
        return record(item.nameSpace.str(),
                      item.indication->getProperty("N")->getValue()->toString().str());
    }
    void release() {
        std::lock_guard<std::mutex> lock(_m);
        _released = true;
        _cv.notify_all();
    }
    // What the destination received once it has n, or after 10 s.
    std::vector<std::string> await(const std::string& destination, std::size_t n) {
        std::unique_lock<std::mutex> lock(_m);
        _cv.wait_for(lock, 10s, [&] { return _got[destination].size() >= n; });
        return _got[destination];
    }

  private:
    std::mutex _m;
    std::condition_variable _cv;
    bool _released = false;
    std::map<std::string, std::vector<std::string>> _got;
};

DeliveryQueues::Item item(const char* destination, int n) {
    auto i = makeVELSmrPtr<CVelaObject>("CIM_InstCreation");
    i->addProperty("N", CVelaValue::makeUint32(static_cast<std::uint32_t>(n)));
    // The namespace stands for the destination in these tests.
    return {destination, i, nullptr, nullptr};
}

std::vector<std::string> range(int from, int to) {
    std::vector<std::string> v;
    for (int n = from; n < to; ++n) {
        v.push_back(std::to_string(n));
    }
    return v;
}

TEST(DeliveryQueues, AStuckDestinationDelaysNoOtherAndEachKeepsItsOrder) {
    Recorder r;
    DeliveryQueues queues(2, 1000, [&](const auto& i) { return r.deliver(i); });
    for (int n = 0; n < 200; ++n) {
        for (const char* d : {"stuck", "a", "b"}) {
            queues.push(d, item(d, n));
        }
    }
    // With two threads, one held by the stuck destination, the other serves both.
    EXPECT_EQ(r.await("a", 200), range(0, 200));
    EXPECT_EQ(r.await("b", 200), range(0, 200));
    r.release();
    EXPECT_EQ(r.await("stuck", 200), range(0, 200));
    // Counted once the delivery has returned: after the pool has finished.
    EXPECT_TRUE(queues.stop(5s));
    EXPECT_EQ(queues.counts().delivered, 600u);
}

TEST(DeliveryQueues, AFailedDeliveryGivesBackTheThreadAndItsDestinationWaits) {
    Recorder r;
    std::atomic<int> attempts{0};
    DeliveryQueues queues(1, 1000, [&](const DeliveryQueues::Item& i) {
        if (i.nameSpace.view() == "dead") {
            ++attempts;
            return false;
        }
        return r.deliver(i);
    });
    for (const char* d : {"dead", "a"}) {
        for (int n = 0; n < 3; ++n) {
            queues.push(d, item(d, n));
        }
    }
    // The only thread tried the dead destination once, then served the other.
    EXPECT_EQ(r.await("a", 3), range(0, 3));
    EXPECT_EQ(attempts.load(), 1);
    EXPECT_EQ(queues.counts().failed, 1u);
    EXPECT_EQ(queues.counts().queued, 2u);
    EXPECT_TRUE(queues.stop(5s));
}

TEST(DeliveryQueues, WhilePausedTheyQueueAFullQueueDropsItsOldestAndStoppingDropsAll) {
    Recorder r;
    DeliveryQueues queues(2, 3, [&](const auto& i) { return r.deliver(i); });
    queues.pause();
    for (int n = 0; n < 5; ++n) {
        queues.push("a", item("a", n));
    }
    EXPECT_EQ(queues.counts().queued, 3u);
    EXPECT_EQ(queues.counts().dropped, 2u);
    EXPECT_EQ(queues.counts().delivered, 0u);
    queues.resume();
    EXPECT_EQ(r.await("a", 3), range(2, 5));
    // Stopped while paused: what is queued goes, and nothing more is taken.
    queues.pause();
    queues.push("a", item("a", 5));
    EXPECT_TRUE(queues.stop(5s));
    queues.push("a", item("a", 6));
    EXPECT_EQ(queues.counts().queued, 0u);
    EXPECT_EQ(r.await("a", 3), range(2, 5));
}

std::vector<std::string> destinationsOf(const DeliveryQueues& queues) {
    std::vector<std::string> out;
    for (const auto& [destination, counts] : queues.countsByDestination()) {
        out.push_back(destination.str());
    }
    return out;
}

TEST(DeliveryQueues, ADestinationLeftOutLosesItsQueueIdleWaitingOrDelivering) {
    Recorder r;
    std::latch tried(2);
    DeliveryQueues queues(2, 1000, [&](const DeliveryQueues::Item& i) {
        const bool dead = i.nameSpace.view() == "dead";
        if (dead || i.nameSpace.view() == "stuck") {
            tried.count_down();
        }
        return !dead && r.deliver(i);
    });
    queues.push("dead", item("dead", 0));  // fails, then waits for its retry
    queues.push("stuck", item("stuck", 0));
    tried.wait();
    queues.pause();
    for (const char* d : {"a", "b"}) {
        queues.push(d, item(d, 1));
    }
    queues.keepOnly({"a"});
    EXPECT_EQ(queues.counts().queued, 1u);
    queues.push("b", item("b", 2));  // used again: a new queue
    queues.resume();
    r.release();
    EXPECT_EQ(r.await("b", 1), range(2, 3));
    EXPECT_EQ(r.await("a", 1), range(1, 2));
    // Once the delivery under way has ended, only the destinations in use remain.
    EXPECT_TRUE(queues.stop(5s));
    EXPECT_EQ(destinationsOf(queues), (std::vector<std::string>{"a", "b"}));
}

class IndicationServiceTest : public ::testing::Test {
  protected:
    IndicationServiceTest() { DefaultSchema::ensure(repo, TARN_SOURCE_DIR "/schema"); }

    VELSmrPtr<IVelaInstanceName> make(
        const char* cls, const char* name,
        std::vector<std::pair<const char*, VELSmrPtr<IVelaValue>>> more) {
        CVelaObject o(cls);
        o.addProperty("SystemCreationClassName", CVelaValue::makeString("CIM_ComputerSystem"));
        o.addProperty("SystemName", CVelaValue::makeString("host"));
        o.addProperty("CreationClassName", CVelaValue::makeString(cls));
        o.addProperty("Name", CVelaValue::makeString(name));
        for (auto& [k, v] : more) {
            o.addProperty(k, v);
        }
        return repo.createInstance("interop", o);
    }
    // A destination named name with a subscription to a filter of this query
    // over these source namespaces.
    void subscribe(const char* name, const char* query, const char* sources,
                   std::vector<std::pair<const char*, VELSmrPtr<IVelaValue>>> more = {}) {
        auto filter = make("CIM_IndicationFilter", name,
                           {{"Query", CVelaValue::makeString(query)},
                            {"QueryLanguage", CVelaValue::makeString("WQL")},
                            {"SourceNamespace", CVelaValue::makeString(sources)}});
        auto destination =
            make("CIM_ListenerDestinationCIMXML", name,
                 {{"Destination", CVelaValue::makeString(std::string("http://") + name)}});
        CVelaObject s("CIM_IndicationSubscription");
        s.addProperty("Filter", CVelaValue::makeReference(filter));
        s.addProperty("Handler", CVelaValue::makeReference(destination));
        s.addProperty("SubscriptionState", CVelaValue::makeUint16(2));
        for (auto& [k, v] : more) {
            s.addProperty(k, v);
        }
        repo.createInstance("interop", s);
    }
    static VELSmrPtr<IVelaObject> indication(const char* cls, const char* id) {
        auto i = makeVELSmrPtr<CVelaObject>(cls);
        i->addProperty("IndicationIdentifier", CVelaValue::makeString(id));
        return i;
    }

    tarntest::TempDir dir;
    Repository repo{(dir.path() / "repository.db").string()};
    Recorder recorder;
};

TEST_F(IndicationServiceTest, EachSelectingSubscriptionGetsAnIndicationOnce) {
    // Conditions, ISA and disabled subscriptions are test_indications.py's
    // (tests/pywbem); here the source namespaces and a provider's indications.
    subscribe("all", "SELECT * FROM CIM_Indication", "root/cimv2");
    subscribe("creations", "SELECT * FROM CIM_InstCreation", "root/cimv2");
    subscribe("interop", "SELECT * FROM CIM_InstCreation", "interop");
    // SubscriptionDuration counts from SubscriptionStartTime (here 60 minutes east of UTC).
    auto lasting = [](const char* start, std::uint64_t seconds) {
        return std::vector<std::pair<const char*, VELSmrPtr<IVelaValue>>>{
            {"SubscriptionStartTime", CVelaValue::makeDateTime(start)},
            {"SubscriptionDuration", CVelaValue::makeUint64(seconds)}};
    };
    subscribe("ended", "SELECT * FROM CIM_Indication", "root/cimv2",
              lasting("20260101000000.000000+060", 3600));
    subscribe("lasts", "SELECT * FROM CIM_Indication", "root/cimv2",
              lasting("20260101000000.000000+060", 100ull * 365 * 24 * 3600));
    IndicationService service({}, *repo.catalog(), repo, [this](const auto& item) {
        return recorder.record(
            "any",
            item.handler->getProperty("Name")->getValue()->toString().str() + ":" +
                item.indication->getProperty("IndicationIdentifier")->getValue()->toString().str());
    });
    service.reload();
    EXPECT_EQ(service.activeSubscriptions(), 4u);
    EXPECT_TRUE(service.wants("root/cimv2", "CIM_InstDeletion"));
    EXPECT_FALSE(service.wants("root/other", "CIM_InstCreation"));

    // Paused, the queues hold every match, counted before any is delivered.
    service.pause();
    service.raise("root/cimv2", indication("CIM_InstCreation", "c9"));
    service.raise("root/cimv2", indication("CIM_InstDeletion", "d1"));
    service.raise("root/other", indication("CIM_InstCreation", "x"));
    // Raised by a provider, through its context.
    ProviderContext context;
    context.nameSpace = "interop";
    context.indications = &service;
    context.raiseIndication(indication("CIM_InstCreation", "i1"));
    EXPECT_EQ(service.counts().queued, 6u);
    service.resume();
    auto got = recorder.await("any", 6);
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, (std::vector<std::string>{"all:c9", "all:d1", "creations:c9", "interop:i1",
                                             "lasts:c9", "lasts:d1"}));
}

}  // namespace
}  // namespace tarn
