// cimxmlpa::GetPropertyOperation: GetProperty, the value of one property of
// one instance, answered as the bare value (nothing for a NULL) or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaGetPropertyOperationBase.h"

namespace cimxmlpa {

class GetPropertyOperation : public VelaGetPropertyOperationBase {
  public:
    GetPropertyOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                         const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~GetPropertyOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void setRequestParameters(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
