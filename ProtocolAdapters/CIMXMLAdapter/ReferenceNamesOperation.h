// cimxmlpa::ReferenceNamesOperation: ReferenceNames, the paths of the
// associations that refer to a class or an instance, streamed as OBJECTPATH
// elements while the providers still produce them.
//
// Reads ObjectName and the filters ResultClass and Role as received.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaReferenceNamesOperationBase.h"

namespace cimxmlpa {

class ReferenceNamesOperation : public VelaReferenceNamesOperationBase {
  public:
    ReferenceNamesOperation(IVelaOperationHandlerContext* context,
                            VELSmrPtr<VELCIMMethodCall>& call,
                            const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~ReferenceNamesOperation() override;

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
