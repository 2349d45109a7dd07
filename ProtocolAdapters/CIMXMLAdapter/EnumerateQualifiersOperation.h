// cimxmlpa::EnumerateQualifiersOperation: EnumerateQualifiers, every
// qualifier declaration of the namespace. It takes no parameters, and the
// object manager returns the declarations as one list (they are few).
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaEnumerateQualifiersOperationBase.h"

namespace cimxmlpa {

class EnumerateQualifiersOperation : public VelaEnumerateQualifiersOperationBase {
  public:
    EnumerateQualifiersOperation(IVelaOperationHandlerContext* context,
                                 VELSmrPtr<VELCIMMethodCall>& call,
                                 const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~EnumerateQualifiersOperation() override;

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
