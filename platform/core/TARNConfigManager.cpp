#include "vela/TARNConfigManager.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <mutex>
#include <sstream>

#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace {

const char* const WHO = "TARNConfigManager";

void reportBad(const VELString& section, const VELString& key, const VELString& value,
               const char* expected) {
    AdapterUtils::log(WHO,
                      "Configuration error: [" + section + "] " + key + " = '" + value +
                          "' is not " + expected + "; the default applies",
                      1);
}

}  // namespace

TARNConfigManager& TARNConfigManager::getInstance() {
    static TARNConfigManager* instance = new TARNConfigManager;  // lives for the whole process
    return *instance;
}

void TARNConfigManager::load(const VELString& path) {
    std::ifstream in(path.str(), std::ios::binary);
    if (!in) {
        throw VelaBaseException("Configuration", WHO, "load",
                                "cannot read configuration file '" + path + "'", 1);
    }
    std::ostringstream text;
    text << in.rdbuf();
    loadFromString(VELString(text.str()), path);
    std::unique_lock lock(_m);
    _path = path;
}

void TARNConfigManager::loadFromString(const VELString& text, const VELString& name) {
    std::map<Key, Entry> values;
    std::size_t order = 0;
    VELString section;
    std::istringstream in(text.str());
    std::string raw;
    int lineNo = 0;
    while (std::getline(in, raw)) {
        ++lineNo;
        VELString line = VELString(raw).trim();
        if (line.isNull() || line[0] == ';' || line[0] == '#') {
            continue;
        }
        auto fail = [&](const char* why) {
            throw VelaBaseException("Configuration", WHO, "load",
                                    name + ":" + VELString::valueOf(lineNo) + ": " + why, 1);
        };
        if (line[0] == '[') {
            if (line[line.length() - 1] != ']') {
                fail("a section header must end with ']'");
            }
            section = line.substring(1, line.length() - 2).trim();
            if (section.isNull()) {
                fail("empty section name");
            }
            continue;
        }
        std::size_t eq = line.find('=');
        if (eq == VELString::npos) {
            fail("expected 'key = value'");
        }
        if (section.isNull()) {
            fail("key outside of any [section]");
        }
        VELString key = line.substring(0, eq).trim();
        if (key.isNull()) {
            fail("empty key name");
        }
        VELString value = line.substring(eq + 1).trim();
        if (value.length() >= 2 && value[0] == '"' && value[value.length() - 1] == '"') {
            value = value.substring(1, value.length() - 2);
        }
        values[Key(section.toLower(), key.toLower())] = Entry{section, key, value, order++};
    }
    std::unique_lock lock(_m);
    _values = std::move(values);
    _next = order;
    _path = name;
}

void TARNConfigManager::clear() {
    std::unique_lock lock(_m);
    _values.clear();
    _path.clear();
}

const TARNConfigManager::Entry* TARNConfigManager::find(const VELString& section,
                                                        const VELString& key) const {
    auto it = _values.find(Key(section.toLower(), key.toLower()));
    return it == _values.end() ? nullptr : &it->second;
}

bool TARNConfigManager::getString(const VELString& section, const VELString& key,
                                  VELString& value) const {
    std::shared_lock lock(_m);
    const Entry* e = find(section, key);
    if (!e) {
        return false;
    }
    value = e->value;
    return true;
}

bool TARNConfigManager::getUint32(const VELString& section, const VELString& key,
                                  std::uint32_t& value) const {
    VELString text;
    if (!getString(section, key, text)) {
        return false;
    }
    if (!parseUint32(text, value)) {
        reportBad(section, key, text, "an unsigned 32-bit integer");
        return false;
    }
    return true;
}

bool TARNConfigManager::getBool(const VELString& section, const VELString& key, bool& value) const {
    VELString text;
    if (!getString(section, key, text)) {
        return false;
    }
    if (!parseBool(text, value)) {
        reportBad(section, key, text, "a boolean (true or false)");
        return false;
    }
    return true;
}

void TARNConfigManager::setString(const VELString& section, const VELString& key,
                                  const VELString& value) {
    std::unique_lock lock(_m);
    Key k(section.toLower(), key.toLower());
    auto it = _values.find(k);
    if (it != _values.end()) {
        it->second.value = value;
    } else {
        _values[k] = Entry{section, key, value, _next++};
    }
}

void TARNConfigManager::remove(const VELString& section, const VELString& key) {
    std::unique_lock lock(_m);
    _values.erase(Key(section.toLower(), key.toLower()));
}

bool TARNConfigManager::parseUint32(const VELString& text, std::uint32_t& value) {
    std::string_view s = text.view();
    if (s.empty() || s.size() > 10) {
        return false;
    }
    for (char c : s) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    std::uint64_t v = 0;
    auto r = std::from_chars(s.data(), s.data() + s.size(), v);
    if (r.ec != std::errc() || v > 0xffffffffULL) {
        return false;
    }
    value = static_cast<std::uint32_t>(v);
    return true;
}

bool TARNConfigManager::parseBool(const VELString& text, bool& value) {
    static const char* const yes[] = {"true", "yes", "on", "1"};
    static const char* const no[] = {"false", "no", "off", "0"};
    for (const char* w : yes) {
        if (text.equalsIgnoreCase(w)) {
            value = true;
            return true;
        }
    }
    for (const char* w : no) {
        if (text.equalsIgnoreCase(w)) {
            value = false;
            return true;
        }
    }
    return false;
}

std::vector<std::pair<VELString, std::vector<std::pair<VELString, VELString>>>>
TARNConfigManager::entries() const {
    std::shared_lock lock(_m);
    std::vector<const Entry*> sorted;
    for (const auto& kv : _values) {
        sorted.push_back(&kv.second);
    }
    std::sort(sorted.begin(), sorted.end(),
              [](const Entry* a, const Entry* b) { return a->order < b->order; });
    std::vector<std::pair<VELString, std::vector<std::pair<VELString, VELString>>>> out;
    for (const Entry* e : sorted) {
        auto it = std::find_if(out.begin(), out.end(),
                               [&](const auto& s) { return s.first.equalsIgnoreCase(e->section); });
        if (it == out.end()) {
            out.emplace_back(e->section, std::vector<std::pair<VELString, VELString>>{});
            it = out.end() - 1;
        }
        it->second.emplace_back(e->key, e->value);
    }
    return out;
}
