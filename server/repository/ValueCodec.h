// tarn::ValueCodec: the binary form of CIM types and values in the
// repository.
//
// A type is one byte: the CIMTypeId in the low five bits, 0x20 for an array,
// 0x40 when a class name follows (reference class or embedded-instance
// class), 0x80 when a flag byte follows (embedded object holding a class,
// holding an instance, declared EmbeddedObject; for values also untyped text,
// followed by its type hint, and unset). A value is its type followed by its
// payload unless it is unset: booleans one byte, unsigned integers and
// char16 varints, signed integers zigzag varints, real32 four bytes, real64
// eight, strings and datetimes length-prefixed text, references an instance
// name (host, namespace, class, key bindings), embedded instances their
// class, optional path and properties. An array is its element count, then
// per element a presence byte and the element. Embedded classes are not
// stored (code 7).
#pragma once

#include <cstddef>

#include "repository/BinaryReader.h"
#include "repository/BinaryWriter.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaValue.h"

namespace tarn {

class ValueCodec {
  public:
    // Nesting of references and embedded instances inside one value.
    static constexpr std::size_t MAX_DEPTH = 32;

    static void writeType(BinaryWriter& w, const IVelaType& type);
    static VELSmrPtr<IVelaType> readType(BinaryReader& r);

    // A null handle is written as an unset value of typeIfNull.
    static void writeValue(BinaryWriter& w, const IVelaValue* value, const IVelaType& typeIfNull,
                           std::size_t depth = 0);
    // preferred: a type object to use when the stored type is the same (so
    // that decoded values share their property's type instead of a new one).
    static VELSmrPtr<IVelaValue> readValue(BinaryReader& r,
                                           const VELSmrPtr<IVelaType>* preferred = nullptr,
                                           std::size_t depth = 0);
    static void skipValue(BinaryReader& r, std::size_t depth = 0);

    static void writeName(BinaryWriter& w, const IVelaInstanceName& name, std::size_t depth = 0);
    static VELSmrPtr<IVelaInstanceName> readName(BinaryReader& r, std::size_t depth = 0);
    static void writeObject(BinaryWriter& w, const IVelaObject& object, std::size_t depth = 0);
    static VELSmrPtr<IVelaObject> readObject(BinaryReader& r, std::size_t depth = 0);
};

}  // namespace tarn
