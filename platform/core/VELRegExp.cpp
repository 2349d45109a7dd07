#include "tarn/VELRegExp.h"

#include <regex.h>

#include <cstring>

#include "vela/VelaBaseException.h"

namespace tarn {

struct VELRegExp::Impl {
    regex_t re;
};

VELRegExp::VELRegExp(const VELString& pattern) : _pattern(pattern), _impl(new Impl) {
    int rc = regcomp(&_impl->re, pattern.c_str(), REG_EXTENDED | REG_NOSUB);
    if (rc != 0) {
        char buf[256];
        regerror(rc, &_impl->re, buf, sizeof buf);
        throw VelaBaseException("InvalidRegExp", "tarn::VELRegExp", "VELRegExp",
                                "cannot compile '" + pattern + "': " + buf, 1);
    }
}

VELRegExp::~VELRegExp() {
    regfree(&_impl->re);
}

bool VELRegExp::match(const VELString& text) const {
    if (std::memchr(text.c_str(), '\0', text.length()) != nullptr) {
        return false;
    }
    return regexec(&_impl->re, text.c_str(), 0, nullptr, 0) == 0;
}

}  // namespace tarn
