// cimxmlpa::OpenAssociatorInstancesOperation: OpenAssociatorInstances: opens a pulled enumeration
// of the instances associated with an instance and answers its first batch, as
// VALUE.INSTANCEWITHPATH elements, then EnumerationContext and EndOfSequence.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/OpenAssociatorInstancesOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class OpenAssociatorInstancesOperation : public OpenAssociatorInstancesOperationBase {
  public:
    OpenAssociatorInstancesOperation(IVelaOperationHandlerContext* context,
                                     VELSmrPtr<VELCIMMethodCall>& call,
                                     const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~OpenAssociatorInstancesOperation() override;

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
