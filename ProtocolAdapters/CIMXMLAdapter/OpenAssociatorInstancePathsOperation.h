// cimxmlpa::OpenAssociatorInstancePathsOperation: OpenAssociatorInstancePaths: opens a pulled
// enumeration of the paths of the instances associated with an instance and answers its first
// batch, as INSTANCEPATH elements, then EnumerationContext and EndOfSequence.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/OpenAssociatorInstancePathsOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class OpenAssociatorInstancePathsOperation : public OpenAssociatorInstancePathsOperationBase {
  public:
    OpenAssociatorInstancePathsOperation(IVelaOperationHandlerContext* context,
                                         VELSmrPtr<VELCIMMethodCall>& call,
                                         const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~OpenAssociatorInstancePathsOperation() override;

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
