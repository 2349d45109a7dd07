// cimxmlpa::AssociatorsOperation: Associators, the objects associated with
// a class or an instance, streamed as VALUE.OBJECTWITHPATH elements while
// the providers still produce them: classes with their paths, without
// qualifiers and with their local elements only, whatever the request says;
// instances with the properties of PropertyList and, with IncludeClassOrigin,
// their class origins.
//
// Reads ObjectName, the filters AssocClass, ResultClass, Role and ResultRole
// as received, IncludeClassOrigin and PropertyList; IncludeQualifiers is
// accepted but not read.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaAssociatorsOperationBase.h"

namespace cimxmlpa {

class AssociatorsOperation : public VelaAssociatorsOperationBase {
  public:
    AssociatorsOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                         const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~AssociatorsOperation() override;

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
