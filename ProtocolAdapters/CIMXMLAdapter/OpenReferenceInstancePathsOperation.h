// cimxmlpa::OpenReferenceInstancePathsOperation: OpenReferenceInstancePaths: opens a pulled
// enumeration of the paths of the association instances that refer to an instance and answers its
// first batch, as INSTANCEPATH elements, then EnumerationContext and EndOfSequence.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/OpenReferenceInstancePathsOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class OpenReferenceInstancePathsOperation : public OpenReferenceInstancePathsOperationBase {
  public:
    OpenReferenceInstancePathsOperation(IVelaOperationHandlerContext* context,
                                        VELSmrPtr<VELCIMMethodCall>& call,
                                        const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~OpenReferenceInstancePathsOperation() override;

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
