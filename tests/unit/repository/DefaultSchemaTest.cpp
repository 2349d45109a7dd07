// TARN's default schema (schema/): it loads entirely or not at all, the
// namespaces made from it, and its qualifier declarations are the standard
// ones.
#include <cstdlib>
#include <fstream>

#include "RepositoryTestSupport.h"
#include "repository/DefaultSchema.h"
#include "tarn/CIMStatus.h"
#include "tarn/ISchemaCatalog.h"
#include "tarn/QualifierFlavor.h"

namespace repotest {
namespace {

class DefaultSchema : public ::testing::Test {
  protected:
    void SetUp() override {
        repo = std::make_unique<tarn::Repository>((dir.path() / "repository.db").string());
        ASSERT_TRUE(tarn::DefaultSchema::ensure(*repo, schemaDir()));
    }
    static VELString schemaDir() { return std::string(TARN_SOURCE_DIR) + "/schema"; }
    std::vector<VELSmrPtr<IVelaObject>> instances(const char* ns, const char* cls) {
        std::vector<VELSmrPtr<IVelaObject>> out;
        repo->enumerateInstances(ns, cls, true, [&](const VELSmrPtr<IVelaObject>& o) {
            out.push_back(o);
            return true;
        });
        return out;
    }

    TempDir dir;
    std::unique_ptr<tarn::Repository> repo;
};

TEST_F(DefaultSchema, NamespacesAreCreatedWithTheStandardQualifiersAndDeletedWhenEmpty) {
    auto qualifierNames = [&](const char* ns) {
        std::vector<VELString> out;
        for (const auto& q : repo->catalog()->getQualifierDefs(ns)) {
            out.push_back(q->getName());
        }
        return out;
    };
    tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "root/new");
    EXPECT_TRUE(repo->catalog()->hasNameSpace("ROOT/NEW"));
    EXPECT_EQ(qualifierNames("root/new"), qualifierNames("interop"));
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "root/New"); }),
              tarn::CIM_ERR_ALREADY_EXISTS);
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "a//b"); }),
              tarn::CIM_ERR_INVALID_PARAMETER);
    EXPECT_FALSE(repo->catalog()->hasNameSpace("a//b"));

    EXPECT_EQ(codeOf([&] { repo->deleteNameSpace("root/cimv2"); }),
              tarn::CIM_ERR_NAMESPACE_NOT_EMPTY);
    repo->deleteNameSpace("root/NEW");
    EXPECT_FALSE(repo->catalog()->hasNameSpace("root/new"));
    EXPECT_TRUE(qualifierNames("root/new").empty());
    EXPECT_EQ(codeOf([&] { repo->deleteNameSpace("root/new"); }), tarn::CIM_ERR_INVALID_NAMESPACE);

    // Gone from the file too; the name can be used again.
    repo.reset();
    repo = std::make_unique<tarn::Repository>((dir.path() / "repository.db").string());
    EXPECT_EQ(repo->catalog()->getNameSpaces(), (std::vector<VELString>{"interop", "root/cimv2"}));
    tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "root/new");
    EXPECT_EQ(qualifierNames("root/new"), qualifierNames("interop"));
}

TEST_F(DefaultSchema, ItsQualifierDeclarationsAreTheStandardOnes) {
    fs::path zip = fs::path(TARN_TEST_DATA_DIR) / "cim_schema_2.49.0Final-MOFs.zip";
    if (!fs::exists(zip)) {
        GTEST_SKIP() << "no " << zip;
    }
    TempDir unzipped;
    std::string cmd =
        "unzip -q -o '" + zip.string() + "' qualifiers.mof -d '" + unzipped.path().string() + "'";
    ASSERT_EQ(std::system(cmd.c_str()), 0);
    std::ifstream in(unzipped.path() / "qualifiers.mof");
    std::string mof((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_FALSE(mof.empty());
    tarn::RepositoryMofSink::Counts counts;
    ASSERT_EQ(loadMof(*repo, mof, "interop", &counts), "");
    EXPECT_EQ(counts.qualifiers, 0u) << "declarations that differ from the standard ones";
    EXPECT_GT(counts.unchanged, 50u);
}

TEST(DefaultSchemaLoad, IsAllOrNothing) {
    TempDir dir;
    fs::create_directories(dir.path() / "schema");
    std::ofstream(dir.path() / "schema" / "tarn.mof")
        << "#pragma namespace (\"interop\")\n"
           "Qualifier Key : boolean = false, Scope(property), Flavor(DisableOverride, "
           "ToSubclass);\n"
           "class A { [Key] string K; };\n"
           "#pragma namespace (\"root/cimv2\")\n"
           "class B : Missing { };\n";
    tarn::Repository repo((dir.path() / "repository.db").string());
    std::string message;
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::ensure(repo, (dir.path() / "schema").string()); },
                     &message),
              1);
    EXPECT_NE(message.find("tarn.mof:5:11: error: unknown superclass Missing of class B"),
              std::string::npos)
        << message;
    EXPECT_TRUE(repo.catalog()->getNameSpaces().empty());
    EXPECT_TRUE(repo.getInfo("default_schema").isNull());
    // A missing schema directory says which file it looked for.
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::ensure(repo, (dir.path() / "none").string()); },
                     &message),
              1);
    EXPECT_NE(message.find("none/tarn.mof"), std::string::npos) << message;
}

}  // namespace
}  // namespace repotest
