// The repository's index of references: a repository of the first format,
// whose references may carry a host and lack their namespace, is upgraded.
#include <sqlite3.h>

#include "RepositoryTestSupport.h"
#include "repository/InstanceCodec.h"
#include "repository/StorageSchema.h"

namespace repotest {
namespace {

class References : public RepositoryTest {
  protected:
    void SetUp() override {
        RepositoryTest::SetUp();
        ASSERT_EQ(loadMof(*repo,
                          "[Association] class T_Watch { [Key] string Id; "
                          "T_Base REF Watched; T_Base REF Backup; };"),
                  "");
        for (const char* id : {"one", "two"}) {
            repo->createInstance(kNs, *instance("T_Level1", {{"Id", text(id)}}));
        }
        repo->createInstance(kNs, *instance("T_MultiKey", {{"Name", text("a")},
                                                           {"Number", text("5")},
                                                           {"Flag", text("true")},
                                                           {"When", text(kWhen)}}));
    }

    // "Class:key" of each association instance that references the target,
    // with the roles, in the index's order.
    std::vector<std::string> referrers(const char* assocClass, const char* target,
                                       const char* role = "") {
        std::vector<std::string> out;
        repo->referrers(kNs, {assocClass}, CVelaInstanceName::parse(target), role,
                        [&](const VELSmrPtr<IVelaObject>& a, const std::vector<VELString>& roles) {
                            std::string s = a->getClassName().str() + ":";
                            auto id = a->getProperty("Id");
                            s += id.isNull() ? "link" : id->getValue()->toString().str();
                            for (const auto& r : roles) {
                                s += " " + r.str();
                            }
                            out.push_back(s);
                            return true;
                        });
        return out;
    }

    static constexpr const char* kWhen = "20240102030405.000000+060";
    static VELSmrPtr<IVelaValue> ref(const char* path) {
        return CVelaValue::makeReference(CVelaInstanceName::parse(path));
    }
};

using Rows = std::vector<std::string>;

// Runs SQL on the database file directly, outside the repository; with blob,
// ?1 is bound to it.
void sql(const std::string& path, const std::string& text, const std::string* blob = nullptr) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    sqlite3_stmt* st = nullptr;
    const char* rest = text.c_str();
    while (*rest) {
        ASSERT_EQ(sqlite3_prepare_v2(db, rest, -1, &st, &rest), SQLITE_OK) << sqlite3_errmsg(db);
        if (!st) {
            break;
        }
        if (blob) {
            sqlite3_bind_blob(st, 1, blob->data(), static_cast<int>(blob->size()), SQLITE_STATIC);
        }
        EXPECT_EQ(sqlite3_step(st), SQLITE_DONE) << sqlite3_errmsg(db);
        sqlite3_finalize(st);
    }
    sqlite3_close(db);
}

TEST_F(References, AFormatOneRepositoryIsUpgradedWithItsReferencesIndexed) {
    const char* multiKey =
        "T_MultiKey.Name=\"a\",Number=5,Flag=TRUE,When=\"20240102030405.000000+060\"";
    repo->createInstance(kNs, *instance("T_Link", {{"Left", ref("T_Level1.Id=\"one\"")},
                                                   {"Right", ref(multiKey)},
                                                   {"Note", text("kept")}}));
    // Two rows of the first format naming one instance: references with a
    // host, one without namespace, their key text as that format wrote it.
    auto oldForm = [&](const char* host, const char* note) {
        // A host and no namespace: parsed without the host, which is put in after.
        auto left = makeVELSmrPtr<CVelaInstanceName>("T_Level1");
        left->setNameSpacePath(makeVELSmrPtr<CVelaNameSpacePath>(host, VELString()));
        left->addKeyBinding("Id", CVelaValue::makeString("one"));
        auto obj = makeVELSmrPtr<CVelaObject>("T_Link");
        obj->addProperty("Left", CVelaValue::makeReference(left));
        obj->addProperty("Right",
                         ref((std::string("//") + host + "/root/test:" + multiKey).c_str()));
        obj->addProperty("Note", CVelaValue::makeString(note));
        return tarn::InstanceCodec::encode(*obj);
    };
    const std::string id =
        std::to_string(repo->catalog()->current()->find(kNs)->findClass("T_Link")->id());
    const std::string right =
        "t_multikey.flag=TRUE,name=\\\"a\\\",number=5,when=\\\"20240102030405.000000+060\\\"";
    repo.reset();
    sql(dbPath(), "DROP TABLE refs; DELETE FROM instances WHERE class=" + id +
                      "; UPDATE repository_meta SET value='1' WHERE name='format_version'");
    for (const char* host : {"oldhost", "otherhost"}) {
        std::string data = oldForm(host, host);
        sql(dbPath(),
            "INSERT INTO instances VALUES (" + id + ", 'left=\"//" + host +
                "/t_level1.id=\\\"one\\\"\",right=\"//" + host + "/root/test:" + right + "\"', ?1)",
            &data);
    }

    open();
    EXPECT_EQ(repo->getInfo("format_version"), "2");
    EXPECT_EQ(repo->checkIntegrity(), "ok");
    // The first row stays, under the key text of today; the second, a copy
    // of it, is gone.
    EXPECT_EQ(repo->countInstances(kNs, "T_Link", false), 1u);
    auto got = repo->getInstance(
        kNs, *name("T_Link", {{"Left", ref("T_Level1.Id=\"one\"")}, {"Right", ref(multiKey)}}));
    EXPECT_EQ(valueText(*got, "Note"), "oldhost");
    auto left = got->getProperty("Left")->getValue()->getReference();
    EXPECT_TRUE(left->getNameSpacePath()->getHost().isNull());
    EXPECT_EQ(left->getNameSpacePath()->getNameSpace(), kNs);
    EXPECT_EQ(referrers("T_Link", "T_Level1.Id=\"one\""), (Rows{"T_Link:link Left"}));
    EXPECT_EQ(referrers("T_Link", multiKey, "Right"), (Rows{"T_Link:link Right"}));

    // A newer file is refused.
    repo.reset();
    sql(dbPath(), "UPDATE repository_meta SET value='3' WHERE name='format_version'");
    EXPECT_EQ(codeOf([&] { open(); }), 1);
}

}  // namespace
}  // namespace repotest
