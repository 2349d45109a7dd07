// cimxmlpa::EnumerateClassesOperation: EnumerateClasses, the definitions of
// the subclasses of ClassName (of the root classes without it), streamed as
// CLASS elements while the object manager still produces them.
//
// Reads ClassName, DeepInheritance, LocalOnly, IncludeQualifiers and
// IncludeClassOrigin; the three flags of the encoder shape every class.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaEnumerateClassesOperationBase.h"

namespace cimxmlpa {

class EnumerateClassesOperation : public VelaEnumerateClassesOperationBase {
  public:
    EnumerateClassesOperation(IVelaOperationHandlerContext* context,
                              VELSmrPtr<VELCIMMethodCall>& call,
                              const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~EnumerateClassesOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void setRequest(VELSmrPtr<VELCIMMethodCall>& call);
};

}  // namespace cimxmlpa
