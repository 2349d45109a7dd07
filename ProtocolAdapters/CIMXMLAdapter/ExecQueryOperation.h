// cimxmlpa::ExecQueryOperation: ExecQuery, the instances a query selects,
// streamed as the providers find them.
//
// Reads Query and QueryLanguage (both required, neither may be empty); the
// object manager parses and runs the query. Each result is written by
// streamObject: VALUE.OBJECTWITHPATH for an instance whose path names its
// namespace, else the "VALUE.OBECT" element.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaExecQueryOperationBase.h"

namespace cimxmlpa {

class ExecQueryOperation : public VelaExecQueryOperationBase {
  public:
    ExecQueryOperation(IVelaOperationHandlerContext* context, VELSmrPtr<VELCIMMethodCall>& call,
                       const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~ExecQueryOperation() override;

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
