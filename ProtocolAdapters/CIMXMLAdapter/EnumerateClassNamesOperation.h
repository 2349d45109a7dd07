// cimxmlpa::EnumerateClassNamesOperation: EnumerateClassNames, the names of
// the subclasses of ClassName (of the root classes without it), streamed as
// CLASSNAME elements. Its parameters, ClassName and DeepInheritance, are read
// by the constructor.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaEnumerateClassNamesOperationBase.h"

namespace cimxmlpa {

class EnumerateClassNamesOperation : public VelaEnumerateClassNamesOperationBase {
  public:
    EnumerateClassNamesOperation(IVelaOperationHandlerContext* context,
                                 VELSmrPtr<VELCIMMethodCall>& call,
                                 const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~EnumerateClassNamesOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();
};

}  // namespace cimxmlpa
