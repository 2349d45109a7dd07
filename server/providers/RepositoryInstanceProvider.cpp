#include "providers/RepositoryInstanceProvider.h"

namespace tarn {

VELSmrPtr<IVelaObject> RepositoryInstanceProvider::getInstance(
    const ProviderContext& context, const VELSmrPtr<IVelaInstanceName>& name) {
    return _repository.getInstance(context.nameSpace, *name);
}

void RepositoryInstanceProvider::enumerateInstances(const ProviderContext& context,
                                                    const VELSmrPtr<IVelaClass>& cls,
                                                    IMultiResponse<VELSmrPtr<IVelaObject>>& out) {
    _repository.enumerateInstances(
        context.nameSpace, cls->getName(), false,
        [&out](const VELSmrPtr<IVelaObject>& instance) { return out.add(instance, true); });
}

void RepositoryInstanceProvider::enumerateInstanceNames(
    const ProviderContext& context, const VELSmrPtr<IVelaClass>& cls,
    IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) {
    _repository.enumerateInstanceNames(
        context.nameSpace, cls->getName(), false,
        [&out](const VELSmrPtr<IVelaInstanceName>& name) { return out.add(name, true); });
}

VELSmrPtr<IVelaInstanceName> RepositoryInstanceProvider::createInstance(
    const ProviderContext& context, const VELSmrPtr<IVelaObject>& instance) {
    return _repository.createInstance(context.nameSpace, *instance);
}

void RepositoryInstanceProvider::modifyInstance(
    const ProviderContext& context, const VELSmrPtr<IVelaInstanceName>& name,
    const VELSmrPtr<IVelaObject>& instance, const VELSmrPtr<VELValSlist<VELString>>& propertyList) {
    _repository.modifyInstance(context.nameSpace, name, *instance, propertyList);
}

void RepositoryInstanceProvider::deleteInstance(const ProviderContext& context,
                                                const VELSmrPtr<IVelaInstanceName>& name) {
    _repository.deleteInstance(context.nameSpace, *name);
}

}  // namespace tarn
