// cimxmlpa::GetClassOperation: GetClass, one class definition by name.
//
// Reads ClassName, PropertyList, IncludeQualifiers, IncludeClassOrigin and
// LocalOnly; answers with the CLASS, filtered by those flags, or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaGetClassOperationBase.h"

namespace cimxmlpa {

class GetClassOperation : public VelaGetClassOperationBase {
  public:
    GetClassOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                      const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~GetClassOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    // The parameter names the operation requires and the others it allows;
    // built once while the library loads.
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void setRequest(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
