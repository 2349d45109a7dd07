// The tarn-mof command: exit status and messages of a faulty compilation.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

class TarnMofTool : public ::testing::Test {
  protected:
    void SetUp() override {
        tool = fs::path(TARN_BIN_DIR) / "tarn-mof";
        if (!fs::exists(tool)) {
            GTEST_SKIP() << "tarn-mof is not built: " << tool;
        }
        std::string tmpl = (fs::temp_directory_path() / "tarn-mof-tool-XXXXXX").string();
        ASSERT_NE(::mkdtemp(tmpl.data()), nullptr);
        dir = tmpl;
    }
    void TearDown() override {
        if (!dir.empty()) {
            std::error_code ec;
            fs::remove_all(dir, ec);
        }
    }
    void write(const std::string& name, const std::string& text) {
        fs::create_directories((dir / name).parent_path());
        std::ofstream(dir / name) << text;
    }
    ToolRun run(const std::string& args) {
        std::string errFile = (dir / "stderr.txt").string();
        std::string cmd =
            "cd '" + dir.string() + "' && '" + tool.string() + "' " + args + " 2>'" + errFile + "'";
        ToolRun r;
        FILE* p = ::popen(cmd.c_str(), "r");
        if (!p) {
            return r;
        }
        char buf[4096];
        std::size_t n;
        while ((n = std::fread(buf, 1, sizeof buf, p)) > 0) {
            r.out.append(buf, n);
        }
        int st = ::pclose(p);
        r.status = WIFEXITED(st) ? WEXITSTATUS(st) : -1;
        std::ifstream in(errFile);
        std::ostringstream err;
        err << in.rdbuf();
        r.err = err.str();
        return r;
    }

    fs::path tool;
    fs::path dir;
};

TEST_F(TarnMofTool, ReportsErrorsWithTheirPlaceAndFails) {
    write("bad.mof", "class A { };\nclass B : Nowhere { };\n#pragma odd (\"x\")\n");
    ToolRun r = run("--state-dir state -n root/test --check bad.mof");
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err,
              "bad.mof:3:9: warning: unknown #pragma odd; ignored\n"
              "bad.mof:2:11: error: unknown superclass Nowhere of class B\n");
    EXPECT_NE(r.out.find("1 errors, 1 warnings"), std::string::npos) << r.out;
}

}  // namespace
