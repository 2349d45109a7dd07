// The repository's storage: the format version is checked, a file of the
// first format upgraded, damaged data is reported and never read past, and
// schema declarations are kept or refused as a whole.
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <tuple>

#include "RepositoryTestSupport.h"
#include "mof/MofClassSetSink.h"
#include "repository/InstanceCodec.h"
#include "repository/SchemaSnapshot.h"

namespace repotest {
namespace {

template <class T>
std::vector<T> all(VELSmrPtr<tarn::Iterator<T>> it) {
    std::vector<T> out;
    while (it->hasNext()) {
        out.push_back(it->next());
    }
    return out;
}

// A description of a resolved class detailed enough to tell two apart:
// every property, method and parameter with type, origin, default and
// qualifiers (with flavor and defining class).
std::string describe(const IVelaClass& c) {
    std::ostringstream os;
    auto qualifiers = [&](auto it) {
        for (const auto& q : all(it)) {
            os << " [" << q->getName() << ":" << q->getType()->getName()
               << (q->getType()->isArray() ? "[]" : "") << "=" << q->getFlavor() << "@"
               << q->getDefiningClassName() << "="
               << (q->getValue().isNull() ? std::string("<none>") : q->getValue()->toString().str())
               << "]";
        }
    };
    os << c.getName() << ":" << c.getSuperClassName();
    qualifiers(c.getQualifiers(true));
    for (const auto& p : all(c.getPropertyDefs(true))) {
        const auto& t = *p->getType();
        os << "\n  " << t.getName() << (t.isArray() ? "[]" : "") << t.getReferenceClassName() << " "
           << p->getName() << "/" << p->getArraySize() << " from " << p->getOriginClassName()
           << (p->isKey() ? " key" : "") << " = "
           << (p->getDefaultValue().isNull() ? std::string("<none>")
                                             : p->getDefaultValue()->toString().str());
        qualifiers(p->getQualifiers(true));
    }
    for (const auto& m : all(c.getMethodDefs(true))) {
        os << "\n  " << m->getReturnType()->getName() << " " << m->getName() << "() from "
           << m->getOriginClassName();
        qualifiers(m->getQualifiers(true));
        for (const auto& p : all(m->getParameters())) {
            os << "\n    " << p->getType()->getName() << (p->getType()->isArray() ? "[]" : "")
               << p->getType()->getReferenceClassName() << " " << p->getName();
            qualifiers(p->getQualifiers(true));
        }
    }
    return os.str();
}

class Storage : public RepositoryTest {};

TEST_F(Storage, ANewerFormatOrAForeignFileIsRefusedWithAClearMessage) {
    repo.reset();
    sql(dbPath(), "UPDATE repository_meta SET value='99' WHERE name='format_version'");
    std::string message;
    EXPECT_EQ(codeOf([&] { open(); }, &message), 1);
    EXPECT_EQ(message, "the repository " + dbPath() +
                           " has format version 99, newer than this TARN can read (version 2); run "
                           "a newer TARN, or move the file away to start a new repository");
    sql(dbPath(), "UPDATE repository_meta SET value='2' WHERE name='format_version'");
    EXPECT_EQ(codeOf([&] { open(); }), 0);
    repo.reset();

    std::string foreign = (dir.path() / "other.db").string();
    sql(foreign, "CREATE TABLE t (x)");
    EXPECT_EQ(codeOf([&] { tarn::Repository r(foreign); }, &message), 1);
    EXPECT_EQ(message, foreign + " is not a TARN repository");

    std::string garbage = (dir.path() / "garbage.db").string();
    std::ofstream(garbage) << std::string(4096, 'x');
    EXPECT_EQ(codeOf([&] { tarn::Repository r(garbage); }, &message), 1);
    EXPECT_THAT(message, HasSubstr("SQLite"));

    // A new file is created, and says so.
    tarn::Repository fresh((dir.path() / "fresh.db").string());
    EXPECT_TRUE(fresh.wasCreated());
    EXPECT_TRUE(fresh.catalog()->getNameSpaces().empty());
}

TEST_F(Storage, DamagedInstanceDataIsReportedNotReadPastItsEnd) {
    repo->createInstance(
        kNs,
        *instance("T_AllTypes", {{"Id", text("d")}, {"S", text("some text")}, {"U32", text("7")}}));
    // Every cut of a valid stored instance decodes or fails cleanly.
    auto schema = repo->catalog()->current();
    const auto* ns = schema->find(kNs);
    const auto* layout = ns->findClass("T_AllTypes");
    auto full = repo->getInstance(kNs, *name("T_AllTypes", {{"Id", text("d")}}));
    std::string data = tarn::InstanceCodec::encode(*full);
    for (std::size_t n = 0; n < data.size(); ++n) {
        EXPECT_EQ(
            codeOf([&] { tarn::InstanceCodec::decode(data.substr(0, n), *layout, ns->path); }), 1)
            << "cut at " << n;
    }
    // Flipped bytes: whatever they decode to, they never crash or overrun.
    for (std::size_t n = 0; n < data.size(); ++n) {
        std::string bad = data;
        bad[n] = static_cast<char>(bad[n] ^ 0xA5);
        codeOf([&] { tarn::InstanceCodec::decode(bad, *layout, ns->path); });
    }
    // A damaged row in the file is reported on reading.
    repo.reset();
    sql(dbPath(), "UPDATE instances SET properties=substr(properties, 1, 5)");
    open();
    std::string message;
    EXPECT_EQ(codeOf(
                  [&] {
                      repo->getInstance(kNs, *name("T_AllTypes", {{"Id", text("d")}}));
                  },
                  &message),
              1);
    EXPECT_THAT(message, HasSubstr("the repository is damaged: an instance"));
}

TEST_F(Storage, IdenticalDeclarationsAreKeptAndDifferentOnesFailTheWholeCompilation) {
    tarn::RepositoryMofSink::Counts counts;
    ASSERT_EQ(loadMof(*repo, kSchema, kNs, &counts), "");
    EXPECT_EQ(counts.classes, 0u);
    EXPECT_EQ(counts.qualifiers, 0u);
    EXPECT_EQ(counts.unchanged, 17u);

    // A changed class fails the compilation; nothing of it is written, not
    // even the parts that were new.
    std::string out = loadMof(*repo,
                              "class T_New : T_Level1 { };\n"
                              "instance of T_Level1 { Id = \"mof\"; };\n"
                              "class T_Level2 : T_Level1 { boolean Flag = false; };\n");
    EXPECT_THAT(out,
                HasSubstr("class T_Level2 already exists in namespace root/test with a different "
                          "definition"));
    EXPECT_TRUE(repo->catalog()->getClass(kNs, "T_New").isNull());
    EXPECT_EQ(repo->countInstances(kNs, "T_Level1", false), 0u);

    // Instances: the same one again is kept, a different one refused.
    ASSERT_EQ(loadMof(*repo, "instance of T_Level1 { Id = \"m\"; Count = 1; };\n"), "");
    ASSERT_EQ(loadMof(*repo, "instance of T_Level1 { Id = \"m\"; Count = 1; };\n", kNs, &counts),
              "");
    EXPECT_EQ(counts.unchanged, 1u);
    out = loadMof(*repo, "instance of T_Level1 { Id = \"m\"; Count = 2; };\n");
    EXPECT_THAT(out, HasSubstr("already exists"));

    // A qualifier declared differently.
    out = loadMof(
        *repo,
        "Qualifier Key : boolean = true, Scope(property), Flavor(DisableOverride, ToSubclass);\n");
    EXPECT_THAT(out,
                HasSubstr("qualifier Key is already declared differently in namespace root/test"));
    // New classes on stored ones, in a namespace of their own too, are
    // TarnMofWrite's, and a running server reads them at once in test_interop.py.
}

TEST_F(Storage, TheDmtfSchemaIsStoredAndReadBackFaithfully) {
    fs::path zip = fs::path(TARN_TEST_DATA_DIR) / "cim_schema_2.49.0Final-MOFs.zip";
    if (!fs::exists(zip)) {
        GTEST_SKIP() << "no " << zip;
    }
    TempDir unzipped;
    std::string cmd = "unzip -q -o '" + zip.string() + "' -d '" + unzipped.path().string() + "'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
    std::string entry = (unzipped.path() / "cim_schema_2.49.0.mof").string();

    tarn::MofOptions options;
    options.defaultNameSpace = "root/dmtf";
    tarn::MofClassSetSink memory;
    {
        // The whole schema compiles without a single error or warning.
        tarn::MofCompiler compiler(options);
        compiler.compileFile(entry);
        ASSERT_TRUE(compiler.commit(memory));
        std::string text;
        for (const auto& d : compiler.diagnostics()) {
            text += d.toString() + "\n";
        }
        EXPECT_EQ(text, "");
        const auto s = compiler.summary();
        EXPECT_EQ(std::tie(s.files, s.qualifiers, s.classes, s.instances),
                  std::make_tuple(1634u, 70u, 1631u, 0u));
    }
    {
        tarn::MofCompiler compiler(options, repo->catalog().get());
        compiler.compileFile(entry);
        tarn::RepositoryMofSink sink(*repo);
        ASSERT_TRUE(compiler.commit(sink));
    }
    reopen();
    auto expected = memory.classSet()->getSubclasses("root/dmtf", "", true);
    ASSERT_EQ(expected.size(), 1631u);
    EXPECT_EQ(repo->catalog()->getSubclasses("root/dmtf", "", true).size(), expected.size());
    std::size_t differing = 0;
    for (const auto& c : expected) {
        std::string want = describe(*c);
        std::string got = describe(*repo->catalog()->getClass("root/dmtf", c->getName()));
        if (got != want && ++differing <= 3) {
            ADD_FAILURE() << "class " << c->getName() << " differs:\n"
                          << got << "\nexpected\n"
                          << want;
        }
    }
    EXPECT_EQ(differing, 0u);
    EXPECT_EQ(repo->catalog()->getQualifierDefs("root/dmtf").size(),
              memory.classSet()->getQualifierDefs("root/dmtf").size());
}

// A repository of the first format, whose references may carry a host and
// lack their namespace, is upgraded and its references indexed.
TEST_F(Storage, AFormatOneRepositoryIsUpgradedWithItsReferencesIndexed) {
    auto ref = [](const std::string& path) {
        return CVelaValue::makeReference(CVelaInstanceName::parse(path));
    };
    // "Class role" of each T_Link that references the target.
    auto referrers = [&](const char* target, const char* role = "") {
        std::vector<std::string> out;
        repo->referrers(kNs, {"T_Link"}, CVelaInstanceName::parse(target), role,
                        [&](const VELSmrPtr<IVelaObject>& a, const std::vector<VELString>& roles) {
                            for (const auto& r : roles) {
                                out.push_back(a->getClassName().str() + " " + r.str());
                            }
                            return true;
                        });
        return out;
    };
    repo->createInstance(kNs, *instance("T_Level1", {{"Id", text("one")}}));
    repo->createInstance(kNs,
                         *instance("T_MultiKey", {{"Name", text("a")},
                                                  {"Number", text("5")},
                                                  {"Flag", text("true")},
                                                  {"When", text("20240102030405.000000+060")}}));
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
    EXPECT_EQ(referrers("T_Level1.Id=\"one\""), std::vector<std::string>{"T_Link Left"});
    EXPECT_EQ(referrers(multiKey, "Right"), std::vector<std::string>{"T_Link Right"});
}

}  // namespace
}  // namespace repotest
