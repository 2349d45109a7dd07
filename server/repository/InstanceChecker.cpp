#include "repository/InstanceChecker.h"

#include <algorithm>
#include <sstream>

#include "repository/RepositoryError.h"
#include "repository/ValueCodec.h"
#include "tarn/CIMStatus.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"

namespace tarn {

namespace {

using E = RepositoryError;

void writeKeyValue(std::ostream& os, const IVelaValue& value, const VELString& ownNs);

// The normal form of a reference: see the header.
void writeReference(std::ostream& os, const IVelaInstanceName& ref, const VELString& ownNs) {
    const auto& path = ref.getNameSpacePath();
    VELString ns = path.isNull() ? VELString() : path->getNameSpace();
    if (!ns.isNull() && !ns.equalsIgnoreCase(ownNs)) {
        os << ns.toLower() << ':';
    }
    os << ref.getClassName().toLower();
    std::vector<std::pair<VELString, VELSmrPtr<IVelaValue>>> keys;
    for (std::size_t i = 0; i < ref.getKeyBindingCount(); ++i) {
        auto kb = ref.getKeyBinding(i);
        keys.emplace_back(kb->getPropertyName().toLower(), kb->getValue());
    }
    std::sort(keys.begin(), keys.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    const VELString& inner = ns.isNull() ? ownNs : ns;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        os << (i == 0 ? '.' : ',') << keys[i].first << '=';
        if (keys[i].second.isNull()) {
            os << "NULL";
        } else {
            writeKeyValue(os, *keys[i].second, inner);
        }
    }
}

void writeKeyValue(std::ostream& os, const IVelaValue& value, const VELString& ownNs) {
    if (value.isSet() && !value.isUntyped() && value.getType()->isReference() &&
        !value.getType()->isArray()) {
        std::ostringstream ref;
        writeReference(ref, *value.getReference(), ownNs);
        CVelaInstanceName::writeQuoted(os, ref.view());
        return;
    }
    CVelaInstanceName::writeCanonicalValue(os, value);
}

bool isText(const IVelaValue& v) {
    return v.isUntyped() ||
           (v.getType()->getTypeId() == CIMTypeId::String && !v.getType()->isReference());
}

}  // namespace

VELSmrPtr<IVelaInstanceName> InstanceChecker::typeReference(const VELSmrPtr<IVelaInstanceName>& ref,
                                                            const VELString& expectedClass,
                                                            std::size_t depth) const {
    if (depth > ValueCodec::MAX_DEPTH) {
        E::raise(CIM_ERR_INVALID_PARAMETER, "typeReference",
                 "references nest more than " + VELString::valueOf(ValueCodec::MAX_DEPTH) +
                     " levels deep");
    }
    // Whatever host the client wrote (this server's, another name of it, or
    // none), the reference names an instance of this repository: the stored
    // form has no host and always a namespace, the instance's own when the
    // client leaves it out.
    const auto& path = ref->getNameSpacePath();
    VELString refNs = path.isNull() ? VELString() : path->getNameSpace();
    const SchemaSnapshot::NameSpace* ns = refNs.isNull() ? &_ns : _schema.find(refNs);
    VELSmrPtr<IVelaNameSpacePath> stored =
        ns ? ns->path : VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath(VELString(), refNs));
    const ClassLayout* target = ns ? ns->findClass(ref->getClassName()) : nullptr;
    if (!target) {
        // Nothing to type its keys by: kept as given.
        auto copy =
            makeVELSmrPtr<CVelaInstanceName>(ref->getClassName(), stored, ref->isClassName());
        for (std::size_t i = 0; i < ref->getKeyBindingCount(); ++i) {
            auto kb = ref->getKeyBinding(i);
            copy->addKeyBinding(kb->getPropertyName(), kb->getValue());
        }
        return copy;
    }
    if (!expectedClass.isNull() && !target->cls()->isA(expectedClass)) {
        E::raise(
            CIM_ERR_TYPE_MISMATCH, "typeReference",
            "the reference names class " + target->name() + ", which is not a " + expectedClass);
    }
    auto typed = makeVELSmrPtr<CVelaInstanceName>(target->name(), stored);
    InstanceChecker inner(_schema, *ns);
    std::vector<bool> seen(target->size(), false);
    for (std::size_t i = 0; i < ref->getKeyBindingCount(); ++i) {
        auto kb = ref->getKeyBinding(i);
        long pos = target->indexOf(kb->getPropertyName());
        if (pos < 0 || !target->isKey(static_cast<std::size_t>(pos))) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "typeReference",
                     kb->getPropertyName() + " is not a key property of class " + target->name());
        }
        auto p = static_cast<std::size_t>(pos);
        if (seen[p]) {
            E::raise(
                CIM_ERR_INVALID_PARAMETER, "typeReference",
                "key " + kb->getPropertyName() + " of class " + target->name() + " is given twice");
        }
        seen[p] = true;
        typed->addKeyBinding(target->property(p)->getName(),
                             inner.typeFor(*target, p, kb->getValue(), depth + 1));
    }
    for (std::size_t k : target->keys()) {
        if (!seen[k]) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "typeReference",
                     "the reference lacks key " + target->property(k)->getName() + " of class " +
                         target->name());
        }
    }
    return typed;
}

