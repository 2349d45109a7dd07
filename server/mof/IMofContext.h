// tarn::IMofContext: the schema a compilation builds on, such as the
// repository it writes into: qualifier declarations and classes that MOF
// text may use without declaring them.
#pragma once

#include "tarn/IClassLookup.h"
#include "tarn/IQualifierDef.h"

namespace tarn {

class IMofContext : public IClassLookup {
  public:
    // Null when the namespace or the declaration does not exist. Names ignore case.
    virtual VELSmrPtr<IQualifierDef> getQualifierDef(const VELString& nameSpace,
                                                     const VELString& name) const = 0;
    // Classes must be resolved CVelaClass objects to serve as superclasses.
    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                   const VELString& className) const override = 0;
};

}  // namespace tarn
