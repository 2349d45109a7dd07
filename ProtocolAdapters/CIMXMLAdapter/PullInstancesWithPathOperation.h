// cimxmlpa::PullInstancesWithPathOperation: PullInstancesWithPath: the next batch of an
// enumeration of instances, written as the open wrote its first batch.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/PullInstancesWithPathOperationBase.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"

namespace cimxmlpa {

class PullInstancesWithPathOperation : public PullInstancesWithPathOperationBase {
  public:
    PullInstancesWithPathOperation(IVelaOperationHandlerContext* context,
                                   VELSmrPtr<VELCIMMethodCall>& call,
                                   const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~PullInstancesWithPathOperation() override;

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
    VELSmrPtr<VELValSlist<VELString>> buildDeepInheritancePropertyList(
        const VELSmrPtr<IVelaObject>& instance, const VELSmrPtr<IVelaClass>& originClass);
};

}  // namespace cimxmlpa
