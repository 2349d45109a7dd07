#include "vela/VELHTTPExtHeaderGroup.h"

VELHTTPExtHeaderGroup::VELHTTPExtHeaderGroup(VELString uri, VELString prefix, bool mandatory,
                                             bool hopByHop)
    : _uri(std::move(uri)),
      _prefix(std::move(prefix)),
      _mandatory(mandatory),
      _hopByHop(hopByHop) {}

int VELHTTPExtHeaderGroup::getPrefixNumber() const {
    return _prefix.isNull() ? 0 : _prefix.atoi();
}

const VELString* VELHTTPExtHeaderGroup::getHeaderField(const VELString& name) const {
    for (const auto& f : _fields) {
        if (f.first.equalsIgnoreCase(name)) {
            return &f.second;
        }
    }
    return nullptr;
}

void VELHTTPExtHeaderGroup::setHeaderField(const VELString& name, const VELString& value) {
    for (auto& f : _fields) {
        if (f.first.equalsIgnoreCase(name)) {
            f.second = value;
            return;
        }
    }
    _fields.emplace_back(name, value);
}

VELString VELHTTPExtHeaderGroup::getDeclaration() const {
    VELString d = "\"" + _uri + "\"";
    if (!_prefix.isNull()) {
        d += "; ns=";
        d += _prefix;
    }
    return d;
}

const char* VELHTTPExtHeaderGroup::getDeclarationHeaderName() const {
    if (_hopByHop) {
        return _mandatory ? "C-Man" : "C-Opt";
    }
    return _mandatory ? "Man" : "Opt";
}
