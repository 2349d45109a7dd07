// tarn::InstanceValues: reading the properties of filters, destinations and
// subscriptions as clients send them (typed, or untyped text) and as the
// repository returns them.
#pragma once

#include <charconv>
#include <chrono>
#include <optional>
#include <vector>

#include "vela/IVelaObject.h"
#include "vela/IVelaProperty.h"
#include "vela/IVelaValue.h"

namespace tarn::InstanceValues {

inline VELSmrPtr<IVelaValue> valueOf(const IVelaObject& instance, const VELString& name) {
    VELSmrPtr<IVelaProperty> p = instance.getProperty(name);
    if (p.isNull() || p->getValue().isNull() || !p->getValue()->isSet()) {
        return nullptr;
    }
    return p->getValue();
}

// The string (or untyped text) value; empty when null or of another type.
inline VELString text(const IVelaObject& instance, const VELString& name) {
    VELSmrPtr<IVelaValue> v = valueOf(instance, name);
    if (v.isNull() || (!v->getType().isNull() && v->getType()->isArray())) {
        return VELString();
    }
    try {
        return v->getString();
    } catch (...) {
        return VELString();
    }
}

// An unsigned value, typed or as decimal text; nothing when null or not one.
inline std::optional<std::uint64_t> unsignedValue(const IVelaObject& instance,
                                                  const VELString& name) {
    VELSmrPtr<IVelaValue> v = valueOf(instance, name);
    if (v.isNull()) {
        return std::nullopt;
    }
    try {
        if (v->isUntyped()) {
            const std::string& s = v->getString().str();
            std::uint64_t n = 0;
            auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), n);
            if (ec != std::errc() || end != s.data() + s.size()) {
                return std::nullopt;
            }
            return n;
        }
        return v->getUnsigned();
    } catch (...) {
        return std::nullopt;
    }
}

// The strings of an array value (or the one string of a scalar).
inline std::vector<VELString> texts(const IVelaObject& instance, const VELString& name) {
    std::vector<VELString> out;
    VELSmrPtr<IVelaValue> v = valueOf(instance, name);
    if (v.isNull()) {
        return out;
    }
    try {
        if (auto array = v->getArray()) {
            for (const VELSmrPtr<IVelaValue>& e : *array) {
                if (!e.isNull() && e->isSet()) {
                    out.push_back(e->getString());
                }
            }
        } else {
            out.push_back(v->getString());
        }
    } catch (...) {
        out.clear();
    }
    return out;
}

// A reference value; null when null or not a reference.
inline VELSmrPtr<IVelaInstanceName> reference(const IVelaObject& instance, const VELString& name) {
    VELSmrPtr<IVelaValue> v = valueOf(instance, name);
    if (v.isNull()) {
        return nullptr;
    }
    try {
        return v->getReference();
    } catch (...) {
        return nullptr;
    }
}

// A CIM timestamp ("yyyymmddhhmmss.mmmmmm+UUU", UUU minutes east of UTC) to
// the second; nothing when null, an interval, or not a timestamp. Seconds,
// not the system clock's nanoseconds: those end in 2262, CIM's years in 9999.
inline std::optional<std::chrono::sys_seconds> timestamp(const IVelaObject& instance,
                                                         const VELString& name) {
    const std::string s = text(instance, name).str();
    if (s.size() != 25 || s[14] != '.' || (s[21] != '+' && s[21] != '-')) {
        return std::nullopt;
    }
    auto digits = [&](std::size_t at, std::size_t n) -> std::optional<int> {
        int v = 0;
        auto [end, ec] = std::from_chars(s.data() + at, s.data() + at + n, v);
        if (ec != std::errc() || end != s.data() + at + n || v < 0) {
            return std::nullopt;
        }
        return v;
    };
    auto y = digits(0, 4), mo = digits(4, 2), d = digits(6, 2), h = digits(8, 2),
         mi = digits(10, 2), se = digits(12, 2), us = digits(15, 6), off = digits(22, 3);
    if (!y || !mo || !d || !h || !mi || !se || !us || !off || *h > 23 || *mi > 59 || *se > 60) {
        return std::nullopt;
    }
    using namespace std::chrono;
    const year_month_day date{year{*y}, month{static_cast<unsigned>(*mo)},
                              day{static_cast<unsigned>(*d)}};
    if (!date.ok()) {
        return std::nullopt;
    }
    const minutes east{s[21] == '+' ? *off : -*off};
    return sys_seconds{sys_days{date}} + hours{*h} + minutes{*mi} + seconds{*se} - east;
}

inline std::chrono::sys_seconds secondsNow() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

// When a subscription ends: SubscriptionStartTime plus SubscriptionDuration
// seconds; nothing (it lasts) when either is null.
inline std::optional<std::chrono::sys_seconds> subscriptionEnd(const IVelaObject& subscription) {
    auto start = timestamp(subscription, "SubscriptionStartTime");
    auto duration = unsignedValue(subscription, "SubscriptionDuration");
    if (!start || !duration) {
        return std::nullopt;
    }
    // Past a thousand years it lasts (and the sum stays in range).
    constexpr std::uint64_t longest = 1000ull * 366 * 24 * 3600;
    if (*duration > longest) {
        return std::nullopt;
    }
    return *start + std::chrono::seconds(*duration);
}

}  // namespace tarn::InstanceValues
