// The repository used by several threads at once: creates, enumerations and
// class lookups side by side, racing creates of the same instance, and new
// classes becoming visible to readers on other threads.
#include <atomic>
#include <map>
#include <thread>

#include "RepositoryTestSupport.h"

namespace repotest {
namespace {

class RepositoryConcurrency : public RepositoryTest {};

TEST_F(RepositoryConcurrency, WritersReadersAndSchemaChangesRunSideBySide) {
    constexpr int kWriters = 4;
    constexpr int kEach = 60;
    std::atomic<bool> writing{true};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int w = 0; w < kWriters; ++w) {
        threads.emplace_back([&, w] {
            for (int i = 0; i < kEach; ++i) {
                std::string id = "w" + std::to_string(w) + "-" + std::to_string(i);
                const char* cls = i % 2 ? "T_Level3" : "T_Level2";
                if (codeOf([&] {
                        repo->createInstance(
                            kNs, *instance(cls, {{"Id", text(id.c_str())},
                                                 {"Count", CVelaValue::makeUint32(i)}}));
                    }) != 0) {
                    ++failures;
                }
            }
        });
    }
    // Readers: every enumeration sees whole instances, and never fewer than before.
    std::atomic<int> readerErrors{0};
    for (int r = 0; r < 2; ++r) {
        threads.emplace_back([&] {
            std::size_t last = 0;
            do {
                std::size_t n = 0;
                repo->enumerateInstances(
                    kNs, "T_Level1", true, [&](const VELSmrPtr<IVelaObject>& o) {
                        const std::string id = valueText(*o, "Id");
                        auto dash = id.find('-');
                        if (dash == std::string::npos ||
                            valueText(*o, "Count") != id.substr(dash + 1) ||
                            o->getPropertyCount() != (o->getClassName() == "T_Level3" ? 5u : 4u)) {
                            ++readerErrors;
                        }
                        ++n;
                        return true;
                    });
                if (n < last) {
                    ++readerErrors;
                }
                last = n;
            } while (writing.load());
        });
    }
    // Schema changes while all this runs, and lookups of them.
    std::atomic<int> published{-1};
    threads.emplace_back([&] {
        for (int k = 0; k < 20; ++k) {
            std::string mof = "class T_New" + std::to_string(k) + " : T_Level1 { };\n";
            if (loadMof(*repo, mof) != "") {
                ++failures;
            }
            published.store(k, std::memory_order_release);
        }
    });
    threads.emplace_back([&] {
        auto cache = repo->catalog();
        do {
            int k = published.load(std::memory_order_acquire);
            if (k >= 0 && cache->getClass(kNs, "T_New" + std::to_string(k)).isNull()) {
                ++readerErrors;
            }
            if (cache->getClass(kNs, "T_Level3").isNull()) {
                ++readerErrors;
            }
        } while (writing.load() || published.load() < 19);
    });
    for (int w = 0; w < kWriters; ++w) {
        threads[static_cast<std::size_t>(w)].join();
    }
    writing.store(false);
    for (std::size_t t = kWriters; t < threads.size(); ++t) {
        threads[t].join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(readerErrors.load(), 0);
    EXPECT_EQ(repo->countInstances(kNs, "T_Base", true),
              static_cast<std::uint64_t>(kWriters * kEach));
    EXPECT_EQ(repo->catalog()->getSubclasses(kNs, "T_Level1", false).size(), 21u);
    EXPECT_EQ(repo->checkIntegrity(), "ok");
}

TEST_F(RepositoryConcurrency, OfRacingCreatesOfOneInstanceExactlyOneSucceeds) {
    constexpr int kThreads = 6;
    constexpr int kKeys = 25;
    std::vector<std::map<int, int>> codes(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int k = 0; k < kKeys; ++k) {
                std::string id = "same" + std::to_string(k);
                codes[static_cast<std::size_t>(t)][k] = codeOf([&] {
                    repo->createInstance(
                        kNs, *instance("T_Level1", {{"Id", text(id.c_str())},
                                                    {"Count", CVelaValue::makeUint32(t)}}));
                });
            }
        });
    }
    for (auto& th : threads) {
        th.join();
    }
    for (int k = 0; k < kKeys; ++k) {
        int ok = 0;
        for (int t = 0; t < kThreads; ++t) {
            int code = codes[static_cast<std::size_t>(t)][k];
            EXPECT_TRUE(code == 0 || code == 11)
                << "key " << k << " thread " << t << " code " << code;
            ok += code == 0 ? 1 : 0;
        }
        EXPECT_EQ(ok, 1) << "key " << k;
    }
    EXPECT_EQ(repo->countInstances(kNs, "T_Level1", false), static_cast<std::uint64_t>(kKeys));
}

}  // namespace
}  // namespace repotest
