// cimxmlpa::ReferencesOperation: References, the associations that refer to
// a class or an instance, streamed as VALUE.OBJECTWITHPATH elements while the
// providers still produce them, written as Associators writes its objects.
//
// Reads ObjectName, the filters ResultClass and Role as received,
// IncludeClassOrigin and PropertyList; IncludeQualifiers is accepted but not
// read.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaReferencesOperationBase.h"

namespace cimxmlpa {

class ReferencesOperation : public VelaReferencesOperationBase {
  public:
    ReferencesOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                        const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~ReferencesOperation() override;

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
