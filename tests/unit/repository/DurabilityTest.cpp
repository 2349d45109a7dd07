// A process that is killed (SIGKILL) in the middle of a stream of creates
// loses none of the creates it had been told were done, and leaves a
// database that passes SQLite's integrity check.
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include "RepositoryTestSupport.h"

namespace repotest {
namespace {

// In the child: creates instances d<first>, d<first+1>, ... and writes the
// number of each to the pipe once its create has returned.
[[noreturn]] void createForever(const std::string& path, std::uint32_t first, int out) {
    try {
        tarn::Repository repo(path);
        for (std::uint32_t i = first;; ++i) {
            std::string id = "d" + std::to_string(i);
            repo.createInstance(kNs, *instance("T_Level1", {{"Id", text(id.c_str())},
                                                            {"Count", CVelaValue::makeUint32(i)}}));
            if (::write(out, &i, sizeof i) != sizeof i) {
                ::_exit(2);
            }
        }
    } catch (...) {
        ::_exit(3);
    }
}

// Reads acknowledgements (a write of four bytes to a pipe is never split)
// until `wanted` have arrived, then kills the child and reads the rest;
// returns the highest number acknowledged, or -1.
long collect(int in, pid_t child, std::size_t wanted) {
    long highest = -1;
    for (std::size_t got = 0;; ++got) {
        if (got == wanted) {
            ::kill(child, SIGKILL);
        }
        pollfd p{in, POLLIN, 0};
        if (::poll(&p, 1, 120000) <= 0) {
            ADD_FAILURE() << "no acknowledgement within the time limit";
            ::kill(child, SIGKILL);
            return highest;
        }
        std::uint32_t i;
        if (::read(in, &i, sizeof i) != sizeof i) {
            return highest;  // the child is gone and everything it wrote is read
        }
        highest = static_cast<long>(i);
    }
}

TEST(Durability, AcknowledgedCreatesSurviveAKillInTheMiddleOfAStream) {
    TempDir dir;
    std::string path = (dir.path() / "repository.db").string();
    {
        tarn::Repository repo(path);
        ASSERT_EQ(loadMof(repo, kSchema), "");
    }
    std::uint32_t next = 0;
    for (int round = 0; round < 3; ++round) {
        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(fds[0]);
            createForever(path, next, fds[1]);
        }
        ::close(fds[1]);
        long highest = collect(fds[0], child, 150 + 50 * round);
        ::close(fds[0]);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL)
            << "the child ended on its own with status " << status;
        ASSERT_GE(highest, static_cast<long>(next));

        tarn::Repository repo(path);
        EXPECT_EQ(repo.checkIntegrity(), "ok");
        for (long i = 0; i <= highest; ++i) {
            std::string id = "d" + std::to_string(i);
            VELSmrPtr<IVelaObject> got;
            ASSERT_EQ(
                codeOf([&] {
                    got = repo.getInstance(kNs, *name("T_Level1", {{"Id", text(id.c_str())}}));
                }),
                0)
                << "acknowledged create " << id << " is lost (round " << round << ")";
            EXPECT_EQ(got->getProperty("Count")->getValue()->getUnsigned(),
                      static_cast<std::uint64_t>(i));
        }
        // At most the one create in flight got in without being acknowledged.
        std::uint64_t stored = repo.countInstances(kNs, "T_Level1", false);
        EXPECT_GE(stored, static_cast<std::uint64_t>(highest + 1));
        EXPECT_LE(stored, static_cast<std::uint64_t>(highest + 2));
        next = static_cast<std::uint32_t>(stored);
    }
}

}  // namespace
}  // namespace repotest
