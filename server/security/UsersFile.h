// tarn::UsersFile: the users of the object manager and their password hashes,
// kept in one text file (mode 0600) in the state directory:
//
//   # comment
//   <name>:<role>:<password hash>
//
// Names are 1 to 64 characters of letters, digits, '.', '_' and '-'. The role
// is reader, writer or admin; each includes the ones before it (a writer may
// read, an admin may write). Hashes are PasswordHash texts.
//
// As the server's authenticator it rereads the file when it changes, so that
// tarn-user takes effect without a restart (a watch on the directory tells of
// changes; where there is none, the file is stat'ed per check). Successful
// checks are remembered as a keyed hash of the password until they have not
// been used for a while (AuthCacheSeconds), so that a client that sends its
// credentials with every request does not pay the slow hash each time; a
// change of the file forgets them all, and failures are never remembered.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <shared_mutex>
#include <unordered_map>
#include <vector>

#include "tarn/security/IAuthenticator.h"
#include "vela/VELString.h"

namespace tarn {

class UsersFile : public security::IAuthenticator {
  public:
    struct User {
        VELString name;
        VELString role;
        VELString hash;
    };

    explicit UsersFile(VELString path, std::chrono::seconds cacheTime = std::chrono::seconds(300));
    ~UsersFile() override;
    UsersFile(const UsersFile&) = delete;
    UsersFile& operator=(const UsersFile&) = delete;
    const VELString& getPath() const { return _path; }

    Result verify(const VELString& userName, const VELString& password,
                  VELValSlist<VELString>& roles) override;
    // True (and the roles) when these credentials were checked successfully
    // lately: verify would not need the slow hash.
    bool isRemembered(const VELString& userName, const VELString& password,
                      VELValSlist<VELString>& roles);

    // Administration. Each takes an exclusive lock on "<path>.lock", reads the
    // file, changes it and replaces it atomically (mode 0600). They throw
    // VelaBaseException ("Security") naming the problem: an invalid name or
    // role, a user that exists (add) or does not (remove, setPassword,
    // setRole), a file that cannot be read or written.
    void addUser(const VELString& name, const VELString& password, const VELString& role);
    void removeUser(const VELString& name);
    void setPassword(const VELString& name, const VELString& password);
    void setRole(const VELString& name, const VELString& role);
    // The users in file order; throws when the file cannot be read (a missing
    // file has no users).
    std::vector<User> list() const;
    bool exists() const;

    static bool isValidName(const VELString& name);
    static bool isValidRole(const VELString& role);
    // The roles a role grants: reader -> reader; writer -> reader, writer;
    // admin -> reader, writer, admin.
    static VELValSlist<VELString> rolesOf(const VELString& role);
    // Parses file content; malformed lines are left out and described in
    // problems ("<name>:<line>: <why>").
    static std::vector<User> parse(const VELString& text, const VELString& name,
                                   std::vector<VELString>* problems);
    static VELString format(const std::vector<User>& users);

  private:
    struct CacheEntry {
        CacheEntry(std::string mac, VELValSlist<VELString> r, std::chrono::steady_clock::rep until)
            : passwordMac(std::move(mac)), roles(std::move(r)), expires(until) {}
        std::string passwordMac;
        VELValSlist<VELString> roles;
        // steady_clock ticks; atomic, since hits extend it under a shared lock
        std::atomic<std::chrono::steady_clock::rep> expires;
    };
    template <class Change>
    void modify(Change change);
    // Rereads the file if it may have changed (takes _m).
    void refresh();
    void reloadIfChanged();  // with _m held exclusively
    // False when the watch tells that the file has not changed since it was
    // read (it drains the watch's events; safe without _m).
    bool mayHaveChanged();
    // With _m held (shared will do); a hit is remembered for longer.
    bool remembered(const VELString& userName, const std::string& passwordMac,
                    VELValSlist<VELString>& roles);
    std::string mac(const VELString& password) const;

    VELString _path;
    std::chrono::seconds _cacheTime;
    std::string _macKey;
    std::uint64_t _id;  // tells this instance's MAC contexts from others'
    std::string _fileName;
    int _watch = -1;  // inotify on the file's directory, or -1
    std::atomic<bool> _watchFailed{false};

    std::shared_mutex _m;
    std::vector<User> _users;
    struct Stamp {
        bool present = false;
        ino_t inode = 0;
        off_t size = 0;
        std::int64_t mtimeNs = 0;
        bool operator==(const Stamp&) const = default;
    } _stamp;
    std::atomic<bool> _loaded{false};
    std::unordered_map<std::string, CacheEntry> _cache;
};

}  // namespace tarn
