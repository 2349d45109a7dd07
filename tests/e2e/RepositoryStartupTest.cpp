// tarnd and its repository: the first start builds repository.db from the
// schema directory while the object manager is STARTING, later starts open
// it as it is, and a repository tarnd cannot use stops the start with a
// message saying why.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "TarndFixture.h"

namespace tarntest {
namespace {

class RepositoryStartupTest : public TarndFixture {
  protected:
    std::pair<int, std::string> runTarnd(std::vector<std::string> extra) {
        std::ofstream(dir.path() / "tarn.conf") << "[Log]\nLevel = 3\nTraceFile = stderr\n";
        std::vector<std::string> argv = {std::string(TARN_BIN_DIR) + "/tarnd",
                                         "--state-dir",
                                         dir.path().string(),
                                         "--http-port",
                                         std::to_string(freePort()),
                                         "--https-port",
                                         "0",
                                         "--adapter",
                                         adapterPath()};
        argv.insert(argv.end(), extra.begin(), extra.end());
        ChildProcess p;
        p.start(argv);
        auto status = p.waitExit(in(60s));
        return {status.value_or(-1), p.output()};
    }
    std::string db() const { return (dir.path() / "repository.db").string(); }
};

TEST_F(RepositoryStartupTest, TheFirstStartBuildsTheRepositoryBeforeTheServerRuns) {
    startTarnd();
    std::string out = tarnd.output();
    std::size_t starting = out.find("Object manager state: STARTING");
    std::size_t created = out.find("tarnd: Repository " + db() + " created from the schema in " +
                                   std::string(TARN_SOURCE_DIR) + "/schema");
    std::size_t opened = out.find("tarnd: Repository " + db() + ": 2 namespaces, 57 classes");
    std::size_t started = out.find("Object manager state: STARTED");
    ASSERT_NE(created, std::string::npos) << out;
    ASSERT_NE(opened, std::string::npos) << out;
    EXPECT_LT(starting, created);
    EXPECT_LT(opened, started);
    tarnd.signal(SIGTERM);
    ASSERT_EQ(tarnd.waitExit(in(15s)), std::optional<int>(0)) << tarnd.output();

    // The second start opens what is there.
    ChildProcess second;
    second.start({std::string(TARN_BIN_DIR) + "/tarnd", "--state-dir", dir.path().string(),
                  "--http-port", std::to_string(freePort()), "--https-port", "0", "--adapter",
                  adapterPath()});
    ASSERT_TRUE(second.waitForOutput("running;", in(30s))) << second.output();
    EXPECT_EQ(second.output().find("created from the schema"), std::string::npos)
        << second.output();
    EXPECT_NE(second.output().find(": 2 namespaces, 57 classes"), std::string::npos);
    second.signal(SIGTERM);
    EXPECT_EQ(second.waitExit(in(15s)), std::optional<int>(0)) << second.output();
}

TEST_F(RepositoryStartupTest, ARepositoryTarndCannotUseStopsTheStart) {
    // A schema that does not compile: nothing is built, and the start fails.
    std::filesystem::create_directories(dir.path() / "bad");
    std::ofstream(dir.path() / "bad" / "tarn.mof") << "class A : Missing { };\n";
    auto [status, out] = runTarnd({"--schema-dir", (dir.path() / "bad").string()});
    EXPECT_EQ(status, 1) << out;
    EXPECT_NE(out.find("tarnd: the schema " + (dir.path() / "bad" / "tarn.mof").string() +
                       " cannot be loaded:"),
              std::string::npos)
        << out;
    EXPECT_NE(out.find("unknown superclass Missing of class A"), std::string::npos) << out;

    // The next start builds it from the default schema; then the file is
    // made to claim a newer format.
    startTarnd();
    tarnd.signal(SIGTERM);
    ASSERT_EQ(tarnd.waitExit(in(15s)), std::optional<int>(0)) << tarnd.output();
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(db().c_str(), &handle), SQLITE_OK);
    ASSERT_EQ(
        sqlite3_exec(handle, "UPDATE repository_meta SET value='3' WHERE name='format_version'",
                     nullptr, nullptr, nullptr),
        SQLITE_OK);
    sqlite3_close(handle);
    std::tie(status, out) = runTarnd({});
    EXPECT_EQ(status, 1) << out;
    EXPECT_NE(out.find("tarnd: the repository " + db() +
                       " has format version 3, newer than this TARN can read (version 2)"),
              std::string::npos)
        << out;
    EXPECT_EQ(out.find("running;"), std::string::npos) << out;
}

}  // namespace
}  // namespace tarntest
