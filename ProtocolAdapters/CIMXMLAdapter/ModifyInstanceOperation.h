// cimxmlpa::ModifyInstanceOperation: ModifyInstance, sets the properties of
// an instance (those of PropertyList, or all given) to the values of
// ModifiedInstance, a named instance; IncludeQualifiers is accepted but not
// read. Answers with an empty IMETHODRESPONSE, or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaModifyInstanceOperationBase.h"

namespace cimxmlpa {

class ModifyInstanceOperation : public VelaModifyInstanceOperationBase {
  public:
    ModifyInstanceOperation(IVelaOperationHandlerContext* context,
                            VELSmrPtr<VELCIMMethodCall>& call,
                            const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~ModifyInstanceOperation() override;

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
