// tarn::IAssociationProvider: follows the instances of the association
// classes it is registered for. The object manager calls it once per request
// with those of its classes (each exactly that class, not its subclasses)
// that can link the source object and that the request's AssocClass (for
// References, ResultClass) admits, so a provider need not look at subclasses
// or at AssocClass; it applies the other filters:
//
//   role         the reference property through which an association
//                instance refers to the source object (empty: any);
//   resultClass  the objects at the other ends must be of this class or a
//                subclass (empty: any);
//   resultRole   the reference property of the association instance that
//                names the other end (empty: any but the one naming the
//                source object).
//
// The source object is an instance of the request's namespace. Results are
// added until out.add returns false (the client has gone). An object at the
// other end that no longer exists is left out, not an error. Providers may
// run on several threads at once; failures are thrown as VelaBaseException
// whose code is the CIM status to report. A provider module that serves the
// instances of an association class may register an association provider
// for it too; otherwise the object manager follows the class by filtering
// the instance provider's enumeration of it, which reads every instance of
// the class on each request.
#pragma once

#include <vector>

#include "tarn/IMultiResponse.h"
#include "tarn/ProviderContext.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"

namespace tarn {

class IAssociationProvider {
  public:
    using Classes = std::vector<VELSmrPtr<IVelaClass>>;

    virtual ~IAssociationProvider() = default;

    // The objects at the other ends of the association instances, each with
    // its path.
    virtual void associators(const ProviderContext& context, const Classes& assocClasses,
                             const VELSmrPtr<IVelaInstanceName>& objectName,
                             const VELString& resultClass, const VELString& role,
                             const VELString& resultRole,
                             IMultiResponse<VELSmrPtr<IVelaObject>>& out) = 0;
    virtual void associatorNames(const ProviderContext& context, const Classes& assocClasses,
                                 const VELSmrPtr<IVelaInstanceName>& objectName,
                                 const VELString& resultClass, const VELString& role,
                                 const VELString& resultRole,
                                 IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) = 0;
    // The association instances themselves, each with its path.
    virtual void references(const ProviderContext& context, const Classes& assocClasses,
                            const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                            IMultiResponse<VELSmrPtr<IVelaObject>>& out) = 0;
    virtual void referenceNames(const ProviderContext& context, const Classes& assocClasses,
                                const VELSmrPtr<IVelaInstanceName>& objectName,
                                const VELString& role,
                                IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) = 0;
};

}  // namespace tarn
