// cimxmlpa::EnumerateInstanceNamesOperation: EnumerateInstanceNames, the
// names of the instances of a class and its subclasses, streamed as
// INSTANCENAME elements while the providers still produce them. Its only
// parameter, ClassName, is read by the constructor.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaEnumerateInstanceNamesOperationBase.h"

namespace cimxmlpa {

class EnumerateInstanceNamesOperation : public VelaEnumerateInstanceNamesOperationBase {
  public:
    EnumerateInstanceNamesOperation(IVelaOperationHandlerContext* context,
                                    VELSmrPtr<VELCIMMethodCall>& call,
                                    const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~EnumerateInstanceNamesOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();
};

}  // namespace cimxmlpa
