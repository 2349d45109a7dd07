// cimxmlpa::PullInstancePathsOperation: PullInstancePaths: the next batch of an enumeration of
// instance paths, as INSTANCEPATH elements.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/PullInstancePathsOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class PullInstancePathsOperation : public PullInstancePathsOperationBase {
  public:
    PullInstancePathsOperation(IVelaOperationHandlerContext* context,
                               VELSmrPtr<VELCIMMethodCall>& call,
                               const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~PullInstancePathsOperation() override;

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
