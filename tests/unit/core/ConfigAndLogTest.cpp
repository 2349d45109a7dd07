#include <gtest/gtest.h>

#include <filesystem>

#include "HttpTestSupport.h"
#include "tarn/LogCapture.h"
#include "tarn/TraceLog.h"
#include "vela/AdapterUtils.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace {

class ConfigTest : public ::testing::Test {
  protected:
    void TearDown() override { TARNConfigManager::getInstance().clear(); }
    TARNConfigManager& cfg = TARNConfigManager::getInstance();
};

TEST_F(ConfigTest, ReadsTypedValuesIgnoringCaseOfNamesAndReportsBadOnesAsAbsent) {
    cfg.loadFromString(
        "; comment\n"
        "# another\n"
        "[TARN]\n"
        "HTTPTransferEncoding = ConditionalChunked\n"
        "[Indication]\n"
        "DeliveryAttemptTimeout=5\n"
        "OutboundConnectionPorts = \"6000-6010\"\n"
        "[Log]\n"
        "TraceIndications = Yes\n"
        "[A]\nn = 12x\nbig = 4294967296\nneg = -1\nb = maybe\nok = 4294967295\n");
    VELString s;
    ASSERT_TRUE(cfg.getString("tarn", "httptransferencoding", s));
    EXPECT_EQ(s, VELString("ConditionalChunked"));
    ASSERT_TRUE(cfg.getString("Indication", "OutboundConnectionPorts", s));
    EXPECT_EQ(s, VELString("6000-6010"));
    std::uint32_t u = 0;
    ASSERT_TRUE(cfg.getUint32("Indication", "DeliveryAttemptTimeout", u));
    EXPECT_EQ(u, 5u);
    bool b = false;
    ASSERT_TRUE(cfg.getBool("Log", "TraceIndications", b));
    EXPECT_TRUE(b);
    EXPECT_FALSE(cfg.getString("TARN", "Missing", s));
    EXPECT_FALSE(cfg.getString("NoSection", "HTTPTransferEncoding", s));

    tarn::LogCapture capture;
    u = 77;
    EXPECT_FALSE(cfg.getUint32("A", "n", u));
    EXPECT_FALSE(cfg.getUint32("A", "big", u));
    EXPECT_FALSE(cfg.getUint32("A", "neg", u));
    EXPECT_EQ(u, 77u);
    EXPECT_FALSE(cfg.getBool("A", "b", b));
    EXPECT_TRUE(capture.containsText("[A] n = '12x' is not an unsigned 32-bit integer"));
    EXPECT_TRUE(capture.containsText("[A] b = 'maybe' is not a boolean"));
    EXPECT_TRUE(cfg.getUint32("A", "ok", u));
    EXPECT_EQ(u, 4294967295u);
}

TEST_F(ConfigTest, SyntaxErrorsNameTheLineAndKeepOldContent) {
    cfg.loadFromString("[S]\nk = v\n");
    const char* bad[] = {"[S\nk=v\n", "k = v\n", "[S]\njust words\n", "[]\n", "[S]\n = v\n"};
    for (const char* text : bad) {
        try {
            cfg.loadFromString(text, "my.conf");
            FAIL() << "accepted: " << text;
        } catch (const VelaBaseException& e) {
            EXPECT_TRUE(e.getMessage().beginsWith("my.conf:")) << e.getMessage();
        }
    }
    VELString s;
    EXPECT_TRUE(cfg.getString("S", "k", s));
    EXPECT_THROW(cfg.load("/nonexistent/tarn.conf"), VelaBaseException);
}

TEST(TraceLog, LevelFiltersTheFileButCaptureSeesAllAndTheFileRotates) {
    tarntest::TempDir dir;
    const auto path = dir.path() / "trace.log";
    int oldLevel = tarn::TraceLog::getLevel();
    tarn::TraceLog::openFile(VELString(path.string()));
    tarn::TraceLog::setLevel(2);
    {
        tarn::LogCapture capture;
        AdapterUtils::log("src::one", "an error", 1);
        AdapterUtils::log("src::two", "some detail", 4);
        EXPECT_TRUE(capture.contains("src::one", "an error", 1));
        EXPECT_TRUE(capture.contains("src::two", "some detail", 4));
        EXPECT_EQ(capture.count("some detail"), 1u);
    }
    tarn::TraceLog::useStderr();
    tarn::TraceLog::setLevel(oldLevel);
    const std::string text = tarntest::readFile(path);
    EXPECT_NE(text.find("<1> src::one: an error\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("some detail"), std::string::npos);

    const auto rotating = dir.path() / "rotating.log";
    tarn::TraceLog::openFile(VELString(rotating.string()), 200);
    for (int i = 0; i < 10; ++i) {
        AdapterUtils::log("rotation", "a line long enough to pass the limit soon", 1);
    }
    tarn::TraceLog::useStderr();
    EXPECT_TRUE(std::filesystem::exists(dir.path() / "rotating.log.1"));
    EXPECT_LE(std::filesystem::file_size(rotating), 400u);
}

}  // namespace
