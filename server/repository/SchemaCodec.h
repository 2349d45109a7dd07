// tarn::SchemaCodec: the binary form of qualifier declarations and class
// definitions in the repository.
//
// A class is stored as it was declared: its name, superclass name, and its
// local qualifiers, properties (type, fixed array size, default value,
// qualifiers) and methods (return type, qualifiers, parameters with their
// types and qualifiers). Inheritance is resolved again when the class is
// loaded, against its stored superclass, so a loaded class is the class that
// was written. Encoding is deterministic: the same definition gives the
// same bytes, which is how a redeclaration is recognised as identical.
#pragma once

#include <string>
#include <string_view>

#include "tarn/IQualifierDef.h"
#include "vela/CVelaClass.h"

namespace tarn {

class SchemaCodec {
  public:
    static std::string encodeQualifierDecl(const IQualifierDef& decl);
    // Throws VelaBaseException ("Repository", code 1) on damaged data.
    static VELSmrPtr<IQualifierDef> decodeQualifierDecl(std::string_view data);

    // The class's own (local) elements.
    static std::string encodeClass(const CVelaClass& cls);
    // An unresolved class of the namespace, ready for CVelaClass::resolve.
    static VELSmrPtr<CVelaClass> decodeClass(std::string_view data, const VELString& nameSpace);
};

}  // namespace tarn
