#include "providers/RepositoryAssociationProvider.h"

#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

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

const VELString& nameSpaceOf(const IVelaInstanceName& name, const VELString& otherwise) {
    const auto& path = name.getNameSpacePath();
    return path.isNull() || path->getNameSpace().isNull() ? otherwise : path->getNameSpace();
}

// The object of that name from the provider that serves its class; null
// when it no longer exists.
VELSmrPtr<IVelaObject> fetch(const ProviderRegistry& providers, const ProviderContext& context,
                             const VELSmrPtr<IVelaInstanceName>& name) {
    const VELString& ns = nameSpaceOf(*name, context.nameSpace);
    ProviderContext elsewhere;
    const ProviderContext* at = &context;
    if (!ns.equalsIgnoreCase(context.nameSpace)) {
        elsewhere = context;
        elsewhere.nameSpace = ns;
        at = &elsewhere;
    }
    IInstanceProvider* provider = providers.findInstanceProvider(ns, name->getClassName());
    if (!provider) {
        return nullptr;
    }
    try {
        return provider->getInstance(*at, name);
    } catch (const VelaBaseException& e) {
        if (e.getCode() == CIM_ERR_NOT_FOUND || e.getCode() == CIM_ERR_INVALID_CLASS ||
            e.getCode() == CIM_ERR_INVALID_NAMESPACE) {
            return nullptr;
        }
        throw;
    }
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
                    auto cls =
                        schema.getClass(nameSpaceOf(*end, context.nameSpace), end->getClassName());
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
                  VELSmrPtr<IVelaObject> object = fetch(_providers, context, name);
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
