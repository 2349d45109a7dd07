// CVelaValue: the platform's value class. Scalars are held inline, arrays as
// one shared vector of scalars (no object per element), so large arrays stay
// compact; getArray() builds element values on demand.
#pragma once

#include <memory>
#include <string_view>
#include <variant>
#include <vector>

#include "vela/IVelaValue.h"

class CVelaValue : public IVelaValue {
  public:
    // One scalar: unset, boolean, unsigned (also char16), signed, real (also
    // real32), text (string, datetime, untyped), reference, instance, class.
    using Scalar =
        std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double, VELString,
                     VELSmrPtr<IVelaInstanceName>, VELSmrPtr<IVelaObject>, VELSmrPtr<IVelaClass>>;
    using ScalarArray = std::vector<Scalar>;

    // An unset value of the type.
    explicit CVelaValue(VELSmrPtr<IVelaType> type);
    // A scalar of the type; the scalar must fit the type (use the make
    // functions, which check).
    CVelaValue(VELSmrPtr<IVelaType> type, Scalar scalar);
    // An array of the (array) type with the given elements.
    CVelaValue(VELSmrPtr<IVelaType> type, std::shared_ptr<const ScalarArray> elements);
    // An array from a list of element values, typed by type (the array type
    // is made from it when it is a scalar type).
    CVelaValue(const VELSmrPtr<ValueList>& list, const VELSmrPtr<IVelaType>& type);

    static VELSmrPtr<IVelaValue> makeNull(const VELSmrPtr<IVelaType>& type);
    static VELSmrPtr<IVelaValue> makeBoolean(bool b);
    static VELSmrPtr<IVelaValue> makeString(VELString s);
    static VELSmrPtr<IVelaValue> makeChar16(char16_t c);
    // Throws VelaBaseException ("InvalidData") when the text is not a valid datetime.
    static VELSmrPtr<IVelaValue> makeDateTime(const VELString& text);
    // Integers of the given type; throw when the number does not fit the type.
    static VELSmrPtr<IVelaValue> makeUnsigned(CIMTypeId type, std::uint64_t v);
    static VELSmrPtr<IVelaValue> makeSigned(CIMTypeId type, std::int64_t v);
    static VELSmrPtr<IVelaValue> makeUint8(std::uint8_t v) {
        return makeUnsigned(CIMTypeId::UInt8, v);
    }
    static VELSmrPtr<IVelaValue> makeUint16(std::uint16_t v) {
        return makeUnsigned(CIMTypeId::UInt16, v);
    }
    static VELSmrPtr<IVelaValue> makeUint32(std::uint32_t v) {
        return makeUnsigned(CIMTypeId::UInt32, v);
    }
    static VELSmrPtr<IVelaValue> makeUint64(std::uint64_t v) {
        return makeUnsigned(CIMTypeId::UInt64, v);
    }
    static VELSmrPtr<IVelaValue> makeSint32(std::int32_t v) {
        return makeSigned(CIMTypeId::SInt32, v);
    }
    static VELSmrPtr<IVelaValue> makeSint64(std::int64_t v) {
        return makeSigned(CIMTypeId::SInt64, v);
    }
    static VELSmrPtr<IVelaValue> makeReal32(float v);
    static VELSmrPtr<IVelaValue> makeReal64(double v);
    static VELSmrPtr<IVelaValue> makeReference(const VELSmrPtr<IVelaInstanceName>& name);
    static VELSmrPtr<IVelaValue> makeObject(const VELSmrPtr<IVelaObject>& instance);
    static VELSmrPtr<IVelaValue> makeClass(const VELSmrPtr<IVelaClass>& cls);
    static VELSmrPtr<IVelaValue> makeUntyped(VELString text, VELString hint = {});
    // An untyped array (VALUE.ARRAY without TYPE); null elements are unset.
    static VELSmrPtr<IVelaValue> makeUntypedArray(std::shared_ptr<const ScalarArray> texts);

    // Parses the text form of a scalar of the type (for an array type: of
    // one element). Surrounding blanks are ignored except for strings.
    // Integers accept decimal and the "0x" hexadecimal form; reals also
    // "NaN", "INF" and "-INF". Throws VelaBaseException ("InvalidData", code
    // 13) saying why the text does not fit the type.
    static VELSmrPtr<IVelaValue> parse(const VELSmrPtr<IVelaType>& type, std::string_view text);
    static Scalar parseScalar(const VELSmrPtr<IVelaType>& type, std::string_view text);
    // True when the text is a valid CIM datetime (timestamp or interval,
    // with "*" wildcards); why names the fault otherwise.
    static bool isValidDateTime(std::string_view text, VELString* why = nullptr);

    // The value typed as target: untyped text is parsed, integers convert
    // between integer types when in range and to reals, an array converts
    // element by element. A null value stays null. Throws ("TypeMismatch",
    // code 13) when the value cannot be of the target type.
    static VELSmrPtr<IVelaValue> convertTo(const VELSmrPtr<IVelaValue>& value,
                                           const VELSmrPtr<IVelaType>& target);

    // Writes the text form of one scalar of the type.
    static void printScalar(std::ostream& os, CIMTypeId type, const Scalar& s);

    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    bool isSet() const override { return !std::holds_alternative<std::monostate>(_data); }
    bool isUntyped() const override { return _untyped; }
    const VELString& getTypeHint() const override { return _hint; }
    VELSmrPtr<ValueList> getArray() const override;
    std::size_t getArraySize() const override;
    VELSmrPtr<IVelaInstanceName> getReference() const override;
    VELSmrPtr<IVelaObject> getObject() const override;
    VELSmrPtr<IVelaClass> getClass() const override;
    bool getBoolean() const override;
    std::uint64_t getUnsigned() const override;
    std::int64_t getSigned() const override;
    double getReal() const override;
    char16_t getChar16() const override;
    const VELString& getString() const override;
    void print(std::ostream& os) const override;
    VELString toString() const override;
    bool equals(const IVelaValue& other) const override;

    // The scalar (for a scalar value) and the elements (for an array; null when unset).
    const Scalar& scalar() const;
    std::shared_ptr<const ScalarArray> elements() const;

  private:
    using Data = std::variant<std::monostate, Scalar, std::shared_ptr<const ScalarArray>>;
    [[noreturn]] void mismatch(const char* wanted) const;

    VELSmrPtr<IVelaType> _type;
    Data _data;
    bool _untyped = false;
    VELString _hint;
};
