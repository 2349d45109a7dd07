// TARNConfigManager: the process-wide configuration, read from an INI file
// (tarn.conf in the state directory). Sections and keys are matched without
// regard to letter case. Values are read typed; a value that does not fit its
// type is logged as a configuration error and treated as absent, so the
// caller's default applies visibly rather than silently.
//
//   [Section]
//   Key = value        ; comments start with ';' or '#' at the start of a line
#pragma once

#include <cstdint>
#include <map>
#include <shared_mutex>
#include <vector>

#include "vela/VELString.h"

class TARNConfigManager {
  public:
    static TARNConfigManager& getInstance();

    // Replaces the configuration with the file's content. Throws
    // VelaBaseException ("Configuration") naming file and line on a syntax
    // error, or when the file cannot be read; the old content then stays.
    void load(const VELString& path);
    // The same from text (name is used in error messages).
    void loadFromString(const VELString& text, const VELString& name = "tarn.conf");
    void clear();
    const VELString& getPath() const { return _path; }

    // Each returns whether the key exists with a valid value of that type.
    bool getString(const VELString& section, const VELString& key, VELString& value) const;
    bool getUint32(const VELString& section, const VELString& key, std::uint32_t& value) const;
    bool getBool(const VELString& section, const VELString& key, bool& value) const;

    // Sets a value in memory (tests, command-line overrides).
    void setString(const VELString& section, const VELString& key, const VELString& value);
    void remove(const VELString& section, const VELString& key);

    // Strict parsers shared with start-up validation. Unsigned: decimal digits
    // only, within 32 bits. Booleans: true/false, yes/no, on/off, 1/0, any case.
    static bool parseUint32(const VELString& text, std::uint32_t& value);
    static bool parseBool(const VELString& text, bool& value);

    // Sections in file order, each with its keys in file order (for --help and dumps).
    std::vector<std::pair<VELString, std::vector<std::pair<VELString, VELString>>>> entries() const;

  private:
    TARNConfigManager() = default;
    using Key = std::pair<VELString, VELString>;  // lower-cased section and key
    struct Entry {
        VELString section;
        VELString key;
        VELString value;
        std::size_t order;
    };
    const Entry* find(const VELString& section, const VELString& key) const;

    mutable std::shared_mutex _m;
    std::map<Key, Entry> _values;
    VELString _path;
    std::size_t _next = 0;
};
