// The syntax tree of MOF declarations, as the parser reads them and before
// any name is looked up or any value typed. The compiler keeps the whole
// tree of a compilation, so that classes may appear in any order.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "mof/MofToken.h"
#include "vela/CIMTypeId.h"

namespace tarn {

// A constant as written: a literal, an alias, or an array of them.
struct MofLiteral {
    enum class Kind : std::uint8_t { Null, Boolean, Integer, Real, String, Char, Alias, Array };
    Kind kind = Kind::Null;
    bool boolean = false;
    bool negative = false;        // Integer
    std::uint64_t magnitude = 0;  // Integer, Char
    double real = 0;
    std::string text;                  // String (decoded and concatenated), Alias (the name)
    std::vector<MofLiteral> elements;  // Array (elements are never arrays)
    MofPos pos;
};

// A qualifier as applied: name, optional value and the flavors given with it.
struct MofQualifierUse {
    std::string name;
    bool hasValue = false;
    MofLiteral value;
    // Flavor keywords given after ":"; each flag says whether it was given.
    bool enableOverride = false;
    bool disableOverride = false;
    bool toSubclass = false;
    bool restricted = false;
    bool translatable = false;
    MofPos pos;
};

using MofQualifierUses = std::vector<MofQualifierUse>;

// A data type: one of the CIM types, or a reference to a class ("ref").
struct MofTypeSyntax {
    CIMTypeId id = CIMTypeId::String;
    std::string refClass;  // for references: the class name (empty for "ref" alone is not allowed)
    MofPos pos;
};

struct MofArraySyntax {
    bool isArray = false;
    bool fixed = false;
    std::uint32_t size = 0;  // fixed arrays
};

struct MofParameterSyntax {
    MofQualifierUses qualifiers;
    MofTypeSyntax type;
    std::string name;
    MofArraySyntax array;
    MofPos pos;
};

// A property, a reference or a method of a class.
struct MofFeatureSyntax {
    enum class Kind : std::uint8_t { Property, Reference, Method };
    Kind kind = Kind::Property;
    MofQualifierUses qualifiers;
    MofTypeSyntax type;  // property type, reference class, or return type
    std::string name;
    MofArraySyntax array;
    bool hasDefault = false;
    MofLiteral defaultValue;
    std::vector<MofParameterSyntax> parameters;  // methods
    MofPos pos;                                  // of the name
};

struct MofClassSyntax {
    MofQualifierUses qualifiers;
    std::string name;
    std::string superClass;
    MofPos superPos;
    std::string alias;
    std::vector<MofFeatureSyntax> features;
    std::uint32_t nameSpace = 0;  // index into the compilation's namespace table
    MofPos pos;                   // of the name
};

struct MofQualifierDeclSyntax {
    std::string name;
    CIMTypeId type = CIMTypeId::String;
    MofArraySyntax array;
    bool hasDefault = false;
    MofLiteral defaultValue;
    std::uint32_t scope = 0;  // QualifierScope bits
    bool enableOverride = false;
    bool disableOverride = false;
    bool toSubclass = false;
    bool restricted = false;
    bool translatable = false;
    std::uint32_t nameSpace = 0;
    MofPos pos;  // of the name
};

struct MofPropertyValueSyntax {
    MofQualifierUses qualifiers;
    std::string name;
    MofLiteral value;
    MofPos pos;
};

struct MofInstanceSyntax {
    MofQualifierUses qualifiers;
    std::string className;
    std::string alias;
    MofPos aliasPos;
    std::vector<MofPropertyValueSyntax> values;
    std::uint32_t nameSpace = 0;
    MofPos pos;  // of the class name
};

// Everything a compilation has read, in the order of the text.
struct MofSyntaxTree {
    // Nodes read so far (declarations, features, parameters, qualifiers,
    // values, array elements), to bound the memory the tree holds.
    std::size_t nodes = 0;
    std::vector<MofQualifierDeclSyntax> qualifierDecls;
    std::vector<MofClassSyntax> classes;
    std::vector<MofInstanceSyntax> instances;
};

}  // namespace tarn
