// Instance operations of the repository: their CIM status codes, canonical
// keys and grouped writes.
#include <set>

#include "RepositoryTestSupport.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaProperty.h"

namespace repotest {
namespace {

using tarn::Repository;

class InstanceOperations : public RepositoryTest {
  protected:
    void SetUp() override {
        RepositoryTest::SetUp();
        repo->createInstance(kNs,
                             *instance("T_Level1", {{"Id", text("one")}, {"Count", text("1")}}));
        repo->createInstance(kNs, *multiKey("a", "5", "true"));
    }
    static VELSmrPtr<CVelaObject> multiKey(const char* n, const char* number, const char* flag) {
        return instance("T_MultiKey", {{"Name", text(n)},
                                       {"Number", text(number)},
                                       {"Flag", text(flag)},
                                       {"When", text("20240102030405.000000+060")}});
    }
    std::uint64_t count(const char* cls = "T_Base") { return repo->countInstances(kNs, cls, true); }
};

// A missing or existing instance, a property the class lacks and a value of
// another type reach the repository through pywbem too (test_instances.py);
// classes and namespaces the handler checks before, so they are here.
TEST_F(InstanceOperations, EachFaultGivesItsStatusCodeAndChangesNothing) {
    using Name = VELSmrPtr<CVelaInstanceName>;
    using Object = VELSmrPtr<CVelaObject>;
    auto one = name("T_Level1", {{"Id", text("one")}});
    auto get = [this](Name n, const char* ns = kNs) {
        return [=, this] { repo->getInstance(ns, *n); };
    };
    auto create = [this](Object o, const char* ns = kNs) {
        return [=, this] { repo->createInstance(ns, *o); };
    };
    auto modify = [this](Name n, Object o, VELSmrPtr<VELValSlist<VELString>> list = nullptr) {
        return [=, this] { repo->modifyInstance(kNs, n, *o, list); };
    };
    auto del = [this](Name n, const char* ns = kNs) {
        return [=, this] { repo->deleteInstance(ns, *n); };
    };
    auto level1 = [](const char* id, const char* property = nullptr, VELSmrPtr<IVelaValue> v = {}) {
        auto o = instance("T_Level1", {{"Id", text(id)}});
        if (property) {
            o->addProperty(property, v);
        }
        return o;
    };
    auto nothing = makeVELSmrPtr<VELValSlist<VELString>>();
    nothing->append("Nothing");
    struct Case {
        const char* what;
        int code;
        std::function<void()> op;
    };
    const Case cases[] = {
        {"get in an unknown namespace", 3, get(one, "root/none")},
        {"get of an unknown class", 5, get(name("T_Nowhere", {{"Id", text("one")}}))},
        {"get without a key", 4, get(name("T_Level1", {}))},
        {"get by a property that is no key", 4,
         get(name("T_Level1", {{"Id", text("one")}, {"Count", text("1")}}))},
        {"get with a key value of the wrong type", 4,
         get(name("T_MultiKey", {{"Name", text("a")},
                                 {"Number", text("five", "numeric")},
                                 {"Flag", text("true")},
                                 {"When", text("20240102030405.000000+060")}}))},
        {"create in an unknown namespace", 3, create(level1("x"), "root/none")},
        {"create of an unknown class", 5, create(instance("T_Nowhere", {{"Id", text("x")}}))},
        {"create of an abstract class", 4, create(instance("T_Base", {{"Id", text("x")}}))},
        {"create without a key", 4, create(instance("T_Level1", {{"Count", text("3")}}))},
        {"create with a null key", 4,
         create(instance("T_Level1", {{"Id", CVelaValue::makeNull(CVelaType::string)}}))},
        {"create with a number out of range", 13,
         create(level1("x", "Count", text("4294967296")))},
        {"create with a typed value of another type", 13,
         create(level1("x", "Count", CVelaValue::makeString("3")))},
        {"create with a property given twice", 4,
         create(instance("T_Level1", {{"Id", text("x")}, {"count", text("1")}, {"Count", text("2")}}))},
        {"modify of a missing instance", 6,
         modify(name("T_Level1", {{"Id", text("two")}}), instance("T_Level1", {{"Count", text("2")}}))},
        {"modify that changes a key", 4, modify(one, instance("T_Level1", {{"Id", text("other")}}))},
        {"modify of a property the class lacks", 4,
         modify(one, instance("T_Level1", {{"Ratio", text("1")}}))},
        {"modify with a property list naming a property the class lacks", 4,
         modify(one, instance("T_Level1", {}), nothing)},
        {"modify with a value of the wrong type", 13,
         modify(one, instance("T_Level1", {{"Count", text("-1")}}))},
        {"modify naming the instance by another class", 4,
         modify(one, instance("T_Level2", {{"Count", text("2")}}))},
        {"delete of an unknown class", 5, del(name("T_Nowhere", {{"Id", text("one")}}))},
        {"delete in an unknown namespace", 3, del(one, "root/none")},
        {"enumerate an unknown class", 5,
         [&] { repo->enumerateInstances(kNs, "T_Nowhere", true, [](auto&) { return true; }); }},
        {"enumerate names in an unknown namespace", 3,
         [&] {
             repo->enumerateInstanceNames("root/none", "T_Level1", true,
                                          [](auto&) { return true; });
         }},
        {"a namespace that exists", 11, [&] { repo->createNameSpace("ROOT/Test"); }},
        {"a namespace name with a doubled slash", 4, [&] { repo->createNameSpace("root//x"); }},
        {"a namespace name with a blank", 4, [&] { repo->createNameSpace("root/a b"); }},
    };
    for (const auto& c : cases) {
        std::string message;
        EXPECT_EQ(codeOf(c.op, &message), c.code) << c.what << ": " << message;
        EXPECT_FALSE(message.empty()) << c.what;
    }
    // None of the failed writes left anything behind.
    EXPECT_EQ(count(), 1u);
    auto kept = repo->getInstance(kNs, *one);
    EXPECT_EQ(valueText(*kept, "Count"), "1");
    EXPECT_EQ(repo->catalog()->getNameSpaces(), std::vector<VELString>({"root/test"}));
}

TEST_F(InstanceOperations, KeysMatchWhateverTheirOrderCaseAndForm) {
    // The instance made in SetUp from untyped text, found by typed values
    // with the keys in another order and other case.
    auto typed =
        name("t_multikey", {{"WHEN", CVelaValue::makeDateTime("20240102030405.000000+060")},
                            {"flag", CVelaValue::makeBoolean(true)},
                            {"number", CVelaValue::makeUint8(5)},
                            {"NAME", CVelaValue::makeString("a")}});
    auto found = repo->getInstance(kNs, *typed);
    EXPECT_EQ(
        found->getPath()->toString(),
        "root/test:T_MultiKey.flag=TRUE,name=\"a\",number=5,when=\"20240102030405.000000+060\"");
    // Parsed path text gives hinted untyped values; they match too.
    auto parsed = CVelaInstanceName::parse(
        "T_MultiKey.Number=5,When=\"20240102030405.000000+060\",name=\"a\",FLAG=true");
    EXPECT_NO_THROW(repo->getInstance(kNs, *parsed));
    // The same instance created again in another form already exists.
    EXPECT_EQ(codeOf([&] {
                  repo->createInstance(
                      kNs, *instance("T_MultiKey", {{"when", text("20240102030405.000000+060")},
                                                    {"NUMBER", CVelaValue::makeUint64(5)},
                                                    {"name", CVelaValue::makeString("a")},
                                                    {"flag", text("TRUE")}}));
              }),
              11);
    // String keys keep their case: another name is another instance.
    EXPECT_EQ(codeOf([&] { repo->createInstance(kNs, *multiKey("A", "5", "true")); }), 0);
    EXPECT_EQ(repo->countInstances(kNs, "T_MultiKey", false), 2u);

    // References as keys: the referenced keys are typed and written in
    // canonical form, the own namespace is left out, class names ignore case.
    auto link = instance(
        "T_Link",
        {{"Left", CVelaValue::makeReference(CVelaInstanceName::parse("T_Level1.Id=\"one\""))},
         {"Right",
          text("T_MultiKey.number=5,name=\"a\",flag=TRUE,when=\"20240102030405.000000+060\"")},
         {"Note", text("first")}});
    auto linkPath = repo->createInstance(kNs, *link);
    auto other =
        name("T_LINK",
             {{"right", CVelaValue::makeReference(CVelaInstanceName::parse(
                            "root/test:t_multikey.When=\"20240102030405.000000+060\",Flag=true,"
                            "Number=\"5\",Name=\"a\""))},
              {"LEFT", text("root/Test:T_LEVEL1.ID=\"one\"")}});
    auto got = repo->getInstance(kNs, *other);
    EXPECT_EQ(valueText(*got, "Note"), "first");
    EXPECT_TRUE(got->getPath()->equals(*linkPath));
    // The stored reference has typed keys and the class's own spelling.
    auto right = got->getProperty("Right")->getValue()->getReference();
    EXPECT_EQ(right->getClassName(), "T_MultiKey");
    for (std::size_t i = 0; i < right->getKeyBindingCount(); ++i) {
        EXPECT_FALSE(right->getKeyBinding(i)->getValue()->isUntyped());
    }
    // A reference to a class that is not what the property refers to.
    EXPECT_EQ(
        codeOf([&] {
            repo->createInstance(
                kNs, *instance("T_Link", {{"Left", text("T_MultiKey.Name=\"a\",Number=5,Flag=true,"
                                                        "When=\"20240102030405.000000+060\"")},
                                          {"Right", text("T_MultiKey.Name=\"b\",Number=5,Flag=true,"
                                                         "When=\"20240102030405.000000+060\"")}}));
        }),
        13);
    // A reference that lacks a key of the class it names.
    EXPECT_EQ(codeOf([&] {
                  repo->createInstance(
                      kNs, *instance("T_Link", {{"Left", text("T_Level1.Id=\"x\"")},
                                                {"Right", text("T_MultiKey.Name=\"b\"")}}));
              }),
              4);

    // A reference-qualified string key holds a reference: path text and a
    // reference value name the same instance.
    repo->createInstance(kNs, *instance("T_RefKey", {{"Target", text("T_Level1.ID=\"one\"")}}));
    auto byRef = name(
        "T_RefKey",
        {{"Target", CVelaValue::makeReference(CVelaInstanceName::parse("t_level1.id=\"one\""))}});
    auto refKey = repo->getInstance(kNs, *byRef);
    EXPECT_TRUE(refKey->getProperty("Target")->getType()->isReference());
}

TEST_F(InstanceOperations, ATransactionWritesAllOrNothing) {
    {
        auto t = repo->beginTransaction();
        t.createInstance(kNs, *instance("T_Level1", {{"Id", text("t1")}}));
        t.createNameSpace("root/scratch");
        // Reads through the transaction see its writes; others do not yet.
        EXPECT_NO_THROW(t.getInstance(kNs, *name("T_Level1", {{"Id", text("t1")}})));
        EXPECT_TRUE(t.hasNameSpace("root/scratch"));
        EXPECT_FALSE(repo->catalog()->hasNameSpace("root/scratch"));
        EXPECT_EQ(count(), 1u);
        // A thread holding a transaction cannot start a second one.
        EXPECT_EQ(codeOf([&] {
                      repo->createInstance(kNs, *instance("T_Level1", {{"Id", text("t2")}}));
                  }),
                  1);
        // Dropped without commit: rolled back.
    }
    EXPECT_EQ(count(), 1u);
    EXPECT_FALSE(repo->catalog()->hasNameSpace("root/scratch"));

    auto t = repo->beginTransaction();
    for (int i = 0; i < 50; ++i) {
        t.createInstance(kNs,
                         *instance("T_Level1", {{"Id", text(("b" + std::to_string(i)).c_str())}}));
    }
    t.createNameSpace("root/scratch");
    t.commit();
    EXPECT_FALSE(t.isOpen());
    EXPECT_EQ(count(), 51u);
    EXPECT_TRUE(repo->catalog()->hasNameSpace("Root/Scratch"));
    EXPECT_EQ(repo->catalog()->getNameSpaces(),
              (std::vector<VELString>{"root/scratch", "root/test"}));
    EXPECT_EQ(codeOf([&] {
                  t.createInstance(kNs, *instance("T_Level1", {{"Id", text("late")}}));
              }),
              1);
}

}  // namespace
}  // namespace repotest
