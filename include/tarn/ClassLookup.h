// tarn::ClassLookup: the one process-wide class lookup that static helpers
// (CIMUtil, the encoders) use. The server installs the repository's lookup at
// start-up; tests install their own. Reads are lock-free: installed lookups
// are kept alive until the process ends, so a reader never sees a freed one.
#pragma once

#include <cstdint>
#include <memory>

#include "tarn/IClassLookup.h"

namespace tarn {

class ClassLookup {
  public:
    static void install(std::shared_ptr<const IClassLookup> lookup);
    // The installed lookup, or null.
    static const IClassLookup* get();
    // Null when nothing is installed or the class is unknown.
    static VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace, const VELString& className);
    // Changes on each install and on each invalidate(); caches keyed by it
    // drop their entries when it moves.
    static std::uint64_t generation();
    // Called when the classes behind the installed lookup changed.
    static void invalidate();
};

}  // namespace tarn
