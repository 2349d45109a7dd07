// tarn::MofValueConverter: types a MOF constant as a value of a CIM type:
// range checks for integers, reals and char16, datetime syntax, object paths
// for references, arrays element by element. Faults are returned as a
// message, never thrown.
#pragma once

#include <functional>
#include <string>

#include "mof/MofSyntax.h"
#include "vela/CVelaValue.h"

namespace tarn {

class MofValueConverter {
  public:
    // Resolves "$alias" to the path of the aliased instance; false with why
    // set when it cannot.
    using AliasResolver = std::function<bool(const MofLiteral& alias,
                                             VELSmrPtr<IVelaInstanceName>& path, std::string& why)>;

    // Converts lit (its strings are moved out) to a value of type. A scalar
    // for an array type is taken as an array of one element when
    // scalarForArray is set (qualifier values), else it is a fault. Aliases
    // are allowed only with a resolver. On a fault returns false with why
    // and wherePos (the element at fault) set.
    static bool convert(MofLiteral& lit, const VELSmrPtr<IVelaType>& type, bool scalarForArray,
                        const AliasResolver* aliases, VELSmrPtr<IVelaValue>& out, std::string& why,
                        MofPos& wherePos);

    // A short description of a constant for messages ("number 300", "string \"x\"").
    static std::string describe(const MofLiteral& lit);
    // The type as written in MOF ("uint8", "string[]", "CIM_Foo REF").
    static std::string typeName(const IVelaType& type);

  private:
    static bool scalar(MofLiteral& lit, const VELSmrPtr<IVelaType>& type,
                       const AliasResolver* aliases, CVelaValue::Scalar& out, std::string& why);
};

}  // namespace tarn
