// Matching: subscriptions read from a repository with the default schema,
// indications raised in namespaces, and what reaches each destination.
#include <gtest/gtest.h>

#include <condition_variable>

#include "HttpTestSupport.h"
#include "indication/IndicationService.h"
#include "repository/DefaultSchema.h"
#include "tarn/ProviderContext.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;

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
                   std::uint16_t state = 2) {
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
        s.addProperty("SubscriptionState", CVelaValue::makeUint16(state));
        repo.createInstance("interop", s);
    }
    bool deliver(const DeliveryQueues::Item& item) {
        std::lock_guard<std::mutex> lock(m);
        got.push_back(
            item.handler->getProperty("Name")->getValue()->getString().str() + ":" +
            item.indication->getProperty("IndicationIdentifier")->getValue()->getString().str());
        cv.notify_all();
        return true;
    }
    std::vector<std::string> await(std::size_t n) {
        std::unique_lock<std::mutex> lock(m);
        cv.wait_for(lock, 10s, [&] { return got.size() >= n; });
        std::sort(got.begin(), got.end());
        return got;
    }
    static VELSmrPtr<IVelaObject> indication(const char* cls, const char* id, int level) {
        auto i = makeVELSmrPtr<CVelaObject>(cls);
        i->addProperty("IndicationIdentifier", CVelaValue::makeString(id));
        auto source = makeVELSmrPtr<CVelaObject>("TARN_Service");
        source->addProperty("Priority", CVelaValue::makeUint32(static_cast<std::uint32_t>(level)));
        i->addProperty("SourceInstance", CVelaValue::makeObject(source));
        return i;
    }

    tarntest::TempDir dir;
    Repository repo{(dir.path() / "repository.db").string()};
    std::mutex m;
    std::condition_variable cv;
    std::vector<std::string> got;
};

TEST_F(IndicationServiceTest, EachSelectingSubscriptionGetsAnIndicationOnce) {
    subscribe("all", "SELECT * FROM CIM_Indication", "root/cimv2");
    subscribe("high", "SELECT * FROM CIM_InstCreation WHERE SourceInstance.Priority > 5",
              "root/cimv2");
    subscribe("isa", "SELECT * FROM CIM_InstIndication WHERE SourceInstance ISA CIM_Service",
              "root/cimv2");
    subscribe("interop", "SELECT * FROM CIM_InstCreation", "interop");
    subscribe("off", "SELECT * FROM CIM_InstCreation", "root/cimv2", 4);
    IndicationService service({}, *repo.catalog(), repo,
                              [this](const auto& item) { return deliver(item); });
    service.reload();
    EXPECT_EQ(service.activeSubscriptions(), 4u);
    EXPECT_TRUE(service.wants("root/cimv2", "CIM_InstDeletion"));
    EXPECT_FALSE(service.wants("root/other", "CIM_InstCreation"));

    // Paused, the queues hold every match, counted before any is delivered.
    service.pause();
    service.raise("root/cimv2", indication("CIM_InstCreation", "c9", 9));
    service.raise("root/cimv2", indication("CIM_InstDeletion", "d1", 1));
    service.raise("root/other", indication("CIM_InstCreation", "x", 9));
    // Raised by a provider, through its context.
    ProviderContext context;
    context.nameSpace = "interop";
    context.indications = &service;
    context.raiseIndication(indication("CIM_InstCreation", "i1", 1));
    EXPECT_EQ(service.counts().queued, 6u);
    service.resume();
    EXPECT_EQ(await(6), (std::vector<std::string>{"all:c9", "all:d1", "high:c9", "interop:i1",
                                                  "isa:c9", "isa:d1"}));
}

}  // namespace
}  // namespace tarn
