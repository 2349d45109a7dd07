// tarn::IMethodProvider: serves the extrinsic methods of the classes it is
// registered for (and of their subclasses that have no provider of their own).
//
// Before a call reaches the provider, the object manager has checked it
// against the class definition: the method exists, a non-static method is
// called on an instance that exists, every input parameter is one the method
// declares as input, typed as declared (names spelled as the class spells
// them), and every parameter marked Required is given. The provider returns
// the return value (null for none) and appends its output parameters to out;
// the object manager types them as the method declares them. Providers may run
// on several threads at once. Failures are thrown as VelaBaseException whose
// code is the CIM status to report (4 invalid parameter, 6 not found, 1
// failed...) and whose message tells the client what went wrong.
#pragma once

#include "tarn/ProviderContext.h"
#include "vela/IVelaActualParameter.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaValue.h"

namespace tarn {

class IMethodProvider {
  public:
    using Parameters = VELValSlist<VELSmrPtr<IVelaActualParameter>>;

    virtual ~IMethodProvider() = default;

    // target names the instance, or (a path without keys) the class for a
    // static method.
    virtual VELSmrPtr<IVelaValue> invokeMethod(const ProviderContext& context,
                                               const VELSmrPtr<IVelaInstanceName>& target,
                                               const VELString& methodName, const Parameters& in,
                                               Parameters& out) = 0;
};

}  // namespace tarn