VELSmrPtr<IVelaValue> InstanceChecker::toEmbedded(const ClassLayout& layout, std::size_t i,
                                                  const VELSmrPtr<IVelaValue>& value) const {
    const VELSmrPtr<IVelaType>& target = layout.storedType(i);
    const VELString& required = target->getReferenceClassName();
    auto one = [&](const IVelaValue& v) -> CVelaValue::Scalar {
        if (!v.isSet()) {
            return CVelaValue::Scalar();
        }
        if (v.getType()->getTypeId() != CIMTypeId::Object || v.isUntyped()) {
            E::raise(CIM_ERR_TYPE_MISMATCH, "typeValue",
                     isText(v)
                         ? VELString("embedded instances must be given as instances, not "
                                     "as text")
                         : "a " + v.getType()->getName() + " value cannot be an embedded instance");
        }
        if (v.getType()->isClass()) {
            E::raise(CIM_ERR_NOT_SUPPORTED, "typeValue",
                     "the repository does not store embedded classes");
        }
        VELSmrPtr<IVelaObject> obj = v.getObject();
        if (!required.isNull() && _ns.findClass(required)) {
            const ClassLayout* c = _ns.findClass(obj->getClassName());
            if (!c || !c->cls()->isA(required)) {
                E::raise(
                    CIM_ERR_TYPE_MISMATCH, "typeValue",
                    "the embedded instance of " + obj->getClassName() + " is not a " + required);
            }
        }
        return CVelaValue::Scalar(obj);
    };
    if (!target->isArray()) {
        if (value->getType()->isArray()) {
            E::raise(CIM_ERR_TYPE_MISMATCH, "typeValue",
                     "an array given where one value is expected");
        }
        return makeVELSmrPtr<CVelaValue>(target, one(*value));
    }
    if (!value->getType()->isArray()) {
        E::raise(CIM_ERR_TYPE_MISMATCH, "typeValue", "one value given where an array is expected");
    }
    auto elements = std::make_shared<CVelaValue::ScalarArray>();
    auto list = value->getArray();
    elements->reserve(list->entries());
    for (const auto& e : *list) {
        elements->push_back(e.isNull() ? CVelaValue::Scalar() : one(*e));
    }
    return makeVELSmrPtr<CVelaValue>(target,
                                     std::shared_ptr<const CVelaValue::ScalarArray>(elements));
}

