#include "repository/ClassLayout.h"

#include "tarn/QualifierList.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"

namespace tarn {

namespace {

bool qualifierTrue(const IPropertyDef& def, const char* name) {
    return QualifierList::isTrue(def.getQualifier(name));
}

VELString qualifierText(const IPropertyDef& def, const char* name) {
    auto q = def.getQualifier(name);
    if (q.isNull() || q->getValue().isNull() || !q->getValue()->isSet() ||
        q->getValue()->getType()->getTypeId() != CIMTypeId::String ||
        q->getValue()->getType()->isArray()) {
        return VELString();
    }
    return q->getValue()->getString();
}

}  // namespace

ClassLayout::ClassLayout(VELSmrPtr<CVelaClass> cls, std::int64_t id)
    : _cls(std::move(cls)), _id(id), _association(_cls->isAssociation()) {
    for (auto it = _cls->getPropertyDefs(true); it->hasNext();) {
        VELSmrPtr<IPropertyDef> def = it->next();
        const IVelaType& t = *def->getType();
        Kind kind = Kind::Plain;
        VELSmrPtr<IVelaType> type = def->getType();
        if (t.getTypeId() == CIMTypeId::String) {
            VELString embeddedClass = qualifierText(*def, "EmbeddedInstance");
            if (!embeddedClass.isNull()) {
                kind = Kind::EmbeddedInstance;
                type = CVelaType::embeddedInstance(embeddedClass, t.isArray());
            } else if (qualifierTrue(*def, "EmbeddedObject")) {
                kind = Kind::EmbeddedObject;
                type =
                    CVelaType::make(CIMTypeId::Object, t.isArray(), VELString(), false, true, true);
            } else if (CIMUtil::isReferenceQualified(*def)) {
                kind = Kind::ReferenceKey;
                type = CVelaType::reference;
            }
        }
        std::size_t pos = _properties.size();
        _index.emplace(def->getName(), pos);
        if (def->isKey()) {
            _keys.push_back(pos);
        }
        if (type->isReference()) {
            _holdsReferences = true;
            if (kind == Kind::Plain && !type->isArray()) {
                _references.push_back(pos);
            }
        }
        auto null = CVelaValue::makeNull(type);
        _nullProperties.push_back(makeVELSmrPtr<CVelaProperty>(def->getName(), type, null));
        _nullValues.push_back(std::move(null));
        _properties.push_back(std::move(def));
        _types.push_back(std::move(type));
        _kinds.push_back(kind);
    }
}

long ClassLayout::indexOf(const VELString& name, std::size_t hint) const {
    if (hint < _properties.size() && _properties[hint]->getName().equalsIgnoreCase(name)) {
        return static_cast<long>(hint);
    }
    auto it = _index.find(name);
    return it == _index.end() ? -1 : static_cast<long>(it->second);
}

}  // namespace tarn
