// cimxmlpa::GetQualifierOperation: GetQualifier, one qualifier declaration
// of the namespace by name, answered as QUALIFIER.DECLARATION or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaGetQualifierOperationBase.h"

namespace cimxmlpa {

class GetQualifierOperation : public VelaGetQualifierOperationBase {
  public:
    GetQualifierOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                          const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~GetQualifierOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void setRequest(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
