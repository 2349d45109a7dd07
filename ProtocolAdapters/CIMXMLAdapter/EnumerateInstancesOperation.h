// cimxmlpa::EnumerateInstancesOperation: EnumerateInstances, the instances of
// a class and its subclasses, streamed as VALUE.NAMEDINSTANCE elements while
// the providers still produce them.
//
// Reads ClassName, PropertyList, IncludeClassOrigin (default false) and
// DeepInheritance (default true); LocalOnly and IncludeQualifiers are
// accepted but not read. With DeepInheritance false each instance is written
// with the properties of the requested class and its ancestors only.
#pragma once

#include <memory>

#include "CIMXMLUtil.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VelaEnumerateInstancesOperationBase.h"

namespace cimxmlpa {

class EnumerateInstancesOperation : public VelaEnumerateInstancesOperationBase {
  public:
    EnumerateInstancesOperation(IVelaOperationHandlerContext* context,
                                VELSmrPtr<VELCIMMethodCall>& call,
                                const VELSmrPtr<tarn::security::ISecurityToken>& token);
    ~EnumerateInstancesOperation() override;

    bool isValid() const override;
    void setErrorCode(int code) override;
    void writeResponse(VELGenericHTTPOStream& out) override;

    static std::unique_ptr<CIMXMLUtil::ParamNameSet> reqParamSet;
    static std::unique_ptr<CIMXMLUtil::ParamNameSet> optParamSet;
    static void buildReqParamSet();
    static void buildOptParamSet();

  private:
    void initialize(VELSmrPtr<VELCIMMethodCall>& call);
    // The class whose definition governs how the instance is written: its own
    // class, or with DeepInheritance false the requested ancestor; null
    // (logged) when it cannot be found.
    VELSmrPtr<IVelaClass> findOriginClass(const VELSmrPtr<IVelaObject>& instance);
    // The properties of originClass and its ancestors that the instance has,
    // each once, from originClass upward, limited by the request's list.
    VELSmrPtr<VELValSlist<VELString>> buildDeepInheritancePropertyList(
        const VELSmrPtr<IVelaObject>& instance, const VELSmrPtr<IVelaClass>& originClass);
};

}  // namespace cimxmlpa
