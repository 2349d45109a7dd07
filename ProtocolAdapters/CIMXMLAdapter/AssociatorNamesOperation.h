// cimxmlpa::AssociatorNamesOperation: AssociatorNames, the paths of the
// objects associated with a class or an instance, streamed as OBJECTPATH
// elements while the providers still produce them.
//
// Reads ObjectName (a class or instance name), and the filters AssocClass,
// ResultClass, Role and ResultRole as received.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaAssociatorNamesOperationBase.h"

namespace cimxmlpa {

class AssociatorNamesOperation : public VelaAssociatorNamesOperationBase {
  public:
    AssociatorNamesOperation(IVelaOperationHandlerContext* context,
                             VELSmrPtr<VELCIMMethodCall>& call,
                             const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~AssociatorNamesOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    // The parameter names the operation requires and the others it allows;
    // built once while the library loads.
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void setRequest(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
