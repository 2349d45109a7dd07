#include "providers/EnumeratingAssociationProvider.h"

#include "providers/CallbackResponse.h"
#include "providers/InstancePaths.h"

namespace tarn {

void EnumeratingAssociationProvider::referrers(const ProviderContext& context,
                                               const Classes& assocClasses,
                                               const VELSmrPtr<IVelaInstanceName>& objectName,
                                               const VELString& role, const Each& each) const {
    // The association instances whole: the request's property list is for
    // what it returns.
    ProviderContext whole = context;
    whole.propertyList = nullptr;
    for (const auto& cls : assocClasses) {
        IInstanceProvider* provider =
            _providers.findInstanceProvider(context.nameSpace, cls->getName());
        if (!provider) {
            continue;
        }
        bool more = true;
        CallbackResponse<VELSmrPtr<IVelaObject>> collector(
            [&](const VELSmrPtr<IVelaObject>& association) {
                std::vector<VELString> roles;
                for (std::size_t i = 0; i < association->getPropertyCount(); ++i) {
                    const auto& p = association->getProperty(i);
                    if (!role.isNull() && !p->getName().equalsIgnoreCase(role)) {
                        continue;
                    }
                    VELSmrPtr<IVelaInstanceName> ref = referenceOf(*p);
                    if (!ref.isNull() &&
                        InstancePaths::same(*ref, *objectName, context.nameSpace)) {
                        roles.push_back(p->getName());
                    }
                }
                more = roles.empty() || each(association, roles);
                return more;
            });
        provider->enumerateInstances(whole, cls, collector);
        if (!more) {
            return;
        }
    }
}

VELSmrPtr<IVelaInstanceName> EnumeratingAssociationProvider::endName(
    const VELSmrPtr<IVelaInstanceName>& end, const VELString& nameSpace) const {
    return InstancePaths::withNameSpace(end, nameSpace);
}

}  // namespace tarn
