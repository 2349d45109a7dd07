// cimxmlpa::SetPropertyOperation: SetProperty, the new value of one property
// of one instance (NULL without NewValue). Text given for a property that
// holds embedded instances is parsed into instances before the object
// manager sees it. Answers with an empty response or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaSetPropertyOperationBase.h"

namespace cimxmlpa {

class SetPropertyOperation : public VelaSetPropertyOperationBase {
  public:
    SetPropertyOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                         const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~SetPropertyOperation() override;

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
