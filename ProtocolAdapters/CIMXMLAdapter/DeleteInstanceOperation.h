// cimxmlpa::DeleteInstanceOperation: DeleteInstance, deletes the instance
// named by InstanceName. Answers with an empty IMETHODRESPONSE, or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaDeleteInstanceOperationBase.h"

namespace cimxmlpa {

class DeleteInstanceOperation : public VelaDeleteInstanceOperationBase {
  public:
    DeleteInstanceOperation(IVelaOperationHandlerContext* context,
                            VELSmrPtr<VELCIMMethodCall>& call,
                            const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~DeleteInstanceOperation() override;

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
