#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "handler/OperationHandler.h"
#include "tarn/CClassSet.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/CloseEnumerationOperationBase.h"
#include "vela/OpenEnumerateInstancesOperationBase.h"
#include "vela/PullInstancesWithPathOperationBase.h"
#include "vela/TARNClientInfo.h"
#include "vela/VelaCreateInstanceOperationBase.h"
#include "vela/VelaEnumerateInstancesOperationBase.h"
#include "vela/VelaGetInstanceOperationBase.h"

namespace {

using namespace tarn;

const char* const NS = "root/test";

// The schema of the tests: Test_A and Test_Other.
class Catalog : public CClassSet {
  public:
    Catalog() {
        addClass(NS, makeVELSmrPtr<CVelaClass>("Test_A", ""));
        addClass(NS, makeVELSmrPtr<CVelaClass>("Test_Other", ""));
    }
};

VELSmrPtr<IVelaInstanceName> nameOf(const VELString& cls, int id) {
    auto n = makeVELSmrPtr<CVelaInstanceName>(
        cls, VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", NS)));
    n->addKeyBinding("Id", CVelaValue::makeUint32(static_cast<std::uint32_t>(id)));
    return n;
}

// Serves `count` instances per class (or endlessly with count < 0) and notes
// when its consumer stopped it.
class FakeProvider : public IInstanceProvider {
  public:
    VELSmrPtr<IVelaObject> getInstance(const ProviderContext&,
                                       const VELSmrPtr<IVelaInstanceName>& name) override {
        return makeVELSmrPtr<CVelaObject>(name->getClassName(), name);
    }
    void enumerateInstances(const ProviderContext&, const VELSmrPtr<IVelaClass>& cls,
                            IMultiResponse<VELSmrPtr<IVelaObject>>& out) override {
        for (int i = 0; count < 0 || i < count; ++i) {
            if (!out.add(makeVELSmrPtr<CVelaObject>(cls->getName(), nameOf(cls->getName(), i)),
                         true)) {
                stoppedEarly = true;
                return;
            }
        }
    }
    void enumerateInstanceNames(const ProviderContext&, const VELSmrPtr<IVelaClass>&,
                                IMultiResponse<VELSmrPtr<IVelaInstanceName>>&) override {}
    VELSmrPtr<IVelaInstanceName> createInstance(const ProviderContext&,
                                                const VELSmrPtr<IVelaObject>& inst) override {
        return nameOf(inst->getClassName(), 1);
    }
    void modifyInstance(const ProviderContext&, const VELSmrPtr<IVelaInstanceName>&,
                        const VELSmrPtr<IVelaObject>&,
                        const VELSmrPtr<VELValSlist<VELString>>&) override {}
    void deleteInstance(const ProviderContext&, const VELSmrPtr<IVelaInstanceName>&) override {}

    int count = 2;
    std::atomic<bool> stoppedEarly{false};
};

template <class Base>
class Op : public Base {
  public:
    Op() : Base(nullptr) {}
    void writeResponse(VELGenericHTTPOStream&) override {}
};

VELSmrPtr<TARNClientInfo> client(const char* user, std::initializer_list<VELString> roles) {
    auto list = makeVELSmrPtr<VELValSlist<VELString>>(roles);
    return makeVELSmrPtr<TARNClientInfo>("127.0.0.1", 5988, "127.0.0.1", 40000, false, true, user,
                                         list, nullptr, false);
}

class OperationHandlerTest : public ::testing::Test {
  protected:
    OperationHandlerTest()
        : pool(2, "test-pool"), handler(catalog, providers, pool, &enumerations) {
        providers.setDefaultInstanceProvider(repository);
    }
    ~OperationHandlerTest() override { pool.stop(std::chrono::seconds(10)); }

    template <class O>
    VELSmrPtr<O> make(const char* cls, std::initializer_list<VELString> roles = {"reader"}) {
        auto op = makeVELSmrPtr<O>();
        op->setNameSpace(NS);
        op->setClassName(cls);
        op->setClientInfo(client("alice", roles));
        return op;
    }

    // The number of instances the operation returns.
    template <class O>
    std::size_t drain(O& op) {
        op.allowComplete();
        std::size_t n = 0;
        for (; op.hasNext(); ++n) {
            op.next();
        }
        op.signalProcessCompletion();
        return n;
    }

    Catalog catalog;
    std::shared_ptr<FakeProvider> repository = std::make_shared<FakeProvider>();
    ProviderRegistry providers;
    WorkerPool pool;
    EnumerationRegistry enumerations{PullSettings{}};
    OperationHandler handler;
};

TEST_F(OperationHandlerTest, RolesDecideWhoMayReadAndWrite) {
    struct Case {
        std::initializer_list<VELString> roles;
        bool read;
        bool write;
    } cases[] = {
        {{"reader"}, true, false}, {{"Writer"}, true, true},           {{"admin"}, true, true},
        {{}, false, false},        {{"guest", "reader"}, true, false},
    };
    for (const auto& c : cases) {
        auto get = make<Op<VelaGetInstanceOperationBase>>("Test_A", c.roles);
        get->setName(nameOf("Test_A", 1));
        handler.processOperation(get);
        EXPECT_EQ(get->getErrorCode(), c.read ? 0 : 2);
        auto create = make<Op<VelaCreateInstanceOperationBase>>("Test_A", c.roles);
        create->setInstance(makeVELSmrPtr<CVelaObject>("Test_A"));
        handler.processOperation(create);
        EXPECT_EQ(create->getErrorCode(), c.write ? 0 : 2);
        if (!c.write) {
            EXPECT_TRUE(create->getErrorContext()->getMessage().contains("may not write"))
                << create->getErrorContext()->getMessage();
        }
    }
}

TEST_F(OperationHandlerTest, AConsumerThatGivesUpStopsAnEndlessProvider) {
    repository->count = -1;
    auto op = make<Op<VelaEnumerateInstancesOperationBase>>("Test_Other");
    handler.processOperation(op);
    op->allowComplete();
    for (int i = 0; i < 10; ++i) {
        ASSERT_TRUE(op->hasNext());
        op->next();
    }
    op->signalProcessCompletion();
    EXPECT_TRUE(pool.stop(std::chrono::seconds(20)));
    EXPECT_TRUE(repository->stoppedEarly.load());
}

TEST_F(OperationHandlerTest, AStoppedPoolAnswersShuttingDown) {
    ASSERT_TRUE(pool.stop(std::chrono::seconds(10)));
    auto op = make<Op<VelaEnumerateInstancesOperationBase>>("Test_A");
    handler.processOperation(op);
    EXPECT_EQ(op->getErrorCode(), 28);
}

}  // namespace

// Many enumerations opened, pulled and closed at once by several users, each
// with an endless producer: every batch is whole, the producers pause while
// their contexts are open and all stop once they are closed.
TEST_F(OperationHandlerTest, ManyOpenEnumerationsPauseTheirProducersAndStopAtClose) {
    repository->count = -1;  // endless: only back-pressure and close stop it
    constexpr int kUsers = 8;
    constexpr int kEach = 25;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    std::mutex m;
    std::vector<std::pair<std::string, VELString>> open;  // user, context
    for (int u = 0; u < kUsers; ++u) {
        threads.emplace_back([&, u] {
            std::string user = "user" + std::to_string(u);
            for (int i = 0; i < kEach; ++i) {
                auto op = make<Op<OpenEnumerateInstancesOperationBase>>("Test_Other");
                op->setClientInfo(client(user.c_str(), {"reader"}));
                op->setMaxObjectCount(3);
                handler.processOperation(op);
                const std::size_t first = drain(*op);
                auto pull = make<Op<PullInstancesWithPathOperationBase>>("");
                pull->setClientInfo(client(user.c_str(), {"reader"}));
                pull->setEnumerationContext(op->getEnumerationContext());
                pull->setMaxObjectCount(5);
                handler.processOperation(pull);
                const std::size_t second = drain(*pull);
                if (op->getErrorCode() != 0 || first != 3 || second != 5 ||
                    pull->getEndOfSequence() || pull->getEnumerationContext().isNull()) {
                    ++failures;
                }
                std::lock_guard<std::mutex> lock(m);
                open.emplace_back(user, pull->getEnumerationContext());
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(enumerations.openCount(), std::size_t{kUsers * kEach});
    EXPECT_EQ(enumerations.runningProducers(), std::size_t{kUsers * kEach});
    for (const auto& [user, context] : open) {
        auto close = make<Op<CloseEnumerationOperationBase>>("");
        close->setClientInfo(client(user.c_str(), {"reader"}));
        close->setEnumerationContext(context);
        handler.processOperation(close);
        EXPECT_EQ(close->getErrorCode(), 0) << context.str();
    }
    EXPECT_EQ(enumerations.openCount(), 0u);
    EXPECT_TRUE(enumerations.waitForProducers(std::chrono::seconds(30)));
}
