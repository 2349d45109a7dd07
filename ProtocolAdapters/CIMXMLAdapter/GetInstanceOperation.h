// cimxmlpa::GetInstanceOperation: GetInstance, one instance by name.
//
// Reads InstanceName, PropertyList and IncludeClassOrigin; LocalOnly and
// IncludeQualifiers are accepted but not read, since instances are always
// written whole and without qualifiers. Answers with the INSTANCE, or ERROR.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaGetInstanceOperationBase.h"

namespace cimxmlpa {

class GetInstanceOperation : public VelaGetInstanceOperationBase {
  public:
    GetInstanceOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                         const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~GetInstanceOperation() override;

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
    void initialize(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
