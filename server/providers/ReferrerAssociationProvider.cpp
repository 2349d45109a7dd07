#include "providers/ReferrerAssociationProvider.h"

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

}  // namespace

VELSmrPtr<IVelaInstanceName> ReferrerAssociationProvider::referenceOf(const IVelaProperty& p) {
    const auto& v = p.getValue();
    if (v.isNull() || !v->isSet() || !v->getType()->isReference() || v->getType()->isArray() ||
        v->isUntyped()) {
        return nullptr;
    }
    return v->getReference();
}

void ReferrerAssociationProvider::otherEnds(const ProviderContext& context,
                                            const Classes& assocClasses,
                                            const VELSmrPtr<IVelaInstanceName>& objectName,
                                            const VELString& resultClass, const VELString& role,
                                            const VELString& resultRole,
                                            const EndCallback& each) const {
    referrers(context, assocClasses, objectName, role,
              [&](const VELSmrPtr<IVelaObject>& association, const std::vector<VELString>& roles) {
                  for (std::size_t i = 0; i < association->getPropertyCount(); ++i) {
                      const auto& p = association->getProperty(i);
                      if (contains(roles, p->getName()) ||
                          (!resultRole.isNull() && !p->getName().equalsIgnoreCase(resultRole))) {
                          continue;
                      }
                      VELSmrPtr<IVelaInstanceName> end = referenceOf(*p);
                      if (end.isNull()) {
                          continue;
                      }
                      if (!resultClass.isNull()) {
                          auto cls =
                              _schema.getClass(InstancePaths::nameSpaceOf(*end, context.nameSpace),
                                               end->getClassName());
                          if (cls.isNull() || !cls->isA(resultClass)) {
                              continue;
                          }
                      }
                      if (!each(endName(end, context.nameSpace))) {
                          return false;
                      }
                  }
                  return true;
              });
}

void ReferrerAssociationProvider::associators(const ProviderContext& context,
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

void ReferrerAssociationProvider::associatorNames(
    const ProviderContext& context, const Classes& assocClasses,
    const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& resultClass,
    const VELString& role, const VELString& resultRole,
    IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) {
    otherEnds(context, assocClasses, objectName, resultClass, role, resultRole,
              [&](const VELSmrPtr<IVelaInstanceName>& name) { return out.add(name, true); });
}

void ReferrerAssociationProvider::references(const ProviderContext& context,
                                             const Classes& assocClasses,
                                             const VELSmrPtr<IVelaInstanceName>& objectName,
                                             const VELString& role,
                                             IMultiResponse<VELSmrPtr<IVelaObject>>& out) {
    referrers(context, assocClasses, objectName, role,
              [&](const VELSmrPtr<IVelaObject>& association, const std::vector<VELString>&) {
                  return out.add(association, true);
              });
}

void ReferrerAssociationProvider::referenceNames(
    const ProviderContext& context, const Classes& assocClasses,
    const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
    IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) {
    referrers(context, assocClasses, objectName, role,
              [&](const VELSmrPtr<IVelaObject>& association, const std::vector<VELString>&) {
                  return out.add(association->getPath(), true);
              });
}

}  // namespace tarn
