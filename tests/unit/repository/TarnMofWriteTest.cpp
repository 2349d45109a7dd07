// tarn-mof writing into the repository of a state directory: a run is
// written entirely or not at all, and --check writes nothing.
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <sstream>

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
        std::size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) {
            r.out.append(buf, n);
        }
        int st = ::pclose(p);
        r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
        std::ifstream in(err);
        std::ostringstream os;
        os << in.rdbuf();
        r.err = os.str();
        return r;
    }
    std::unique_ptr<tarn::Repository> open() {
        return std::make_unique<tarn::Repository>(
            (dir.path() / "state" / "repository.db").string());
    }

    TempDir dir;
};

TEST_F(TarnMofWrite, ARunWithAnErrorWritesNothingAndCheckNeverWrites) {
    write("good.mof", "class TARN_A : CIM_ManagedElement { [Key] string K; };\n");
    ASSERT_EQ(run("--state-dir state good.mof").status, 0);
    write("mixed.mof",
          "class TARN_B : TARN_A { };\n"
          "instance of TARN_A { K = \"x\"; };\n"
          "instance of TARN_A { K = \"y\"; Nothing = 1; };\n");
    ToolRun r = run("--state-dir state mixed.mof");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("mixed.mof:3:"), std::string::npos) << r.err;
    EXPECT_NE(r.out.find("; nothing written\n"), std::string::npos) << r.out;
    {
        auto repo = open();
        EXPECT_TRUE(repo->catalog()->getClass("root/cimv2", "TARN_B").isNull());
        EXPECT_EQ(repo->countInstances("root/cimv2", "TARN_A", true), 0u);
    }
    // A class that exists with another definition fails the run as a whole.
    write("changed.mof",
          "class TARN_C : TARN_A { };\n"
          "class TARN_A : CIM_ManagedElement { [Key] string K; string More; };\n");
    r = run("--state-dir state changed.mof");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("class TARN_A already exists in namespace root/cimv2 with a different "
                         "definition"),
              std::string::npos)
        << r.err;
    // --check compiles against the repository's classes and leaves it as it is.
    write("check.mof", "class TARN_D : TARN_A { };\n");
    r = run("--state-dir state --check check.mof");
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("; checked only, nothing written\n"), std::string::npos) << r.out;
    auto repo = open();
    EXPECT_TRUE(repo->catalog()->getClass("root/cimv2", "TARN_C").isNull());
    EXPECT_TRUE(repo->catalog()->getClass("root/cimv2", "TARN_D").isNull());
    // Another namespace is created for the MOF that asks for it.
    write("other.mof", "class TARN_A : CIM_ManagedElement { [Key] string K; };\n");
    repo.reset();
    r = run("--state-dir state -n root/other other.mof");
    EXPECT_EQ(r.status, 1) << "root/other has no qualifier declarations: " << r.err;
}

}  // namespace
}  // namespace repotest
