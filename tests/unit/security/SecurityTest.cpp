// Passwords, the users file, the server certificate, and failed-login
// throttling with the client keys it counts under and the authenticator that
// puts it in front of the users file.
#include <gtest/gtest.h>

#include <fstream>
#include <future>

#include "HttpTestSupport.h"
#include "core/StateDirectory.h"
#include "security/ClientAddress.h"
#include "security/LoginGuard.h"
#include "security/LoginThrottle.h"
#include "security/PasswordHash.h"
#include "security/TLSCertificate.h"
#include "security/UsersFile.h"
#include "tarn/LogCapture.h"
#include "vela/VelaBaseException.h"

namespace {

using tarntest::TempDir;

TEST(PasswordHash, SaltedHashesVerifyOnlyTheirPassword) {
    VELString a = tarn::PasswordHash::hash("secret", 1000);
    EXPECT_NE(a, tarn::PasswordHash::hash("secret", 1000));  // different salts
    EXPECT_TRUE(tarn::PasswordHash::isWellFormed(a));
    EXPECT_TRUE(tarn::PasswordHash::verify("secret", a));
    EXPECT_FALSE(tarn::PasswordHash::verify("Secret", a));
    EXPECT_FALSE(tarn::PasswordHash::verify("", a));
    // A vector computed elsewhere (Python's hashlib): PBKDF2-HMAC-SHA256 of
    // "password" with salt "saltsaltsaltsalt" and 1000 iterations.
    const VELString known =
        "pbkdf2-sha256$1000$c2FsdHNhbHRzYWx0c2FsdA==$8nX7hwFEzIB8aPajJTYK8weHQc5Ngz0pFVAKvSu4jQA=";
    EXPECT_TRUE(tarn::PasswordHash::verify("password", known));
    EXPECT_FALSE(tarn::PasswordHash::verify("passwore", known));
}

TEST(UsersFile, ParseKeepsValidLinesAndExplainsTheOthers) {
    VELString h = tarn::PasswordHash::hash("x", 1000);
    VELString text = "# comment\n\nalice:admin:" + h + "\nbob:root:" + h + "\nca rol:reader:" + h +
                     "\ndave:reader:nohash\nerin\nalice:reader:" + h + "\nfrank:writer:" + h + "\n";
    std::vector<VELString> problems;
    auto users = tarn::UsersFile::parse(text, "users", &problems);
    ASSERT_EQ(users.size(), 2u);
    EXPECT_EQ(users[0].name, "alice");
    EXPECT_EQ(users[0].role, "admin");
    EXPECT_EQ(users[1].name, "frank");
    std::vector<VELString> expected = {
        "users:4: invalid role 'root' of user 'bob'",
        "users:5: invalid user name",
        "users:6: malformed password hash of user 'dave'",
        "users:7: expected name:role:hash",
        "users:8: user 'alice' is listed twice; the first entry counts",
    };
    EXPECT_EQ(problems, expected);
}

// Adding, changing and removing users through tarn-user while tarnd runs is
// StateAndSecurityTest.TarnUserChangesTakeEffectInTheRunningServer; here what it cannot show.
TEST(UsersFile, VerificationFollowsTheFileAndMistakesChangeNothing) {
    TempDir dir;
    tarn::UsersFile users(VELString((dir.path() / "users").string()));
    VELValSlist<VELString> roles;
    using R = tarn::security::IAuthenticator;
    EXPECT_EQ(users.verify("alice", "pw", roles), R::UNKNOWN_USER);  // no file yet
    users.addUser("alice", "pw", "writer");
    EXPECT_EQ(users.verify("alice", "pw", roles), R::OK);
    EXPECT_EQ(roles.vector(), (std::vector<VELString>{"reader", "writer"}));
    EXPECT_EQ(users.verify("alice", "PW", roles), R::WRONG_PASSWORD);
    EXPECT_EQ(users.verify("alice", "pw", roles), R::OK);  // a failure does not poison the cache
    tarn::UsersFile admin(users.getPath());                // another instance changes the file
    admin.setPassword("alice", "new");
    EXPECT_EQ(users.verify("alice", "pw", roles), R::WRONG_PASSWORD);
    EXPECT_THROW(admin.addUser("alice", "x", "reader"), VelaBaseException);
    EXPECT_THROW(admin.addUser("b:c", "x", "reader"), VelaBaseException);
    EXPECT_THROW(admin.addUser("carol", "x", "superuser"), VelaBaseException);
    EXPECT_THROW(admin.removeUser("nobody"), VelaBaseException);
    EXPECT_THROW(admin.setPassword("nobody", "x"), VelaBaseException);
    EXPECT_EQ(users.list().size(), 1u);
}

// The certificate of a first start, its fingerprint in the log and HTTPS with
// it are StateAndSecurityTest's; here the pairs that must be refused.
TEST(TLSCertificate, AGeneratedPairIsKeptAndMismatchedOrHalfPairsAreRefused) {
    TempDir dir;
    tarn::StateDirectory state(VELString(dir.path().string()));
    VELString cert = state.path("server.crt");
    VELString key = state.path("server.key");
    tarn::LogCapture log;
    EXPECT_TRUE(state.ensureCertificate(cert, key, "cimom.example.org"));
    EXPECT_FALSE(state.ensureCertificate(cert, key, "cimom.example.org"));
    VELString fp = tarn::TLSCertificate::fingerprint(cert);
    EXPECT_EQ(fp.length(), 95u);  // 32 bytes as "XX:" pairs
    EXPECT_NO_THROW(tarn::TLSCertificate::makeServerContext(cert, key));
    // Another key does not match this certificate.
    VELString cert2 = state.path("other.crt");
    VELString key2 = state.path("other.key");
    tarn::TLSCertificate::generateSelfSigned(cert2, key2, "localhost");
    EXPECT_NE(tarn::TLSCertificate::fingerprint(cert2), fp);
    EXPECT_THROW(tarn::TLSCertificate::makeServerContext(cert, key2), VelaBaseException);
    std::filesystem::remove(key2.str());
    EXPECT_THROW(state.ensureCertificate(cert2, key2, "localhost"), VelaBaseException);
    EXPECT_THROW(tarn::TLSCertificate::fingerprint(state.path("none.crt")), VelaBaseException);
}

using tarn::LoginThrottle;
using Outcome = LoginThrottle::Outcome;
using namespace std::chrono_literals;

TEST(ClientKey, Ipv6CountsPerSlash64AndMappedIpv4AsIpv4) {
    const std::pair<const char*, const char*> cases[] = {
        {"192.0.2.7", "192.0.2.7"},
        {"::ffff:192.0.2.7", "192.0.2.7"},
        {"2001:db8:1:2:3:4:5:6", "2001:0db8:0001:0002::/64"},
        {"2001:db8:1:2::99", "2001:0db8:0001:0002::/64"},
        {"2001:db8:1:3::1", "2001:0db8:0001:0003::/64"},
        {"::1", "0000:0000:0000:0000::/64"},
        {"not an address", "not an address"},
    };
    for (const auto& [address, key] : cases) {
        EXPECT_EQ(tarn::clientKey(address), key) << address;
    }
}

class LoginThrottleTest : public ::testing::Test {
  protected:
    // A login of user from client that fails (or succeeds); the wait begin()
    // asked for, or 0 when it was checked.
    std::uint32_t attempt(const std::string& client, const std::string& user, bool ok = false) {
        auto v = throttle.begin(client, user, now);
        if (v.wait == 0) {
            throttle.finish(client, user, ok ? Outcome::Success : Outcome::Failure, now);
        }
        return v.wait;
    }

