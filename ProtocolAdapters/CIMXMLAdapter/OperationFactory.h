// cimxmlpa::OperationFactory: turns a method call of a request into the
// operation object that serves it.
//
// Intrinsic calls are looked up by method name in a table of the standard
// operation names, compared exactly and in a fixed order; each entry names
// the function that makes its operation class. An entry without one (a name
// whose class is not part of the adapter yet) serves nothing, and the call is
// answered like an unknown method. Extrinsic calls all go to one class.
//
// Serving a new operation takes two steps in OperationFactory.cpp: include
// the class's header and put &create<TheClass> into its table entry (or into
// the extrinsic creator). The class must derive from VelaOperationBase and
// have the constructor
//   TheClass(IVelaOperationHandlerContext*, VELSmrPtr<VELCIMMethodCall>&,
//            const VELSmrPtr<tarn::security::ISecurityToken>&)
// which reads the call's parameters and records a failure as its error code.
#pragma once

#include <span>

#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VelaOperationBase.h"

namespace cimxmlpa {

class OperationFactory {
  public:
    using Operation = VELSmrPtr<VelaOperationBase>;
    using Creator = Operation (*)(IVelaOperationHandlerContext* context,
                                  VELSmrPtr<VELCIMMethodCall>& call,
                                  const VELSmrPtr<tarn::security::ISecurityToken>& token);
    struct Entry {
        const VELString* methodName;  // a VELCIMStrings constant
        Creator create;               // null while no class serves the name
    };

    // The operation for an intrinsic call named methodName; null when no
    // class serves that name (unknown, or not served yet).
    static Operation createIntrinsic(const VELString& methodName,
                                     IVelaOperationHandlerContext* context,
                                     VELSmrPtr<VELCIMMethodCall>& call,
                                     const VELSmrPtr<tarn::security::ISecurityToken>& token);
    // The operation for an extrinsic call (an InvokeMethodOperation).
    static Operation createExtrinsic(IVelaOperationHandlerContext* context,
                                     VELSmrPtr<VELCIMMethodCall>& call,
                                     const VELSmrPtr<tarn::security::ISecurityToken>& token);

    // The intrinsic table in the order names are compared.
    static std::span<const Entry> intrinsicTable();

    // The creator of one operation class.
    template <class T>
    static Operation create(IVelaOperationHandlerContext* context,
                            VELSmrPtr<VELCIMMethodCall>& call,
                            const VELSmrPtr<tarn::security::ISecurityToken>& token) {
        return Operation(new T(context, call, token));
    }
};

}  // namespace cimxmlpa
