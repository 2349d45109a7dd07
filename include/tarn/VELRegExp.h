// tarn::VELRegExp: a POSIX extended regular expression, compiled once.
#pragma once

#include <memory>

#include "vela/VELString.h"

namespace tarn {

class VELRegExp {
  public:
    // Throws VelaBaseException ("InvalidRegExp") when the pattern does not compile.
    explicit VELRegExp(const VELString& pattern);
    ~VELRegExp();
    VELRegExp(const VELRegExp&) = delete;
    VELRegExp& operator=(const VELRegExp&) = delete;

    // True when the pattern matches somewhere in the text (anchor with ^ and $
    // for a whole-text match). Text holding a NUL byte never matches.
    bool match(const VELString& text) const;
    const VELString& pattern() const { return _pattern; }

  private:
    struct Impl;
    VELString _pattern;
    std::unique_ptr<Impl> _impl;
};

}  // namespace tarn