VELSmrPtr<IVelaValue> InstanceChecker::typeFor(const ClassLayout& layout, std::size_t i,
                                               const VELSmrPtr<IVelaValue>& value,
                                               std::size_t depth) const {
    if (value.isNull() || !value->isSet()) {
        return layout.nullValue(i);
    }
    const IPropertyDef& def = *layout.property(i);
    const VELSmrPtr<IVelaType>& target = layout.storedType(i);
    VELSmrPtr<IVelaValue> typed;
    try {
        switch (layout.kind(i)) {
            case ClassLayout::Kind::EmbeddedInstance:
            case ClassLayout::Kind::EmbeddedObject:
                typed = toEmbedded(layout, i, value);
                break;
            case ClassLayout::Kind::ReferenceKey: {
                VELSmrPtr<IVelaInstanceName> ref;
                if (value->getType()->isArray()) {
                    E::raise(CIM_ERR_TYPE_MISMATCH, "typeValue",
                             "an array given where one reference is expected");
                }
                if (!value->isUntyped() && value->getType()->isReference()) {
                    ref = value->getReference();
                } else if (isText(*value)) {
                    try {
                        ref = CVelaInstanceName::parse(value->getString());
                    } catch (const VelaBaseException& e) {
                        E::raise(CIM_ERR_TYPE_MISMATCH, "typeValue", e.getMessage());
                    }
                } else {
                    E::raise(CIM_ERR_TYPE_MISMATCH, "typeValue",
                             "a " + value->getType()->getName() + " value cannot be a reference");
                }
                typed = makeVELSmrPtr<CVelaValue>(
                    target, CVelaValue::Scalar(typeReference(ref, VELString(), depth)));
                break;
            }
            case ClassLayout::Kind::Plain:
                typed = CVelaValue::convertTo(value, target);
                if (target->isReference()) {
                    const VELString& refClass = target->getReferenceClassName();
                    if (!target->isArray()) {
                        typed = makeVELSmrPtr<CVelaValue>(
                            target, CVelaValue::Scalar(
                                        typeReference(typed->getReference(), refClass, depth)));
                    } else {
                        auto elements = std::make_shared<CVelaValue::ScalarArray>();
                        const auto refs = typed->getArray();  // kept alive for the loop
                        for (const auto& e : *refs) {
                            elements->push_back(e.isNull() || !e->isSet()
                                                    ? CVelaValue::Scalar()
                                                    : CVelaValue::Scalar(typeReference(
                                                          e->getReference(), refClass, depth)));
                        }
                        typed = makeVELSmrPtr<CVelaValue>(
                            target, std::shared_ptr<const CVelaValue::ScalarArray>(elements));
                    }
                }
                break;
        }
    } catch (const VelaBaseException& e) {
        CIMStatus code = CIM_ERR_TYPE_MISMATCH;
        if (e.getCode() == CIM_ERR_INVALID_PARAMETER || e.getCode() == CIM_ERR_NOT_SUPPORTED) {
            code = static_cast<CIMStatus>(e.getCode());
        }
        E::raise(
            code, "typeValue",
            "property " + def.getName() + " of class " + layout.name() + ": " + e.getMessage());
    }
    if (def.getArraySize() > 0 && typed->isSet() && typed->getArraySize() > def.getArraySize()) {
        E::raise(CIM_ERR_TYPE_MISMATCH, "typeValue",
                 "property " + def.getName() + " of class " + layout.name() + " holds at most " +
                     VELString::valueOf(def.getArraySize()) + " elements, not " +
                     VELString::valueOf(typed->getArraySize()));
    }
    return typed;
}

VELString InstanceChecker::referenceText(const VELSmrPtr<IVelaInstanceName>& name) const {
    VELSmrPtr<IVelaInstanceName> typed;
    try {
        typed = typeReference(name, VELString(), 0);
    } catch (const VelaBaseException& e) {
        E::raise(CIM_ERR_INVALID_PARAMETER, "referenceText", e.getMessage());
    }
    return normalForm(*typed, _ns.name);
}

VELString InstanceChecker::normalForm(const IVelaInstanceName& typed,
                                      const VELString& ownNameSpace) {
    std::ostringstream os;
    writeReference(os, typed, ownNameSpace);
    return VELString(os.str());
}

VELSmrPtr<IVelaValue> InstanceChecker::typeValue(const ClassLayout& layout, std::size_t i,
                                                 const VELSmrPtr<IVelaValue>& value) const {
    return typeFor(layout, i, value, 0);
}

VELString InstanceChecker::canonicalKeys(const ClassLayout& layout,
                                         const std::vector<VELSmrPtr<IVelaValue>>& values) const {
    std::vector<std::pair<VELString, std::size_t>> keys;
    keys.reserve(layout.keys().size());
    for (std::size_t k : layout.keys()) {
        keys.emplace_back(layout.property(k)->getName().toLower(), k);
    }
    std::sort(keys.begin(), keys.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::ostringstream os;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (i > 0) {
            os << ',';
        }
        os << keys[i].first << '=';
        const auto& v = values[keys[i].second];
        if (v.isNull()) {
            os << "NULL";
        } else {
            writeKeyValue(os, *v, _ns.name);
        }
    }
    return VELString(os.str());
}

VELSmrPtr<CVelaInstanceName> InstanceChecker::makePath(
    const ClassLayout& layout, const std::vector<VELSmrPtr<IVelaValue>>& values) const {
    auto path = makeVELSmrPtr<CVelaInstanceName>(layout.name(), _ns.path);
    for (std::size_t k : layout.keys()) {
        path->addKeyBinding(layout.property(k)->getName(), values[k]);
    }
    return path;
}

