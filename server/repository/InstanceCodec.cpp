#include "repository/InstanceCodec.h"

#include "repository/ValueCodec.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaProperty.h"

namespace tarn {

namespace {

constexpr std::uint8_t FORMAT = 1;

void checkFormat(BinaryReader& r) {
    if (r.byte() != FORMAT) {
        r.corrupt("has an unknown format");
    }
}

// Reads the stored properties; values[i] is set for the property at
// position i of the layout. With keysOnly, other values are skipped.
void readValues(BinaryReader& r, const ClassLayout& layout,
                std::vector<VELSmrPtr<IVelaValue>>& values, bool keysOnly) {
    checkFormat(r);
    std::size_t n = r.count();
    std::size_t hint = 0;
    for (std::size_t k = 0; k < n; ++k) {
        VELString name(r.string());
        long i = layout.indexOf(name, hint);
        if (i < 0 || (keysOnly && !layout.isKey(static_cast<std::size_t>(i)))) {
            ValueCodec::skipValue(r);
            continue;
        }
        auto pos = static_cast<std::size_t>(i);
        values[pos] = ValueCodec::readValue(r, &layout.storedType(pos));
        hint = pos + 1;
    }
    if (!r.atEnd()) {
        r.corrupt("has trailing bytes");
    }
}

VELSmrPtr<CVelaInstanceName> pathOf(const ClassLayout& layout,
                                    const std::vector<VELSmrPtr<IVelaValue>>& values,
                                    const VELSmrPtr<IVelaNameSpacePath>& nameSpace) {
    auto path = makeVELSmrPtr<CVelaInstanceName>(layout.name(), nameSpace);
    for (std::size_t k : layout.keys()) {
        path->addKeyBinding(layout.property(k)->getName(),
                            values[k].isNull() ? layout.nullValue(k) : values[k]);
    }
    return path;
}

}  // namespace

std::string InstanceCodec::encode(const IVelaObject& instance) {
    std::string out;
    BinaryWriter w(out);
    w.byte(FORMAT);
    std::size_t n = instance.getPropertyCount();
    std::size_t stored = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const auto& v = instance.getProperty(i)->getValue();
        stored += (!v.isNull() && v->isSet()) ? 1 : 0;
    }
    w.varint(stored);
    for (std::size_t i = 0; i < n; ++i) {
        const auto& p = instance.getProperty(i);
        const auto& v = p->getValue();
        if (v.isNull() || !v->isSet()) {
            continue;
        }
        w.string(p->getName().view());
        ValueCodec::writeValue(w, v.get(), *p->getType());
    }
    return out;
}

VELSmrPtr<CVelaObject> InstanceCodec::decode(std::string_view data, const ClassLayout& layout,
                                             const VELSmrPtr<IVelaNameSpacePath>& nameSpace) {
    BinaryReader r(data, "an instance");
    std::vector<VELSmrPtr<IVelaValue>> values(layout.size());
    readValues(r, layout, values, false);
    auto obj = makeVELSmrPtr<CVelaObject>(layout.name(), pathOf(layout, values, nameSpace));
    obj->reserve(layout.size());
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (values[i].isNull()) {
            obj->addProperty(layout.nullProperty(i));
        } else {
            obj->addProperty(makeVELSmrPtr<CVelaProperty>(
                layout.property(i)->getName(), layout.storedType(i), std::move(values[i])));
        }
    }
    return obj;
}

VELSmrPtr<IVelaInstanceName> InstanceCodec::decodeName(
    std::string_view data, const ClassLayout& layout,
    const VELSmrPtr<IVelaNameSpacePath>& nameSpace) {
    BinaryReader r(data, "an instance");
    std::vector<VELSmrPtr<IVelaValue>> values(layout.size());
    readValues(r, layout, values, true);
    return pathOf(layout, values, nameSpace);
}

}  // namespace tarn
