#include "providers/RepositoryAssociationProvider.h"

#include "providers/InstancePaths.h"

namespace tarn {

namespace {

bool contains(const std::vector<VELString>& names, const VELString& name) {
    for (const VELString& n : names) {
        if (n.equalsIgnoreCase(name)) {
            return true;
        }
    }
    return false;
}

std::vector<VELString> namesOf(const IAssociationProvider::Classes& classes) {
    std::vector<VELString> names;
    names.reserve(classes.size());
    for (const auto& c : classes) {
        names.push_back(c->getName());
    }
    return names;
}

}  // namespace

void RepositoryAssociationProvider::otherEnds(const ProviderContext& context,
                                              const Classes& assocClasses,
                                              const VELSmrPtr<IVelaInstanceName>& objectName,
                                              const VELString& resultClass, const VELString& role,
                                              const VELString& resultRole,
                                              const EndCallback& each) const {
    const ISchemaCatalog& schema = *_repository.catalog();
    _repository.referrers(
        context.nameSpace, namesOf(assocClasses), objectName, role,
        [&](const VELSmrPtr<IVelaObject>& association, const std::vector<VELString>& roles) {
            for (std::size_t i = 0; i < association->getPropertyCount(); ++i) {
                const auto& p = association->getProperty(i);
                const auto& v = p->getValue();
                if (v.isNull() || !v->isSet() || !v->getType()->isReference() ||
                    v->getType()->isArray() || contains(roles, p->getName()) ||
                    (!resultRole.isNull() && !p->getName().equalsIgnoreCase(resultRole))) {
                    continue;
                }
                VELSmrPtr<IVelaInstanceName> end = v->getReference();
                if (!resultClass.isNull()) {
                    auto cls = schema.getClass(InstancePaths::nameSpaceOf(*end, context.nameSpace),
                                               end->getClassName());
                    if (cls.isNull() || !cls->isA(resultClass)) {
                        continue;
                    }
                }
                if (!each(end)) {
                    return false;
                }
            }
            return true;
        });
}

void RepositoryAssociationProvider::associators(const ProviderContext& context,
                                                const Classes& assocClasses,
                                                const VELSmrPtr<IVelaInstanceName>& objectName,
                                                const VELString& resultClass, const VELString& role,
                                                const VELString& resultRole,
                                                IMultiResponse<VELSmrPtr<IVelaObject>>& out) {
    otherEnds(context, assocClasses, objectName, resultClass, role, resultRole,
              [&](const VELSmrPtr<IVelaInstanceName>& name) {
                  VELSmrPtr<IVelaObject> object = _providers.fetchInstance(context, name);
                  return object.isNull() || out.add(std::move(object), true);
              });
}

void RepositoryAssociationProvider::associatorNames(
    const ProviderContext& context, const Classes& assocClasses,
    const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& resultClass,
    const VELString& role, const VELString& resultRole,
    IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) {
    otherEnds(context, assocClasses, objectName, resultClass, role, resultRole,
              [&](const VELSmrPtr<IVelaInstanceName>& name) { return out.add(name, true); });
}

void RepositoryAssociationProvider::references(const ProviderContext& context,
                                               const Classes& assocClasses,
                                               const VELSmrPtr<IVelaInstanceName>& objectName,
                                               const VELString& role,
                                               IMultiResponse<VELSmrPtr<IVelaObject>>& out) {
    _repository.referrers(
        context.nameSpace, namesOf(assocClasses), objectName, role,
        [&](const VELSmrPtr<IVelaObject>& association, const std::vector<VELString>&) {
            return out.add(association, true);
        });
}

void RepositoryAssociationProvider::referenceNames(
    const ProviderContext& context, const Classes& assocClasses,
    const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
    IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) {
    _repository.referrers(
        context.nameSpace, namesOf(assocClasses), objectName, role,
        [&](const VELSmrPtr<IVelaObject>& association, const std::vector<VELString>&) {
            return out.add(association->getPath(), true);
        });
}

}  // namespace tarn
