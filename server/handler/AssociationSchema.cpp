#include "handler/AssociationSchema.h"

namespace tarn {

std::shared_ptr<const AssociationSchema::Table> AssociationSchema::of(
    const VELString& nameSpace) const {
    // Read first: a table built after this read reflects this generation or a later one.
    const std::uint64_t generation = _schema.generation();
    {
        std::lock_guard<std::mutex> lock(_m);
        auto it = _tables.find(nameSpace);
        if (it != _tables.end() && it->second.generation == generation) {
            return it->second.table;
        }
    }
    auto table = std::make_shared<Table>();
    for (const auto& cls : _schema.getSubclasses(nameSpace, VELString(), true)) {
        if (!cls->isAssociation()) {
            continue;
        }
        Association a{cls, {}};
        for (auto it = cls->getPropertyDefs(true); it->hasNext();) {
            VELSmrPtr<IPropertyDef> def = it->next();
            const IVelaType& type = *def->getType();
            if (type.isReference() && !type.isArray()) {
                a.roles.push_back({def->getName(), type.getReferenceClassName()});
            }
        }
        table->push_back(std::move(a));
    }
    std::lock_guard<std::mutex> lock(_m);
    _tables[nameSpace] = Entry{generation, table};
    return table;
}

}  // namespace tarn