    LoginThrottle throttle{LoginThrottle::Settings{3, 1s, 8s, 60s, 4096}};
    LoginThrottle::Clock::time_point now = LoginThrottle::Clock::now();
};

TEST_F(LoginThrottleTest, FreeFailuresThenADoublingBackoffUpToTheMaximum) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(attempt("a", "alice"), 0u) << i;
    }
    // The third failure started 1 s: then 2, 4, 8, 8 for each further one.
    for (std::uint32_t backoff : {1u, 2u, 4u, 8u, 8u}) {
        EXPECT_EQ(attempt("a", "alice"), backoff);
        now += std::chrono::seconds(backoff) - 1ms;
        EXPECT_EQ(attempt("a", "alice"), 1u);  // still barred
        now += 1ms;
        EXPECT_EQ(attempt("a", "alice"), 0u);  // checked, and failed again
    }
}

TEST_F(LoginThrottleTest, BarsPerClientAndPerUserAndASuccessClearsBoth) {
    for (int i = 0; i < 3; ++i) {
        attempt("a", "alice");
    }
    EXPECT_GT(attempt("a", "bob"), 0u);  // the client is barred, whatever the user
    EXPECT_GT(attempt("a", "alice"), 0u);
    // Another client is not barred by the user name alone...
    EXPECT_EQ(attempt("b", "alice", true), 0u);
    // ...and its success cleared the user: the barred client's bar remains.
    EXPECT_GT(attempt("a", "carol"), 0u);
    EXPECT_EQ(attempt("c", "alice"), 0u);
}

TEST_F(LoginThrottleTest, OnlyCleanClientsPassABarredUserAndOneAtATime) {
    for (const char* client : {"a", "b", "c"}) {
        attempt(client, "alice");  // three clients, one failure each: alice is barred
    }
    // b has failed itself: the user's bar holds it.
    EXPECT_GT(attempt("b", "alice"), 0u);
    // A clean client is checked, one at a time.
    auto first = throttle.begin("d", "alice", now);
    EXPECT_EQ(first.wait, 0u);
    EXPECT_TRUE(first.clean);
    EXPECT_EQ(throttle.begin("e", "alice", now).wait, 1u);
    throttle.finish("d", "alice", Outcome::Failure, now);
    EXPECT_FALSE(throttle.begin("d", "bob", now).clean);
}

