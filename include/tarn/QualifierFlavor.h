// Qualifier flavors and scopes as bit sets.
#pragma once

#include <cstdint>

namespace tarn {

struct QualifierFlavor {
    // Set: the qualifier cannot be overridden (DisableOverride); clear: EnableOverride.
    static constexpr std::uint32_t DisableOverride = 1;
    // Set: the qualifier value is translatable.
    static constexpr std::uint32_t Translatable = 4;
    // Set: the qualifier does not propagate to subclasses (Restricted); clear: ToSubclass.
    static constexpr std::uint32_t Restricted = 8;
    // EnableOverride, ToSubclass, not translatable.
    static constexpr std::uint32_t Default = 0;
};

struct QualifierScope {
    static constexpr std::uint32_t Class = 1;
    static constexpr std::uint32_t Association = 2;
    static constexpr std::uint32_t Indication = 4;
    static constexpr std::uint32_t Property = 8;
    static constexpr std::uint32_t Reference = 16;
    static constexpr std::uint32_t Method = 32;
    static constexpr std::uint32_t Parameter = 64;
    static constexpr std::uint32_t Any = 127;
};

}  // namespace tarn
