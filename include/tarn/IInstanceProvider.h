// tarn::IInstanceProvider: serves the instances of the classes it is
// registered for. Providers may run on several threads at once. Failures are
// thrown as VelaBaseException whose code is the CIM status to report (6 not
// found, 11 already exists, 4 invalid parameter, 7 not supported...) and
// whose message tells the client what went wrong.
#pragma once

#include "tarn/IMultiResponse.h"
#include "tarn/ProviderContext.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"

namespace tarn {

class IInstanceProvider {
  public:
    virtual ~IInstanceProvider() = default;

    // The instance of this name, with its path; throws (code 6) when there is none.
    virtual VELSmrPtr<IVelaObject> getInstance(const ProviderContext& context,
                                               const VELSmrPtr<IVelaInstanceName>& name) = 0;
    // Adds the instances of exactly this class (not of its subclasses), each
    // with its path, until out.add returns false: the client has gone, so
    // the provider should stop.
    virtual void enumerateInstances(const ProviderContext& context,
                                    const VELSmrPtr<IVelaClass>& cls,
                                    IMultiResponse<VELSmrPtr<IVelaObject>>& out) = 0;
    virtual void enumerateInstanceNames(const ProviderContext& context,
                                        const VELSmrPtr<IVelaClass>& cls,
                                        IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) = 0;
    // Creates the instance and returns its name.
    virtual VELSmrPtr<IVelaInstanceName> createInstance(const ProviderContext& context,
                                                        const VELSmrPtr<IVelaObject>& instance) = 0;
    // Sets the properties of the property list (all given ones when it is
    // null) of the named instance to the values of instance.
    virtual void modifyInstance(const ProviderContext& context,
                                const VELSmrPtr<IVelaInstanceName>& name,
                                const VELSmrPtr<IVelaObject>& instance,
                                const VELSmrPtr<VELValSlist<VELString>>& propertyList) = 0;
    virtual void deleteInstance(const ProviderContext& context,
                                const VELSmrPtr<IVelaInstanceName>& name) = 0;
};

}  // namespace tarn