TEST_F(LoginThrottleTest, AbandonedChecksAndOldFailuresAreForgotten) {
    auto v = throttle.begin("a", "alice", now);
    ASSERT_EQ(v.wait, 0u);
    throttle.finish("a", "alice", Outcome::Abandoned, now);  // never checked: no failure
    for (int i = 0; i < 2; ++i) {
        attempt("a", "alice");
    }
    now += 61s;  // the two failures are forgotten
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(attempt("a", "alice"), 0u) << i;
    }
    EXPECT_GT(attempt("a", "alice"), 0u);
}

TEST_F(LoginThrottleTest, TracksABoundedNumberOfKeys) {
    LoginThrottle small(LoginThrottle::Settings{1, 60s, 60s, 600s, 16});
    for (int i = 0; i < 1000; ++i) {
        std::string client = "c" + std::to_string(i);
        ASSERT_EQ(small.begin(client, "u" + std::to_string(i), now).wait, 0u);
        small.finish(client, "u" + std::to_string(i), Outcome::Failure, now);
        now += 1ms;
    }
    // The newest are kept (and barred); the oldest made room.
    EXPECT_GT(small.begin("c999", "x", now).wait, 0u);
    EXPECT_EQ(small.begin("c0", "y", now).wait, 0u);
}

// A users file whose hashes cost `iterations` each.
std::shared_ptr<tarn::UsersFile> usersWith(const tarntest::TempDir& dir, std::uint32_t iterations) {
    VELString path((dir.path() / "users").string());
    std::ofstream(path.str()) << tarn::UsersFile::format(
        {{"alice", "reader", tarn::PasswordHash::hash("right", iterations)}});
    return std::make_shared<tarn::UsersFile>(path);
}

TEST(LoginGuard, ThrottledLoginsCostNoHashButRememberedOnesPass) {
    tarntest::TempDir dir;
    tarn::LoginGuard::Settings settings;
    settings.throttle.freeFailures = 2;
    settings.throttle.firstBackoff = 60s;
    tarn::LoginGuard guard(usersWith(dir, 1000), settings);
    using R = tarn::security::IAuthenticator;
    VELValSlist<VELString> roles;
    std::uint32_t retry = 0;
    EXPECT_EQ(guard.verifyFrom("192.0.2.9", "alice", "wrong", roles, retry), R::WRONG_PASSWORD);
    EXPECT_EQ(guard.verifyFrom("192.0.2.9", "mallory", "x", roles, retry), R::UNKNOWN_USER);
    // The client is barred: even the right password is not checked.
    EXPECT_EQ(guard.verifyFrom("192.0.2.9", "alice", "right", roles, retry), R::THROTTLED);
    EXPECT_EQ(retry, 60u);
    EXPECT_EQ(guard.verifyFrom("192.0.2.1", "alice", "right", roles, retry), R::OK);
    EXPECT_EQ(roles.vector(), (std::vector<VELString>{"reader"}));
    // Now that alice is logged in, her credentials pass from anywhere.
    roles = {};
    EXPECT_EQ(guard.verifyFrom("192.0.2.9", "alice", "right", roles, retry), R::OK);
    EXPECT_EQ(roles.vector(), (std::vector<VELString>{"reader"}));
    EXPECT_EQ(guard.verifyFrom("192.0.2.9", "alice", "wrong", roles, retry), R::THROTTLED);
}

TEST(LoginGuard, LoginsBeyondTheHashQueueAreBusyAtOnce) {
    tarntest::TempDir dir;
    tarn::LoginGuard::Settings settings;
    settings.hashThreads = 1;
    settings.hashQueue = 1;
    // A hash of a second or so: the first login holds the one thread while
    // the others arrive.
    tarn::LoginGuard guard(usersWith(dir, 2000000), settings);
    using R = tarn::security::IAuthenticator;
    std::vector<std::future<R::Result>> logins;
    for (int i = 0; i < 5; ++i) {
        logins.push_back(std::async(std::launch::async, [&guard, i] {
            VELValSlist<VELString> roles;
            std::uint32_t retry = 0;
            // Clean clients, so that the throttle lets every one through.
            return guard.verifyFrom("192.0.2." + VELString::valueOf(i), "alice", "wrong", roles,
                                    retry);
        }));
    }
    int busy = 0;
    int checked = 0;
    for (auto& l : logins) {
        R::Result r = l.get();
        busy += r == R::BUSY;
        checked += r == R::WRONG_PASSWORD;
    }
    // One hashed at a time and one waiting at most; the others were refused
    // at once, not queued.
    EXPECT_GE(checked, 1);
    EXPECT_LE(checked, 2);
    EXPECT_EQ(busy + checked, 5);
}

}  // namespace
