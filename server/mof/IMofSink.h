// tarn::IMofSink: receives the result of a MOF compilation that had no error.
// The compiler calls begin(), then for each namespace nameSpace() followed by
// its qualifier declarations, its classes (superclasses first, inheritance
// resolved) and its instances, and finally commit(). A sink that throws
// VelaBaseException makes the compiler report the failure and call abort(),
// so that a sink backed by storage can write everything in one transaction.
#pragma once

#include "tarn/IQualifierDef.h"
#include "vela/CVelaClass.h"
#include "vela/IVelaObject.h"

namespace tarn {

class IMofSink {
  public:
    virtual ~IMofSink() = default;

    virtual void begin() {}
    // The following declarations belong to this namespace (create it when
    // it does not exist).
    virtual void nameSpace(const VELString& nameSpace) = 0;
    virtual void qualifierDecl(const VELSmrPtr<IQualifierDef>& decl) = 0;
    // A resolved class: its superclass (if any) was handed over before it or
    // was already known through the compilation's context.
    virtual void classDecl(const VELSmrPtr<CVelaClass>& cls) = 0;
    // An instance with its path (class, namespace and keys); it carries every
    // property of its class, given or defaulted.
    virtual void instance(const VELSmrPtr<IVelaObject>& instance) = 0;
    virtual void commit() {}
    // Called instead of commit() after a failure; must not throw.
    virtual void abort() noexcept {}
};

}  // namespace tarn
