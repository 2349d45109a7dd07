// cimxmlpa::PullInstancesOperation: PullInstances: the next batch of an enumeration of query
// results, as INSTANCE elements.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/PullInstancesOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class PullInstancesOperation : public PullInstancesOperationBase {
  public:
    PullInstancesOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                           const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~PullInstancesOperation() override;

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
