#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "handler/OperationHandler.h"
#include "tarn/CClassSet.h"
#include "tarn/CPropertyDef.h"
#include "tarn/CQualifier.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/CloseEnumerationOperationBase.h"
#include "vela/OpenEnumerateInstancesOperationBase.h"
#include "vela/PullInstancesWithPathOperationBase.h"
#include "vela/TARNClientInfo.h"
#include "vela/VelaAssociatorNamesOperationBase.h"
#include "vela/VelaCreateInstanceOperationBase.h"
#include "vela/VelaEnumerateInstancesOperationBase.h"
#include "vela/VelaGetInstanceOperationBase.h"

namespace {

using namespace tarn;

const char* const NS = "root/test";

// An association class with a reference to each of the classes.
VELSmrPtr<CVelaClass> association(const char* name, const char* super,
                                  std::initializer_list<std::pair<const char*, const char*>> refs) {
    auto cls = makeVELSmrPtr<CVelaClass>(name, super);
    cls->addQualifier(VELSmrPtr<IQualifier>(
        new CQualifier("Association", CVelaType::boolean, CVelaValue::makeBoolean(true), 0)));
    for (const auto& [role, refClass] : refs) {
        cls->addProperty(makeVELSmrPtr<CPropertyDef>(role, CVelaType::referenceTo(refClass)));
    }
    return cls;
}

// The schema of the tests: Test_A <- Test_B <- Test_C, and Test_Other;
// associations Test_Link (Test_B to Test_Other) <- Test_SubLink, and
// Test_OtherLink (Test_Other to Test_Other).
class Catalog : public CClassSet {
  public:
    Catalog() {
        addClass(NS, makeVELSmrPtr<CVelaClass>("Test_A", ""));
        addClass(NS, makeVELSmrPtr<CVelaClass>("Test_B", "Test_A"));
        addClass(NS, makeVELSmrPtr<CVelaClass>("Test_C", "Test_B"));
        addClass(NS, makeVELSmrPtr<CVelaClass>("Test_Other", ""));
        addClass(NS, association("Test_Link", "", {{"Left", "Test_B"}, {"Right", "Test_Other"}}));
        addClass(NS, association("Test_SubLink", "Test_Link", {}));
        addClass(NS, association("Test_OtherLink", "",
                                 {{"Left", "Test_Other"}, {"Right", "Test_Other"}}));
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

// Answers AssociatorNames with one name per call, recording the call.
class FakeAssociations : public IAssociationProvider {
  public:
    explicit FakeAssociations(const char* who) : who(who) {}
    void associators(const ProviderContext&, const Classes&, const VELSmrPtr<IVelaInstanceName>&,
                     const VELString&, const VELString&, const VELString&,
                     IMultiResponse<VELSmrPtr<IVelaObject>>&) override {}
    void associatorNames(const ProviderContext&, const Classes& classes,
                         const VELSmrPtr<IVelaInstanceName>& object, const VELString& resultClass,
                         const VELString& role, const VELString& resultRole,
                         IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override {
        std::lock_guard<std::mutex> lock(m);
        std::string line = who;
        for (const auto& c : classes) {
            line += " " + c->getName().str();
        }
        log.push_back(line + " of " + object->toString().str() + " " + resultClass.str() + "/" +
                      role.str() + "/" + resultRole.str());
        out.add(nameOf("Test_Other", static_cast<int>(log.size())), true);
    }
    void references(const ProviderContext&, const Classes&, const VELSmrPtr<IVelaInstanceName>&,
                    const VELString&, IMultiResponse<VELSmrPtr<IVelaObject>>&) override {}
    void referenceNames(const ProviderContext&, const Classes&, const VELSmrPtr<IVelaInstanceName>&,
                        const VELString&, IMultiResponse<VELSmrPtr<IVelaInstanceName>>&) override {}

    std::string who;
    std::mutex m;
    std::vector<std::string> log;
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
    OperationHandlerTest() : pool(2), handler(catalog, providers, pool, &enumerations) {
        providers.setDefaultInstanceProvider(repository);
        providers.setDefaultAssociationProvider(linksByDefault);
        providers.registerAssociationProvider(NS, "Test_SubLink", subLinks);
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

    template <class T, class O>
    std::vector<std::string> drain(O& op) {
        op.allowComplete();
        std::vector<std::string> out;
        while (op.hasNext()) {
            T item = op.next();
            if constexpr (std::is_same_v<T, VELSmrPtr<IVelaObject>>) {
                out.push_back(item->getPath()->toString().str());
            } else {
                out.push_back(item->toString().str());
            }
        }
        op.signalProcessCompletion();
        return out;
    }

    Catalog catalog;
    std::shared_ptr<FakeProvider> repository = std::make_shared<FakeProvider>();
    std::shared_ptr<FakeAssociations> linksByDefault =
        std::make_shared<FakeAssociations>("default");
    std::shared_ptr<FakeAssociations> subLinks = std::make_shared<FakeAssociations>("module");
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

TEST_F(OperationHandlerTest, EachAssociationClassThatCanLinkTheObjectAsksItsOwnProvider) {
    auto op = make<Op<VelaAssociatorNamesOperationBase>>("Test_C");
    op->setObjectName(nameOf("Test_C", 7));
    op->setRole("left");
    handler.processOperation(op);
    EXPECT_EQ(drain<VELSmrPtr<IVelaInstanceName>>(*op),
              (std::vector<std::string>{"root/test:Test_Other.id=1", "root/test:Test_Other.id=1"}));
    // Test_OtherLink cannot refer to a Test_C; the filters reach the providers as given.
    EXPECT_EQ(linksByDefault->log,
              std::vector<std::string>{"default Test_Link of root/test:Test_C.id=7 /left/"});
    EXPECT_EQ(subLinks->log,
              std::vector<std::string>{"module Test_SubLink of root/test:Test_C.id=7 /left/"});

    auto unknown = make<Op<VelaAssociatorNamesOperationBase>>("Test_Nope");
    unknown->setObjectName(nameOf("Test_Nope", 1));
    handler.processOperation(unknown);
    EXPECT_EQ(unknown->getErrorCode(), 4);
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
                auto first = drain<VELSmrPtr<IVelaObject>>(*op);
                auto pull = make<Op<PullInstancesWithPathOperationBase>>("");
                pull->setClientInfo(client(user.c_str(), {"reader"}));
                pull->setEnumerationContext(op->getEnumerationContext());
                pull->setMaxObjectCount(5);
                handler.processOperation(pull);
                auto second = drain<VELSmrPtr<IVelaObject>>(*pull);
                if (op->getErrorCode() != 0 || first.size() != 3 || second.size() != 5 ||
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
