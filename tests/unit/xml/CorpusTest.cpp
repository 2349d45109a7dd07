// The fuzzer's seed corpus is made of realistic requests: each must parse.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "vela/CIMUtil.h"
#include "vela/VELCIMMessage.h"

namespace {

TEST(Corpus, EverySeedIsAccepted) {
    std::filesystem::path dir =
        std::filesystem::path(TARN_SOURCE_DIR) / "tests/fuzz/corpus/fuzz_cimxml";
    std::size_t seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        std::ifstream in(entry.path(), std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        SCOPED_TRACE(entry.path().filename().string());
        if (text.str().rfind("<INSTANCE", 0) == 0) {
            EXPECT_NO_THROW(CIMUtil::parseEmbeddedInstance(text.str()));
        } else {
            VELCIMMessage m(text.str());
            EXPECT_TRUE(m.isWellFormed()) << m.getErrorText();
        }
        ++seeds;
    }
    EXPECT_GE(seeds, 20u);
}

}  // namespace
