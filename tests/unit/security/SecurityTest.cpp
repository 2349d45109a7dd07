#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "HttpTestSupport.h"
#include "core/CommandLine.h"
#include "core/StateDirectory.h"
#include "security/PasswordHash.h"
#include "security/TLSCertificate.h"
#include "security/UsersFile.h"
#include "tarn/LogCapture.h"
#include "vela/VelaBaseException.h"

namespace {

using tarntest::TempDir;

unsigned modeOf(const std::filesystem::path& p) {
    struct stat st {};
    EXPECT_EQ(::stat(p.c_str(), &st), 0);
    return st.st_mode & 0777;
}

TEST(PasswordHash, SaltedHashesVerifyOnlyTheirPassword) {
    VELString a = tarn::PasswordHash::hash("secret", 1000);
    VELString b = tarn::PasswordHash::hash("secret", 1000);
    EXPECT_NE(a, b);  // different salts
    EXPECT_TRUE(a.beginsWith("pbkdf2-sha256$1000$"));
    EXPECT_FALSE(a.contains("secret"));
    EXPECT_TRUE(tarn::PasswordHash::verify("secret", a));
    EXPECT_TRUE(tarn::PasswordHash::verify("secret", b));
    EXPECT_FALSE(tarn::PasswordHash::verify("Secret", a));
    EXPECT_FALSE(tarn::PasswordHash::verify("", a));
    EXPECT_TRUE(tarn::PasswordHash::isWellFormed(a));
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
    EXPECT_EQ(tarn::UsersFile::rolesOf("writer").vector(),
              (std::vector<VELString>{"reader", "writer"}));
    EXPECT_TRUE(tarn::UsersFile::rolesOf("root").isEmpty());
}

TEST(UsersFile, AdministrationAndVerificationFollowTheFile) {
    TempDir dir;
    tarn::UsersFile users(VELString((dir.path() / "users").string()));
    VELValSlist<VELString> roles;
    using R = tarn::security::IAuthenticator;
    EXPECT_EQ(users.verify("alice", "pw", roles), R::UNKNOWN_USER);  // no file yet
    users.addUser("alice", "pw", "writer");
    EXPECT_EQ(modeOf(dir.path() / "users"), 0600u);
    EXPECT_EQ(users.verify("alice", "pw", roles), R::OK);
    EXPECT_EQ(roles.vector(), (std::vector<VELString>{"reader", "writer"}));
    EXPECT_EQ(users.verify("alice", "PW", roles), R::WRONG_PASSWORD);
    EXPECT_EQ(users.verify("alice", "pw", roles), R::OK);  // a failure does not poison the cache

    // Another instance (tarn-user) changes the file: this one sees it.
    tarn::UsersFile admin(users.getPath());
    admin.setPassword("alice", "new");
    EXPECT_EQ(users.verify("alice", "pw", roles), R::WRONG_PASSWORD);
    EXPECT_EQ(users.verify("alice", "new", roles), R::OK);
    admin.setRole("alice", "reader");
    EXPECT_EQ(users.verify("alice", "new", roles), R::OK);
    EXPECT_EQ(roles.vector(), (std::vector<VELString>{"reader"}));
    admin.addUser("bob", "b", "admin");
    ASSERT_EQ(users.list().size(), 2u);
    admin.removeUser("alice");
    EXPECT_EQ(users.verify("alice", "new", roles), R::UNKNOWN_USER);
    EXPECT_EQ(users.list().size(), 1u);

    EXPECT_THROW(admin.addUser("bob", "x", "reader"), VelaBaseException);
    EXPECT_THROW(admin.addUser("b:c", "x", "reader"), VelaBaseException);
    EXPECT_THROW(admin.addUser("carol", "x", "superuser"), VelaBaseException);
    EXPECT_THROW(admin.removeUser("nobody"), VelaBaseException);
    EXPECT_THROW(admin.setPassword("nobody", "x"), VelaBaseException);
    EXPECT_EQ(users.list().size(), 1u);
}

TEST(TLSCertificate, GeneratedPairIsUsableAndHalfPairsAreRefused) {
    TempDir dir;
    tarn::StateDirectory state(VELString(dir.path().string()));
    VELString cert = state.path("server.crt");
    VELString key = state.path("server.key");
    tarn::LogCapture log;
    EXPECT_TRUE(state.ensureCertificate(cert, key, "cimom.example.org"));
    EXPECT_FALSE(state.ensureCertificate(cert, key, "cimom.example.org"));
    EXPECT_EQ(modeOf(key.str()), 0600u);
    VELString fp = tarn::TLSCertificate::fingerprint(cert);
    EXPECT_EQ(fp.length(), 95u);  // 32 bytes as "XX:" pairs
    EXPECT_TRUE(log.containsText("SHA-256 fingerprint " + fp.str()));
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

}  // namespace
