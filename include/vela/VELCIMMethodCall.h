// VELCIMMethodCall: one method call of a CIM-XML request: an intrinsic call
// (IMETHODCALL) with its namespace, an extrinsic call (METHODCALL) whose target
// is offered as the parameter "ObjectName", or an export call (EXPMETHODCALL).
// The target is not one of the parameters in the list: the list holds the
// method's own input parameters only.
#pragma once

#include "vela/VELCIMParamValue.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELValSlist.h"

class IVelaNameSpacePath;

class VELCIMMethodCall {
  public:
    using ParamList = VELValSlist<VELSmrPtr<VELCIMParamValue>>;

    enum class Kind { Intrinsic, Extrinsic, Export };

    VELCIMMethodCall(VELString methodName, Kind kind, VELString nameSpace = {},
                     bool isAsync = false);

    void addParameter(const VELSmrPtr<VELCIMParamValue>& param);
    void setNameSpacePath(VELSmrPtr<IVelaNameSpacePath> path) { _nameSpacePath = std::move(path); }
    // The target of an extrinsic call: a parameter named "ObjectName" whose
    // value is a reference (to an instance name, or to a class-only name).
    void setTarget(VELSmrPtr<VELCIMParamValue> target) { _target = std::move(target); }

    const VELString& getMethodName() const { return _methodName; }
    // The namespace of the call's local namespace path ("root/cimv2").
    const VELString& getNameSpace() const { return _nameSpace; }
    const VELSmrPtr<IVelaNameSpacePath>& getNameSpacePath() const { return _nameSpacePath; }
    bool isIntrinsic() const { return _kind == Kind::Intrinsic; }
    bool isExport() const { return _kind == Kind::Export; }
    Kind getKind() const { return _kind; }
    // An asynchronous call (one that asks for its response to be delivered later).
    bool isAsync() const { return _async; }

    // The parameters in request order (never null; may be empty).
    const VELSmrPtr<ParamList>& getParameterListPtr() const { return _params; }
    // The target of an extrinsic call (null for other calls).
    const VELSmrPtr<VELCIMParamValue>& getTarget() const { return _target; }
    // The first parameter of exactly this name, or null. For an extrinsic
    // call, "ObjectName" names the target.
    VELSmrPtr<VELCIMParamValue> getParameterByName(const VELString& name) const;
    // Its value's text; a null (empty) string when the parameter is absent or
    // has no value.
    VELString getParameterValueByName(const VELString& name) const;

  private:
    VELString _methodName;
    Kind _kind;
    VELString _nameSpace;
    bool _async;
    VELSmrPtr<IVelaNameSpacePath> _nameSpacePath;
    VELSmrPtr<VELCIMParamValue> _target;
    VELSmrPtr<ParamList> _params;
};
