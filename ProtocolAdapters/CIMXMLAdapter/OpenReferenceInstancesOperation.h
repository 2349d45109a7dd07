// cimxmlpa::OpenReferenceInstancesOperation: OpenReferenceInstances: opens a pulled enumeration of
// the association instances that refer to an instance and answers its first batch, as
// VALUE.INSTANCEWITHPATH elements, then EnumerationContext and EndOfSequence.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/OpenReferenceInstancesOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class OpenReferenceInstancesOperation : public OpenReferenceInstancesOperationBase {
  public:
    OpenReferenceInstancesOperation(IVelaOperationHandlerContext* context,
                                    VELSmrPtr<VELCIMMethodCall>& call,
                                    const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~OpenReferenceInstancesOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void initialize(VELSmrPtr<VELCIMMethodCall>& call);
    // The class that governs how an instance is written (see OperationUtil).
    VELSmrPtr<IVelaClass> findOriginClass(const VELSmrPtr<IVelaObject>& instance);
};

}  // namespace cimxmlpa
