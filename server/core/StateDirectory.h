// tarn::StateDirectory: the directory of a server's state, and the files a
// first start creates in it with safe defaults.
#pragma once

#include "tarn/PortInfo.h"
#include "vela/VELString.h"

namespace tarn {

class StateDirectory {
  public:
    // The tarn.conf written on a first start: every key, commented out, with
    // its default.
    static const char* const CONFIGURATION_TEMPLATE;

    explicit StateDirectory(VELString directory) : _dir(std::move(directory)) {}
    const VELString& getDirectory() const { return _dir; }

    // Creates the directory (mode 0700) when it is missing, and makes every
    // file the process creates from now on private (umask 077: mode 0600).
    // Throws VelaBaseException ("IO") when it cannot create it.
    void prepare() const;
    // name inside the directory; an absolute name stays as it is.
    VELString path(const VELString& name) const;

    // Each creates its file when missing and returns true when it did; they
    // throw VelaBaseException when a file cannot be written.
    bool ensureConfiguration() const;
    bool ensurePortSettings(const VELString& path, const PortInfo& ports) const;
    // A users file with the user "admin" (role admin) and a random password,
    // written to admin.password (mode 0600) in the directory.
    bool ensureUsers(const VELString& usersPath) const;
    // A self-signed pair when both files are missing. Throws when only one
    // of them exists (a key without its certificate is a mistake to report).
    bool ensureCertificate(const VELString& certificatePath, const VELString& keyPath,
                           const VELString& hostName) const;

    // Writes content to path with the given mode, replacing it atomically.
    static void writeFile(const VELString& path, const VELString& content, unsigned mode);

  private:
    VELString _dir;
};

}  // namespace tarn
