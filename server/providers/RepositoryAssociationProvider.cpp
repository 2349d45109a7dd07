#include "providers/RepositoryAssociationProvider.h"

namespace tarn {

void RepositoryAssociationProvider::referrers(const ProviderContext& context,
                                              const Classes& assocClasses,
                                              const VELSmrPtr<IVelaInstanceName>& objectName,
                                              const VELString& role, const Each& each) const {
    std::vector<VELString> names;
    names.reserve(assocClasses.size());
    for (const auto& c : assocClasses) {
        names.push_back(c->getName());
    }
    _repository.referrers(context.nameSpace, names, objectName, role, each);
}

}  // namespace tarn
