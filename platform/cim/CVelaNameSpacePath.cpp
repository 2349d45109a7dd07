#include "vela/CVelaNameSpacePath.h"

#include "vela/VelaBaseException.h"

CVelaNameSpacePath::CVelaNameSpacePath(VELString host, const VELString& nameSpace)
    : _host(std::move(host)) {
    std::size_t start = 0;
    std::string_view ns = nameSpace.view();
    while (start <= ns.size()) {
        std::size_t slash = ns.find('/', start);
        std::string_view part = ns.substr(
            start, slash == std::string_view::npos ? std::string_view::npos : slash - start);
        if (!part.empty()) {
            _components.emplace_back(part);
        }
        if (slash == std::string_view::npos) {
            break;
        }
        start = slash + 1;
    }
    for (std::size_t i = 0; i < _components.size(); ++i) {
        if (i) {
            _nameSpace += '/';
        }
        _nameSpace += _components[i];
    }
}

CVelaNameSpacePath::CVelaNameSpacePath(VELString host, std::vector<VELString> components)
    : _host(std::move(host)), _components(std::move(components)) {
    for (std::size_t i = 0; i < _components.size(); ++i) {
        if (i) {
            _nameSpace += '/';
        }
        _nameSpace += _components[i];
    }
}

const VELString& CVelaNameSpacePath::getNameSpaceComponent(std::size_t i) const {
    if (i >= _components.size()) {
        throw VelaBaseException(
            "IndexOutOfRange", "CVelaNameSpacePath", "getNameSpaceComponent",
            "no namespace component " + VELString::valueOf(static_cast<unsigned long long>(i)), 1);
    }
    return _components[i];
}
