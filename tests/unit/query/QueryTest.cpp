// The query engine outside tarnd, where the end-to-end tests through pywbem
// cannot reach: hostile text, and one compiled query shared by several threads.
#include <gtest/gtest.h>

#include <thread>

#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"
#include "query/CompiledQuery.h"
#include "tarn/CIMStatus.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VelaBaseException.h"

namespace {

using tarn::query::CompiledQuery;
using tarn::query::Truth;

const char* const kNs = "root/test";

const char* const kSchema = R"(
#pragma namespace ("root/test")
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
class TEST_Service { [Key] string Name; uint16 Priority; };
class TEST_Special : TEST_Service { };
)";

std::shared_ptr<tarn::CClassSet> schema() {
    static std::shared_ptr<tarn::CClassSet> set = [] {
        tarn::MofClassSetSink sink;
        tarn::MofCompiler compiler;
        EXPECT_TRUE(compiler.compileText(kSchema, "query.mof"));
        EXPECT_TRUE(compiler.commit(sink));
        return sink.classSet();
    }();
    return set;
}

VELSmrPtr<IVelaObject> service(const char* cls, const char* name, std::uint16_t priority) {
    auto s = makeVELSmrPtr<CVelaObject>(cls);
    s->addProperty("Name", CVelaValue::makeString(name));
    s->addProperty("Priority", CVelaValue::makeUnsigned(CIMTypeId::UInt16, priority));
    return s;
}

TEST(QueryTest, HostileTextIsAnInvalidQueryNotACrash) {
    std::string nots;
    for (int i = 0; i < 100000; ++i) {
        nots += "NOT ";
    }
    const std::string where = "SELECT * FROM TEST_Service WHERE ";
    struct Case {
        const char* language;
        std::string text;
    };
    const Case cases[] = {
        {"WQL", where + std::string(100000, '(') + "Name = 'a'"},
        {"WQL", where + nots + "Name = 'a'"},
        {"WQL", where + "Priority = 99999999999999999999999"},
        {"WQL", where + "Priority = 1e999"},
        {"WQL", where + "Name LIKE 'a\\'"},
        {"DMTF:CQL", where + "Name LIKE '[z-a]'"},
        {"DMTF:CQL", where + "Name LIKE '*'"},
        {"WQL", where + "Name = 'a' \x01"},
    };
    for (const Case& c : cases) {
        try {
            CompiledQuery::compile(c.language, c.text, *schema(), kNs);
            ADD_FAILURE() << "accepted: " << c.text.substr(0, 80);
        } catch (const VelaBaseException& e) {
            EXPECT_EQ(e.getCode(), tarn::CIM_ERR_INVALID_QUERY) << e.getMessage();
            EXPECT_NE(e.getMessage().find("at position "), VELString::npos) << e.getMessage();
        }
    }
    // A pattern that backtracking would take forever on matches in linear time.
    auto q = CompiledQuery::compile("DMTF:CQL",
                                    "SELECT * FROM TEST_Service WHERE Name LIKE '" +
                                        std::string(30, '.') + "*" + std::string(30, 'a') + "*b'",
                                    *schema(), kNs);
    EXPECT_EQ(q->evaluate(*service("TEST_Service", std::string(20000, 'a').c_str(), 1)),
              Truth::False);
}

TEST(QueryTest, OneCompiledQueryServesManyThreads) {
    auto q = CompiledQuery::compile(
        "WQL", "SELECT Name FROM TEST_Service WHERE Priority > 10 AND Name LIKE 's%'", *schema(),
        kNs);
    std::vector<VELSmrPtr<IVelaObject>> services;
    for (int i = 0; i < 400; ++i) {
        // Two classes whose instances hold their properties in different orders.
        auto s = makeVELSmrPtr<CVelaObject>(i % 2 ? "TEST_Service" : "TEST_Special");
        if (i % 2) {
            s->addProperty("Priority", CVelaValue::makeUnsigned(CIMTypeId::UInt16, i % 20));
        }
        s->addProperty("Name", CVelaValue::makeString(i % 3 ? "svc" : "other"));
        if (!(i % 2)) {
            s->addProperty("Priority", CVelaValue::makeUnsigned(CIMTypeId::UInt16, i % 20));
        }
        services.push_back(s);
    }
    std::size_t expected = 0;
    for (int i = 0; i < 400; ++i) {
        expected += (i % 20 > 10 && i % 3 != 0) ? 1 : 0;
    }
    std::vector<std::size_t> found(4);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < found.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 50; ++round) {
                for (const auto& s : services) {
                    if (q->matches(*s)) {
                        found[t] += round == 0 ? 1 : 0;
                        EXPECT_EQ(q->project(s)->getPropertyCount(), 1u);
                    }
                }
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    for (std::size_t n : found) {
        EXPECT_EQ(n, expected);
    }
}

}  // namespace
