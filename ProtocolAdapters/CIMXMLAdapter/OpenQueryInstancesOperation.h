// cimxmlpa::OpenQueryInstancesOperation: OpenQueryInstances: opens a pulled
// enumeration of the instances a query selects and answers its first batch, as
// INSTANCE elements, then QueryResultClass, EnumerationContext and
// EndOfSequence.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/OpenQueryInstancesOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class OpenQueryInstancesOperation : public OpenQueryInstancesOperationBase {
  public:
    OpenQueryInstancesOperation(IVelaOperationHandlerContext* context,
                                VELSmrPtr<VELCIMMethodCall>& call,
                                const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~OpenQueryInstancesOperation() override;

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
