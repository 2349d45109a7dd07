// tarn::CIMXMLReader: turns the CIM-XML elements of a parsed document into the
// object model: names and paths, values of every form, instances, classes,
// qualifier declarations and method parameters. Each read function checks the
// structure of its element (children in the order the CIM-XML DTD gives,
// required attributes, CIM names, values that fit their declared type) and
// throws VelaBaseException ("InvalidData") saying what is wrong and where.
//
// Elements that have been read are removed from the tree as the reading goes
// on (values of an array, properties of an instance), so that the tree's
// memory is handed back while the objects that replace it are built.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "tarn/IQualifier.h"
#include "tarn/IQualifierDef.h"
#include "vela/CVelaValue.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaNameSpacePath.h"
#include "vela/IVelaObject.h"
#include "vela/VELCIMParamValue.h"

namespace tarn {

class CMethodDef;

class CIMXMLReader {
  public:
    static constexpr std::size_t kMaxAttributeLength = 4096;
    static constexpr std::size_t kMaxAttributes = 32;
    // Object paths inside object paths (a key that is a reference).
    static constexpr int kMaxReferenceDepth = 32;
    // Embedded objects inside embedded objects.
    static constexpr int kMaxEmbeddingDepth = 8;
    // Properties and methods of one class, qualifiers of one element and
    // parameters of one method: far above any real schema, low enough that
    // checking them for duplicates stays cheap.
    static constexpr std::size_t kMaxClassElements = 4096;
    static constexpr std::size_t kMaxQualifiers = 256;
    static constexpr std::size_t kMaxParameters = 1024;

    // What an embedded object may hold.
    enum class Embedded { None, Instance, Object };

    // The attributes of one element, read once: at most kMaxAttributes, each
    // name and value at most kMaxAttributeLength bytes, no name twice.
    class Attributes {
      public:
        Attributes(const CIMXMLReader& reader, pugi::xml_node element);
        // The value, or null when the attribute is absent.
        const char* find(std::string_view name) const;
        // The value; fails when the attribute is absent.
        std::string_view required(std::string_view name) const;
        // A true/false attribute (any case); def when absent.
        bool flag(std::string_view name, bool def) const;

      private:
        // Trivial, so that the array is not cleared for every element.
        struct Entry {
            const char* name;
            std::size_t nameLength;
            const char* value;
        };
        const CIMXMLReader& _reader;
        pugi::xml_node _element;
        std::array<Entry, kMaxAttributes> _entries;
        std::size_t _count = 0;
    };

    // The child elements of an element whose content is elements only, in
    // order. Text other than blanks between them is an error.
    class Elements {
      public:
        Elements(const CIMXMLReader& reader, pugi::xml_node parent);
        // The current child element; empty at the end.
        pugi::xml_node current() const { return _current; }
        std::string_view name() const { return _name; }
        bool at(std::string_view name) const { return _current && _name == name; }
        // Returns the current child and moves on (the child may then be removed).
        pugi::xml_node take();
        // Takes the current child, which must have this name.
        pugi::xml_node expect(std::string_view name);
        // Fails when a child element is left.
        void end() const;
        // Fails because the content needs what (for example "a <KEYVALUE>
        // or a <VALUE.REFERENCE>"), naming the element found instead if any.
        [[noreturn]] void missing(std::string_view what) const;
        // Number of element children from the current one on.
        std::size_t remaining() const;

      private:
        void settle(pugi::xml_node from);

        const CIMXMLReader& _reader;
        pugi::xml_node _parent;
        pugi::xml_node _current;
        std::string_view _name;
    };

    // Throws the error: what, and the byte offset of the element.
    [[noreturn]] void fail(pugi::xml_node at, std::string_view what) const;

    // A CIM name attribute (class, property, method, parameter, qualifier,
    // key): checked to be a CIM identifier.
    VELString name(const Attributes& attributes, pugi::xml_node element,
                   std::string_view attribute) const;

    // Names and paths.
    VELString readLocalNameSpacePath(pugi::xml_node element);
    VELSmrPtr<IVelaNameSpacePath> readNameSpacePath(pugi::xml_node element);
    VELSmrPtr<IVelaInstanceName> readClassName(pugi::xml_node element);
    VELSmrPtr<IVelaInstanceName> readInstanceName(pugi::xml_node element);
    VELSmrPtr<IVelaInstanceName> readLocalClassPath(pugi::xml_node element);
    VELSmrPtr<IVelaInstanceName> readLocalInstancePath(pugi::xml_node element);
    VELSmrPtr<IVelaInstanceName> readValueReference(pugi::xml_node element);

    // Objects and schema.
    VELSmrPtr<IVelaObject> readInstance(pugi::xml_node element,
                                        VELSmrPtr<IVelaInstanceName> path = nullptr);
    VELSmrPtr<IVelaObject> readNamedInstance(pugi::xml_node element);
    VELSmrPtr<IVelaClass> readClass(pugi::xml_node element);
    VELSmrPtr<IQualifierDef> readQualifierDeclaration(pugi::xml_node element);

    // Parameters of method calls, and the correlators of a request.
    VELSmrPtr<VELCIMParamValue> readIParamValue(pugi::xml_node element);
    VELSmrPtr<VELCIMParamValue> readParamValue(pugi::xml_node element);
    VELSmrPtr<VELCIMParamValue> readExpParamValue(pugi::xml_node element);
    void readCorrelator(pugi::xml_node element);

    // The escaped CIM-XML text of an embedded object (an INSTANCE, or with
    // Embedded::Object also a CLASS) as an instance or class scalar; unset
    // for blank text. at and owner place errors.
    CVelaValue::Scalar readEmbeddedObject(std::string_view text, Embedded kind, pugi::xml_node at,
                                          std::string_view owner);

  private:
    struct Owner;
    struct PropertyParts;
    struct QualifierParts;
    class DepthGuard;

    std::string_view text(pugi::xml_node element);
    void checkEmpty(pugi::xml_node element);
    VELSmrPtr<IVelaType> simpleType(const Attributes& attributes, pugi::xml_node element,
                                    std::string_view attribute, bool isArray) const;
    Embedded embeddedKind(const Attributes& attributes, pugi::xml_node element) const;
    std::uint32_t arraySize(const Attributes& attributes, pugi::xml_node element) const;

    CVelaValue::Scalar scalar(pugi::xml_node at, const VELSmrPtr<IVelaType>& type,
                              std::string_view text, const Owner& owner);
    VELSmrPtr<IVelaValue> readValue(pugi::xml_node value, const VELSmrPtr<IVelaType>& type,
                                    Embedded embedded, const Owner& owner);
    VELSmrPtr<IVelaValue> readValueArray(pugi::xml_node array, const VELSmrPtr<IVelaType>& type,
                                         Embedded embedded, const Owner& owner);
    VELSmrPtr<IVelaValue> readRefArray(pugi::xml_node array);
    VELSmrPtr<IVelaValue> readKeyValue(pugi::xml_node element);
    VELSmrPtr<IVelaValue> embeddedValue(CVelaValue::Scalar object, Embedded kind) const;

    QualifierParts readQualifier(pugi::xml_node element);
    template <class Add>
    void readQualifiers(Elements& children, Add&& add);
    PropertyParts readProperty(pugi::xml_node element, bool inClass);
    VELSmrPtr<CMethodDef> readMethod(pugi::xml_node element, bool& propagated,
                                     std::string_view& rawName);

    std::string _scratch;
    int _referenceDepth = 0;
    int _embeddingDepth = 0;
};

}  // namespace tarn
