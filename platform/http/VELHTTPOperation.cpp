#include "vela/VELHTTPOperation.h"

#include <charconv>
#include <cstdio>
#include <limits>

namespace {

struct Declaration {
    const char* header;
    bool mandatory;
    bool hopByHop;
};
const Declaration kDeclarations[] = {
    {"Man", true, false}, {"Opt", false, false}, {"C-Man", true, true}, {"C-Opt", false, true}};

bool isDeclarationHeader(const VELString& name) {
    for (const auto& d : kDeclarations) {
        if (name.equalsIgnoreCase(d.header)) {
            return true;
        }
    }
    return false;
}

// Splits a header value at commas that are not inside double quotes.
std::vector<std::string_view> splitList(std::string_view s) {
    std::vector<std::string_view> parts;
    bool quoted = false;
    std::size_t start = 0;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '"') {
            quoted = !quoted;
        } else if (s[i] == ',' && !quoted) {
            parts.push_back(s.substr(start, i - start));
            start = i + 1;
        }
    }
    parts.push_back(s.substr(start));
    return parts;
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) {
        s.remove_prefix(1);
    }
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) {
        s.remove_suffix(1);
    }
    return s;
}

// One ext-decl: a (possibly quoted) URI, then ";"-separated parameters of
// which "ns" gives the decimal prefix. False for a malformed declaration.
bool parseDeclaration(std::string_view decl, VELString& uri, VELString& prefix) {
    decl = trim(decl);
    std::string_view rest;
    if (!decl.empty() && decl.front() == '"') {
        std::size_t close = decl.find('"', 1);
        if (close == std::string_view::npos) {
            return false;
        }
        uri = VELString(decl.substr(1, close - 1));
        rest = decl.substr(close + 1);
    } else {
        std::size_t semi = decl.find(';');
        uri = VELString(trim(decl.substr(0, semi)));
        rest = semi == std::string_view::npos ? std::string_view() : decl.substr(semi);
    }
    if (uri.isNull()) {
        return false;
    }
    prefix.clear();
    rest = trim(rest);
    while (!rest.empty()) {
        if (rest.front() != ';') {
            return false;
        }
        rest.remove_prefix(1);
        std::size_t semi = rest.find(';');
        std::string_view param = trim(rest.substr(0, semi));
        rest = semi == std::string_view::npos ? std::string_view() : trim(rest.substr(semi));
        std::size_t eq = param.find('=');
        if (eq == std::string_view::npos) {
            continue;  // a parameter without value declares nothing we use
        }
        VELString name(trim(param.substr(0, eq)));
        std::string_view value = trim(param.substr(eq + 1));
        if (!name.equalsIgnoreCase("ns")) {
            continue;
        }
        if (value.empty() || value.size() > 9) {
            return false;
        }
        for (char c : value) {
            if (c < '0' || c > '9') {
                return false;
            }
        }
        prefix = VELString(value);
    }
    return true;
}

}  // namespace

VELHTTPOperation::~VELHTTPOperation() = default;

VELString VELHTTPOperation::getProtocol() const {
    switch (_protocol) {
        case HTTP_1_0:
            return "HTTP/1.0";
        case HTTP_1_1:
            return "HTTP/1.1";
        default:
            return VELString();
    }
}

const VELString* VELHTTPOperation::getHeaderField(const VELString& name) const {
    for (const auto& f : _fields) {
        if (f.first.equalsIgnoreCase(name)) {
            return &f.second;
        }
    }
    return nullptr;
}

void VELHTTPOperation::setHeaderField(const VELString& name, const VELString& value) {
    for (auto& f : _fields) {
        if (f.first.equalsIgnoreCase(name)) {
            f.second = value;
            return;
        }
    }
    _fields.emplace_back(name, value);
}

void VELHTTPOperation::addHeaderField(const VELString& name, const VELString& value) {
    for (auto& f : _fields) {
        if (f.first.equalsIgnoreCase(name)) {
            f.second += ", ";
            f.second += value;
            return;
        }
    }
    _fields.emplace_back(name, value);
}

void VELHTTPOperation::removeHeaderField(const VELString& name) {
    std::erase_if(_fields, [&](const auto& f) { return f.first.equalsIgnoreCase(name); });
}

std::int64_t VELHTTPOperation::getContentLength() const {
    const VELString* v = getHeaderField("Content-Length");
    if (!v) {
        return -1;
    }
    std::string_view s = trim(v->view());
    if (s.empty()) {
        return -1;
    }
    for (char c : s) {
        if (c < '0' || c > '9') {
            return -1;
        }
    }
    std::uint64_t n = 0;
    auto r = std::from_chars(s.data(), s.data() + s.size(), n);
    if (r.ec != std::errc() ||
        n > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return std::numeric_limits<std::int64_t>::max();  // absurdly large: callers reject it
    }
    return static_cast<std::int64_t>(n);
}

void VELHTTPOperation::setContentLength(std::int64_t length) {
    setHeaderField("Content-Length", VELString::valueOf(static_cast<long long>(length)));
}

VELSmrPtr<VELHTTPOperation::ExtHeaderGroupList> VELHTTPOperation::findExtHeaderGroups() const {
    auto list = makeVELSmrPtr<ExtHeaderGroupList>();
    for (const auto& g : _groups) {
        list->append(g);
    }
    return list;
}

VELSmrPtr<VELHTTPExtHeaderGroup> VELHTTPOperation::getExtHeaderGroup(const VELString& uri) const {
    for (const auto& g : _groups) {
        if (g->getNamespaceURI().equalsIgnoreCase(uri)) {
            return g;
        }
    }
    return nullptr;
}

VELSmrPtr<VELHTTPExtHeaderGroup> VELHTTPOperation::addExtHeaderGroup(const VELString& uri,
                                                                     const VELString& prefix,
                                                                     bool mandatory) {
    auto g = makeVELSmrPtr<VELHTTPExtHeaderGroup>(uri, prefix, mandatory);
    _groups.push_back(g);
    return g;
}

VELSmrPtr<VELHTTPExtHeaderGroup> VELHTTPOperation::addExtHeaderGroup(const VELString& uri,
                                                                     int prefix, bool mandatory) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d", prefix < 0 ? 0 : prefix);
    return addExtHeaderGroup(uri, VELString(text), mandatory);
}

void VELHTTPOperation::parseExtHeaderGroups() {
    _groups.clear();
    for (const auto& field : _fields) {
        for (const auto& d : kDeclarations) {
            if (!field.first.equalsIgnoreCase(d.header)) {
                continue;
            }
            for (std::string_view decl : splitList(field.second.view())) {
                VELString uri;
                VELString prefix;
                if (!parseDeclaration(decl, uri, prefix)) {
                    continue;
                }
                auto g = makeVELSmrPtr<VELHTTPExtHeaderGroup>(uri, prefix, d.mandatory, d.hopByHop);
                for (const auto& f : _fields) {
                    if (isDeclarationHeader(f.first)) {
                        continue;
                    }
                    if (prefix.isNull()) {
                        g->setHeaderField(f.first, f.second);
                    } else if (f.first.length() > prefix.length() + 1 &&
                               f.first.beginsWith(prefix.view()) &&
                               f.first[prefix.length()] == '-') {
                        g->setHeaderField(f.first.substring(prefix.length() + 1), f.second);
                    }
                }
                _groups.push_back(g);
            }
        }
    }
}
