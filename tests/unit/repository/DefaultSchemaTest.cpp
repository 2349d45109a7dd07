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

// Namespaces made and deleted through CIM_Namespace, with the qualifiers of
// interop, are test_interop.py's (tests/pywbem); here the name check and that
// a deletion reaches the file.
TEST_F(DefaultSchema, NamespaceNamesAreCheckedAndADeletionIsKept) {
    auto qualifierNames = [&](const char* ns) {
        std::vector<VELString> out;
        for (const auto& q : repo->catalog()->getQualifierDefs(ns)) {
            out.push_back(q->getName());
        }
        return out;
    };
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "a//b"); }),
              tarn::CIM_ERR_INVALID_PARAMETER);
    EXPECT_FALSE(repo->catalog()->hasNameSpace("a//b"));
    tarn::DefaultSchema::createNameSpace(*repo, schemaDir(), "root/new");
    repo->deleteNameSpace("ROOT/NEW");
    EXPECT_TRUE(qualifierNames("root/new").empty());
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
    EXPECT_THAT(message, HasSubstr("tarn.mof:5:11: error: unknown superclass Missing of class B"));
    EXPECT_TRUE(repo.catalog()->getNameSpaces().empty());
    EXPECT_TRUE(repo.getInfo("default_schema").isNull());
    // A missing schema directory says which file it looked for.
    EXPECT_EQ(codeOf([&] { tarn::DefaultSchema::ensure(repo, (dir.path() / "none").string()); },
                     &message),
              1);
    EXPECT_THAT(message, HasSubstr("none/tarn.mof"));
}

}  // namespace
}  // namespace repotest
