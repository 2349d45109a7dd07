// The tarn-mof command: its messages and exit status, and writing into the
// repository of a state directory: a run is written entirely or not at all,
// and --check writes nothing.
#include <sys/wait.h>

#include <cstdio>
#include <fstream>

#include "RepositoryTestSupport.h"

namespace repotest {
namespace {

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

class TarnMofWrite : public ::testing::Test {
  protected:
    void write(const std::string& file, const std::string& text) {
        std::ofstream(dir.path() / file) << text;
    }
    ToolRun run(const std::string& args) {
        std::string err = (dir.path() / "stderr.txt").string();
        std::string cmd = "cd '" + dir.path().string() + "' && '" + TARN_BIN_DIR +
                          "/tarn-mof' --schema-dir '" + TARN_SOURCE_DIR + "/schema' " + args +
                          " 2>'" + err + "'";
        ToolRun r;
        FILE* p = ::popen(cmd.c_str(), "r");
        char buf[4096];
        for (std::size_t n; (n = std::fread(buf, 1, sizeof buf, p)) > 0;) {
            r.out.append(buf, n);
        }
        int st = ::pclose(p);
        r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
        r.err = tarntest::readFile(err);
        return r;
    }
    std::unique_ptr<tarn::Repository> open() {
        return std::make_unique<tarn::Repository>(
            (dir.path() / "state" / "repository.db").string());
    }

    TempDir dir;
};

TEST_F(TarnMofWrite, ReportsErrorsWithTheirPlaceAndFails) {
    write("bad.mof", "class A { };\nclass B : Nowhere { };\n#pragma odd (\"x\")\n");
    ToolRun r = run("--state-dir state -n root/test --check bad.mof");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err,
              "bad.mof:3:9: warning: unknown #pragma odd; ignored\n"
              "bad.mof:2:11: error: unknown superclass Nowhere of class B\n");
    EXPECT_THAT(r.out, HasSubstr("1 errors, 1 warnings"));
}

TEST_F(TarnMofWrite, ARunWithAnErrorWritesNothingAndCheckNeverWrites) {
    write("good.mof", "class TARN_A : CIM_ManagedElement { [Key] string K; };\n");
    ASSERT_EQ(run("--state-dir state good.mof").status, 0);
    write("mixed.mof",
          "class TARN_B : TARN_A { };\n"
          "instance of TARN_A { K = \"x\"; };\n"
          "instance of TARN_A { K = \"y\"; Nothing = 1; };\n");
    ToolRun r = run("--state-dir state mixed.mof");
    EXPECT_EQ(r.status, 1);
    EXPECT_THAT(r.err, HasSubstr("mixed.mof:3:"));
    EXPECT_THAT(r.out, HasSubstr("; nothing written\n"));
    {
        auto repo = open();
        EXPECT_TRUE(repo->catalog()->getClass("root/cimv2", "TARN_B").isNull());
        EXPECT_EQ(repo->countInstances("root/cimv2", "TARN_A", true), 0u);
    }
    // --check compiles against the repository's classes and leaves it as it is.
    write("check.mof", "class TARN_D : TARN_A { };\n");
    r = run("--state-dir state --check check.mof");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_THAT(r.out, HasSubstr("; checked only, nothing written\n"));
    auto repo = open();
    EXPECT_TRUE(repo->catalog()->getClass("root/cimv2", "TARN_D").isNull());
    // Another namespace is created for the MOF that asks for it.
    write("other.mof", "class TARN_A : CIM_ManagedElement { [Key] string K; };\n");
    repo.reset();
    r = run("--state-dir state -n root/other other.mof");
    EXPECT_EQ(r.status, 1) << "root/other has no qualifier declarations: " << r.err;
}

}  // namespace
}  // namespace repotest
