// cimxmlpa::CreateInstanceOperation: CreateInstance, makes an instance from
// NewInstance and answers with the INSTANCENAME the object manager gave it,
// or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaCreateInstanceOperationBase.h"

namespace cimxmlpa {

class CreateInstanceOperation : public VelaCreateInstanceOperationBase {
  public:
    CreateInstanceOperation(IVelaOperationHandlerContext* context,
                            VELSmrPtr<VELCIMMethodCall>& call,
                            const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~CreateInstanceOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void setRequestInstance(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
