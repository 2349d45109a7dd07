#include "tarn/VELRegExp.h"

#include <regex.h>

#include <array>
#include <atomic>
#include <cstring>

#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

// regexec locks the compiled expression it is given, so threads that share
// one wait for each other: each match takes a compiled copy of its own from
// a few kept ready.
constexpr std::size_t kKept = 8;

regex_t* compile(const VELString& pattern) {
    auto* re = new regex_t;
    int rc = regcomp(re, pattern.c_str(), REG_EXTENDED | REG_NOSUB);
    if (rc != 0) {
        char buf[256];
        regerror(rc, re, buf, sizeof buf);
        delete re;
        throw VelaBaseException("InvalidRegExp", "tarn::VELRegExp", "VELRegExp",
                                "cannot compile '" + pattern + "': " + buf, 1);
    }
    return re;
}

void release(regex_t* re) {
    regfree(re);
    delete re;
}

}  // namespace

struct VELRegExp::Impl {
    std::array<std::atomic<regex_t*>, kKept> kept{};
};

VELRegExp::VELRegExp(const VELString& pattern) : _pattern(pattern), _impl(new Impl) {
    _impl->kept[0] = compile(pattern);
}

VELRegExp::~VELRegExp() {
    for (auto& slot : _impl->kept) {
        if (regex_t* re = slot.load()) {
            release(re);
        }
    }
}

bool VELRegExp::match(const VELString& text) const {
    if (std::memchr(text.c_str(), '\0', text.length()) != nullptr) {
        return false;
    }
    regex_t* re = nullptr;
    for (auto& slot : _impl->kept) {
        if ((re = slot.exchange(nullptr, std::memory_order_acquire))) {
            break;
        }
    }
    if (!re) {
        re = compile(_pattern);  // all in use: one more
    }
    const bool matched = regexec(re, text.c_str(), 0, nullptr, 0) == 0;
    for (auto& slot : _impl->kept) {
        regex_t* empty = nullptr;
        if (slot.compare_exchange_strong(empty, re, std::memory_order_release)) {
            return matched;
        }
    }
    release(re);  // enough are kept
    return matched;
}

}  // namespace tarn