VELSmrPtr<CVelaObject> InstanceChecker::makeInstance(
    const ClassLayout& layout, const std::vector<VELSmrPtr<IVelaValue>>& values,
    VELSmrPtr<IVelaInstanceName> path) const {
    auto obj = makeVELSmrPtr<CVelaObject>(layout.name(), std::move(path));
    obj->reserve(layout.size());
    for (std::size_t i = 0; i < layout.size(); ++i) {
        const auto& v = values[i];
        if (v.isNull() || !v->isSet()) {
            obj->addProperty(layout.nullProperty(i));
        } else {
            obj->addProperty(makeVELSmrPtr<CVelaProperty>(layout.property(i)->getName(),
                                                          layout.storedType(i), v));
        }
    }
    return obj;
}

InstanceChecker::NewInstance InstanceChecker::checkNew(const ClassLayout& layout,
                                                       const IVelaObject& given) const {
    if (layout.cls()->isAbstract()) {
        E::raise(CIM_ERR_INVALID_PARAMETER, "createInstance",
                 "class " + layout.name() + " is abstract and cannot have instances");
    }
    std::vector<VELSmrPtr<IVelaValue>> values(layout.size());
    std::vector<bool> set(layout.size(), false);
    std::size_t hint = 0;
    for (std::size_t k = 0; k < given.getPropertyCount(); ++k) {
        const auto& p = given.getProperty(k);
        long pos = layout.indexOf(p->getName(), hint);
        if (pos < 0) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "createInstance",
                     "class " + layout.name() + " has no property " + p->getName());
        }
        auto i = static_cast<std::size_t>(pos);
        if (set[i]) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "createInstance",
                     "property " + p->getName() + " is given twice");
        }
        set[i] = true;
        values[i] = typeValue(layout, i, p->getValue());
        hint = i + 1;
    }
    for (std::size_t i = 0; i < layout.size(); ++i) {
        if (!set[i]) {
            const auto& def = layout.property(i)->getDefaultValue();
            values[i] = def.isNull() ? layout.nullValue(i) : typeValue(layout, i, def);
        }
    }
    const auto& path = given.getPath();
    for (std::size_t k : layout.keys()) {
        const VELString& keyName = layout.property(k)->getName();
        VELSmrPtr<IVelaValue> fromPath;
        if (!path.isNull()) {
            for (std::size_t b = 0; b < path->getKeyBindingCount(); ++b) {
                auto kb = path->getKeyBinding(b);
                if (kb->getPropertyName().equalsIgnoreCase(keyName)) {
                    fromPath = typeValue(layout, k, kb->getValue());
                }
            }
        }
        if (!fromPath.isNull() && fromPath->isSet()) {
            if (!set[k] || !values[k]->isSet()) {
                values[k] = fromPath;
            } else {
                std::ostringstream a;
                std::ostringstream b;
                writeKeyValue(a, *values[k], _ns.name);
                writeKeyValue(b, *fromPath, _ns.name);
                if (a.view() != b.view()) {
                    E::raise(CIM_ERR_INVALID_PARAMETER, "createInstance",
                             "the path and the properties of the new instance give key " + keyName +
                                 " different values");
                }
            }
        }
        if (!values[k]->isSet()) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "createInstance",
                     "key property " + keyName + " of class " + layout.name() + " has no value");
        }
    }
    NewInstance out;
    out.path = makePath(layout, values);
    out.keys = canonicalKeys(layout, values);
    out.instance = makeInstance(layout, values, out.path);
    return out;
}

VELString InstanceChecker::checkName(const ClassLayout& layout,
                                     const IVelaInstanceName& name) const {
    std::vector<VELSmrPtr<IVelaValue>> values(layout.size());
    for (std::size_t b = 0; b < name.getKeyBindingCount(); ++b) {
        auto kb = name.getKeyBinding(b);
        long pos = layout.indexOf(kb->getPropertyName());
        if (pos < 0 || !layout.isKey(static_cast<std::size_t>(pos))) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "checkName",
                     kb->getPropertyName() + " is not a key property of class " + layout.name());
        }
        auto i = static_cast<std::size_t>(pos);
        if (!values[i].isNull()) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "checkName",
                     "key " + kb->getPropertyName() + " is given twice");
        }
        try {
            values[i] = typeValue(layout, i, kb->getValue());
        } catch (const VelaBaseException& e) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "checkName", e.getMessage());
        }
    }
    for (std::size_t k : layout.keys()) {
        if (values[k].isNull() || !values[k]->isSet()) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "checkName",
                     "the instance name lacks key " + layout.property(k)->getName() + " of class " +
                         layout.name());
        }
    }
    return canonicalKeys(layout, values);
}

}  // namespace tarn
