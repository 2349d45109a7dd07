// IVelaValue: a typed CIM value that may be unset (null). Scalars of every
// type, arrays (an element list, itself possibly null), references (an
// instance name) and embedded objects (an instance or a class).
#pragma once

#include <cstdint>
#include <ostream>

#include "vela/IVelaType.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class IVelaInstanceName;
class IVelaObject;
class IVelaClass;

class IVelaValue {
  public:
    using ValueList = VELValSlist<VELSmrPtr<IVelaValue>>;

    virtual ~IVelaValue() = default;

    virtual const VELSmrPtr<IVelaType>& getType() const = 0;
    // True when the value holds something (for arrays: an element list, maybe empty).
    virtual bool isSet() const = 0;
    // Text that arrived without a declared type (a request VALUE without TYPE,
    // or a KEYVALUE with only VALUETYPE). Its type reads "string"; the
    // receiver types it from the class definition. getTypeHint gives the
    // VALUETYPE ("string", "boolean", "numeric") or an empty string.
    virtual bool isUntyped() const = 0;
    virtual const VELString& getTypeHint() const = 0;

    // Arrays: the elements as values (a new list on each call; null when the
    // array is null), and their number without building the list.
    virtual VELSmrPtr<ValueList> getArray() const = 0;
    virtual std::size_t getArraySize() const = 0;

    // Typed reads; each throws VelaBaseException ("TypeMismatch") when the
    // value is of another kind or not set.
    virtual VELSmrPtr<IVelaInstanceName> getReference() const = 0;
    virtual VELSmrPtr<IVelaObject> getObject() const = 0;
    virtual VELSmrPtr<IVelaClass> getClass() const = 0;
    virtual bool getBoolean() const = 0;
    virtual std::uint64_t getUnsigned() const = 0;
    virtual std::int64_t getSigned() const = 0;
    virtual double getReal() const = 0;
    virtual char16_t getChar16() const = 0;
    // string and datetime values, and untyped text.
    virtual const VELString& getString() const = 0;

    // Writes the CIM-XML text form (booleans TRUE/FALSE, integers in
    // decimal, reals in the shortest form that reads back the same, char16
    // as its UTF-8 character, datetimes in the 25-character form). An unset
    // value writes nothing. Arrays write their elements as "{a,b}", for logs.
    virtual void print(std::ostream& os) const = 0;
    virtual VELString toString() const = 0;
    // Same type kind and same content.
    virtual bool equals(const IVelaValue& other) const = 0;
};
