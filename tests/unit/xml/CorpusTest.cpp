// The fuzzer's seed corpus is made of realistic requests: each must parse,
// and each of them cut short at any byte must be refused with a reason.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "vela/CIMUtil.h"
#include "vela/VELCIMMessage.h"

namespace {

TEST(Corpus, EverySeedIsAcceptedAndEveryPrefixOfItRefused) {
    std::filesystem::path dir =
        std::filesystem::path(TARN_SOURCE_DIR) / "tests/fuzz/corpus/fuzz_cimxml";
    std::size_t seeds = 0;
    for (const auto& entry : std::filesystem::directory_iterator(dir)) {
        std::ifstream in(entry.path(), std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        std::string full = text.str();
        SCOPED_TRACE(entry.path().filename().string());
        ++seeds;
        if (full.rfind("<INSTANCE", 0) == 0) {
            EXPECT_NO_THROW(CIMUtil::parseEmbeddedInstance(full));
            continue;
        }
        VELCIMMessage m(full);
        EXPECT_TRUE(m.isWellFormed()) << m.getErrorText();
        full.erase(full.find_last_not_of(" \r\n\t") + 1);
        for (std::size_t n = 0; n < full.size(); ++n) {
            VELCIMMessage cut(full.substr(0, n));
            ASSERT_FALSE(cut.isWellFormed()) << "prefix of " << n << " bytes accepted";
            ASSERT_FALSE(cut.getErrorText().isNull()) << n;
        }
    }
    EXPECT_GE(seeds, 20u);
}

}  // namespace
