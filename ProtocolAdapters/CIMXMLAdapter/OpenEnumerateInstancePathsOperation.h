// cimxmlpa::OpenEnumerateInstancePathsOperation: OpenEnumerateInstancePaths: opens a pulled
// enumeration of the instance paths of a class and its subclasses and answers its first batch, as
// INSTANCEPATH elements, then EnumerationContext and EndOfSequence.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/OpenEnumerateInstancePathsOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class OpenEnumerateInstancePathsOperation : public OpenEnumerateInstancePathsOperationBase {
  public:
    OpenEnumerateInstancePathsOperation(IVelaOperationHandlerContext* context,
                                        VELSmrPtr<VELCIMMethodCall>& call,
                                        const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~OpenEnumerateInstancePathsOperation() override;

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
