// cimxmlpa::InvokeMethodOperation: an extrinsic method call on an instance
// or, for a static method, on a class.
//
// Reads the target (the call's ObjectName) and the input parameters, each
// with its name once (names compared without regard to case) and a known
// PARAMTYPE when one is given; the object manager checks them against the
// method's definition. Answers with RETURNVALUE and the output parameters as
// PARAMVALUE elements, or ERROR.
#pragma once

#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaInvokeMethodOperationBase.h"

namespace cimxmlpa {

class InvokeMethodOperation : public VelaInvokeMethodOperationBase {
  public:
    InvokeMethodOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                          const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~InvokeMethodOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

  private:
    void initialize(VELSmrPtr<VELCIMMethodCall>& call);
    // RETURNVALUE and the output parameters.
    void writeResults(std::ostream& out);
};

}  // namespace cimxmlpa
