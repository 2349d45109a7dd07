// cimxmlpa::CloseEnumerationOperation: CloseEnumeration: ends a pulled enumeration before its end;
// answers an empty IRETURNVALUE.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/CloseEnumerationOperationBase.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class CloseEnumerationOperation : public CloseEnumerationOperationBase {
  public:
    CloseEnumerationOperation(IVelaOperationHandlerContext* context,
                              VELSmrPtr<VELCIMMethodCall>& call,
                              const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~CloseEnumerationOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void initialize(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
