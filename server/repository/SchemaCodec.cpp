#include "repository/SchemaCodec.h"

#include "repository/ValueCodec.h"
#include "tarn/CMethodDef.h"
#include "tarn/CParameterDef.h"
#include "tarn/CPropertyDef.h"
#include "tarn/CQualifier.h"
#include "tarn/CQualifierDef.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

constexpr std::uint8_t FORMAT = 1;

void writeOptionalValue(BinaryWriter& w, const VELSmrPtr<IVelaValue>& v, const IVelaType& type) {
    w.byte(v.isNull() ? 0 : 1);
    if (!v.isNull()) {
        ValueCodec::writeValue(w, v.get(), type);
    }
}

VELSmrPtr<IVelaValue> readOptionalValue(BinaryReader& r, const VELSmrPtr<IVelaType>& type) {
    std::uint8_t present = r.byte();
    if (present > 1) {
        r.corrupt("has a bad value marker");
    }
    return present ? ValueCodec::readValue(r, &type) : VELSmrPtr<IVelaValue>();
}

template <class Qualifiers>
void writeQualifiers(BinaryWriter& w, const Qualifiers& qualifiers) {
    w.varint(qualifiers.size());
    for (const auto& q : qualifiers) {
        w.string(q->getName().view());
        ValueCodec::writeType(w, *q->getType());
        w.varint(q->getFlavor());
        writeOptionalValue(w, q->getValue(), *q->getType());
    }
}

template <class Add>
void readQualifiers(BinaryReader& r, Add add) {
    std::size_t n = r.count();
    for (std::size_t i = 0; i < n; ++i) {
        VELString name(r.string());
        VELSmrPtr<IVelaType> type = ValueCodec::readType(r);
        auto flavor = static_cast<std::uint32_t>(r.varint());
        VELSmrPtr<IVelaValue> value = readOptionalValue(r, type);
        add(VELSmrPtr<IQualifier>(new CQualifier(std::move(name), type, value, flavor)));
    }
}

std::vector<VELSmrPtr<IQualifier>> collect(VELSmrPtr<Iterator<VELSmrPtr<IQualifier>>> it) {
    std::vector<VELSmrPtr<IQualifier>> out;
    while (it->hasNext()) {
        out.push_back(it->next());
    }
    return out;
}

void checkFormat(BinaryReader& r) {
    if (r.byte() != FORMAT) {
        r.corrupt("has an unknown format");
    }
}

}  // namespace

std::string SchemaCodec::encodeQualifierDecl(const IQualifierDef& decl) {
    std::string out;
    BinaryWriter w(out);
    w.byte(FORMAT);
    w.string(decl.getName().view());
    ValueCodec::writeType(w, *decl.getType());
    w.varint(decl.getScope());
    w.varint(decl.getFlavor());
    writeOptionalValue(w, decl.getDefaultValue(), *decl.getType());
    return out;
}

VELSmrPtr<IQualifierDef> SchemaCodec::decodeQualifierDecl(std::string_view data) {
    BinaryReader r(data, "a qualifier declaration");
    checkFormat(r);
    VELString name(r.string());
    VELSmrPtr<IVelaType> type = ValueCodec::readType(r);
    auto scope = static_cast<std::uint32_t>(r.varint());
    auto flavor = static_cast<std::uint32_t>(r.varint());
    VELSmrPtr<IVelaValue> def = readOptionalValue(r, type);
    if (!r.atEnd()) {
        r.corrupt("has trailing bytes");
    }
    return VELSmrPtr<IQualifierDef>(new CQualifierDef(std::move(name), type, def, scope, flavor));
}

std::string SchemaCodec::encodeClass(const CVelaClass& cls) {
    std::string out;
    BinaryWriter w(out);
    w.byte(FORMAT);
    w.string(cls.getName().view());
    w.string(cls.getSuperClassName().view());
    writeQualifiers(w, cls.qualifierList().local());
    w.varint(cls.localProperties().size());
    for (const auto& p : cls.localProperties()) {
        w.string(p->getName().view());
        ValueCodec::writeType(w, *p->getType());
        w.varint(p->getArraySize());
        writeOptionalValue(w, p->getDefaultValue(), *p->getType());
        writeQualifiers(w, p->qualifierList().local());
    }
    w.varint(cls.localMethods().size());
    for (const auto& m : cls.localMethods()) {
        w.string(m->getName().view());
        ValueCodec::writeType(w, *m->getReturnType());
        // A method's own qualifiers are those it specifies itself.
        writeQualifiers(w, collect(m->getQualifiers(false)));
        std::vector<VELSmrPtr<IParameterDef>> params;
        for (auto it = m->getParameters(); it->hasNext();) {
            params.push_back(it->next());
        }
        w.varint(params.size());
        for (const auto& p : params) {
            w.string(p->getName().view());
            ValueCodec::writeType(w, *p->getType());
            if (const auto* cp = dynamic_cast<const CParameterDef*>(p.get())) {
                writeQualifiers(w, cp->qualifierList().local());
            } else {
                writeQualifiers(w, collect(p->getQualifiers(false)));
            }
        }
    }
    return out;
}

VELSmrPtr<CVelaClass> SchemaCodec::decodeClass(std::string_view data, const VELString& nameSpace) {
    BinaryReader r(data, "a class definition");
    checkFormat(r);
    VELString name(r.string());
    VELString super(r.string());
    auto cls = makeVELSmrPtr<CVelaClass>(name, super, nameSpace);
    readQualifiers(r, [&](const VELSmrPtr<IQualifier>& q) { cls->addQualifier(q); });
    std::size_t np = r.count();
    for (std::size_t i = 0; i < np; ++i) {
        VELString pname(r.string());
        VELSmrPtr<IVelaType> type = ValueCodec::readType(r);
        auto arraySize = static_cast<std::uint32_t>(r.varint());
        VELSmrPtr<IVelaValue> def = readOptionalValue(r, type);
        auto p = makeVELSmrPtr<CPropertyDef>(std::move(pname), type, def, arraySize);
        readQualifiers(r, [&](const VELSmrPtr<IQualifier>& q) { p->addQualifier(q); });
        cls->addProperty(p);
    }
    std::size_t nm = r.count();
    for (std::size_t i = 0; i < nm; ++i) {
        VELString mname(r.string());
        VELSmrPtr<IVelaType> ret = ValueCodec::readType(r);
        auto m = makeVELSmrPtr<CMethodDef>(std::move(mname), ret);
        readQualifiers(r, [&](const VELSmrPtr<IQualifier>& q) { m->addQualifier(q); });
        std::size_t nparams = r.count();
        for (std::size_t k = 0; k < nparams; ++k) {
            VELString pname(r.string());
            auto p = makeVELSmrPtr<CParameterDef>(std::move(pname), ValueCodec::readType(r));
            readQualifiers(r, [&](const VELSmrPtr<IQualifier>& q) { p->addQualifier(q); });
            m->addParameter(p);
        }
        cls->addMethod(m);
    }
    if (!r.atEnd()) {
        r.corrupt("has trailing bytes");
    }
    return cls;
}

}  // namespace tarn
