// VELCIMMethodCall: one method call of a CIM-XML request: an intrinsic call
// (IMETHODCALL) with its namespace, an extrinsic call (METHODCALL) whose target
// is offered as the parameter "ObjectName", or an export call (EXPMETHODCALL).
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
    // The first parameter of exactly this name, or null.
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
    VELSmrPtr<ParamList> _params;
};
