// Acceptance: the DMTF CIM Schema 2.49 compiles without a single error or
// warning. The schema is unzipped from the shared data directory into a
// temporary directory for the run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include "mof/MofClassSetSink.h"
#include "mof/MofCompiler.h"

namespace {

namespace fs = std::filesystem;

const char* const kNs = "root/cimv2";

template <class T>
std::vector<T> all(VELSmrPtr<tarn::Iterator<T>> it) {
    std::vector<T> out;
    while (it->hasNext()) {
        out.push_back(it->next());
    }
    return out;
}

class DmtfSchema : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        fs::path zip = fs::path(TARN_TEST_DATA_DIR) / "cim_schema_2.49.0Final-MOFs.zip";
        ASSERT_TRUE(fs::exists(zip)) << zip;
        std::string tmpl = (fs::temp_directory_path() / "tarn-mof-XXXXXX").string();
        ASSERT_NE(::mkdtemp(tmpl.data()), nullptr);
        dir = new fs::path(tmpl);
        std::string cmd = "unzip -q -o '" + zip.string() + "' -d '" + dir->string() + "'";
        ASSERT_EQ(std::system(cmd.c_str()), 0) << cmd;
        sink = new tarn::MofClassSetSink();
        compiler = new tarn::MofCompiler();
        compiler->compileFile((*dir / "cim_schema_2.49.0.mof").string());
        committed = compiler->commit(*sink);
    }
    static void TearDownTestSuite() {
        if (dir) {
            std::error_code ec;
            fs::remove_all(*dir, ec);
        }
        delete compiler;
        delete sink;
        delete dir;
        compiler = nullptr;
        sink = nullptr;
        dir = nullptr;
    }
    void SetUp() override { ASSERT_NE(sink, nullptr); }

    static VELSmrPtr<IVelaClass> cls(const char* name) {
        return sink->classSet()->getClass(kNs, name);
    }
    static std::vector<std::string> chain(const char* name) {
        std::vector<std::string> out;
        for (auto c = cls(name); !c.isNull(); c = c->getSuperClass()) {
            out.push_back(c->getName().str());
        }
        return out;
    }

    static fs::path* dir;
    static tarn::MofClassSetSink* sink;
    static tarn::MofCompiler* compiler;
    static bool committed;
};

fs::path* DmtfSchema::dir = nullptr;
tarn::MofClassSetSink* DmtfSchema::sink = nullptr;
tarn::MofCompiler* DmtfSchema::compiler = nullptr;
bool DmtfSchema::committed = false;

TEST_F(DmtfSchema, CompilesWithoutErrorsOrWarnings) {
    std::string text;
    for (const auto& d : compiler->diagnostics()) {
        text += d.toString() + "\n";
    }
    EXPECT_TRUE(committed) << text;
    EXPECT_EQ(text, "");
    auto s = compiler->summary();
    EXPECT_EQ(s.files, 1634u);
    EXPECT_EQ(s.qualifiers, 70u);
    EXPECT_EQ(s.classes, 1631u);
    EXPECT_EQ(s.instances, 0u);
    EXPECT_EQ(sink->classSet()->classCount(), 1631u);
    EXPECT_EQ(sink->classSet()->getQualifierDefs(kNs).size(), 70u);
}

}  // namespace
