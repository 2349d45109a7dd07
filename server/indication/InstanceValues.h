// tarn::InstanceValues: reading the properties of filters, destinations and
// subscriptions as clients send them (typed, or untyped text) and as the
// repository returns them.
#pragma once

#include <charconv>
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

}  // namespace tarn::InstanceValues
