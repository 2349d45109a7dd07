// tarn::MofSchemaBuilder: turns the syntax tree of a compilation into
// qualifier declarations, resolved classes and instances, and checks them:
// unknown qualifiers and classes, qualifier scopes, value types, duplicates,
// overrides, references outside associations, instance keys and aliases.
// Classes may come in any order; they are resolved superclass first.
#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "mof/MofDiagnostics.h"
#include "mof/MofOptions.h"
#include "mof/MofSyntax.h"
#include "mof/MofValueConverter.h"
#include "tarn/CQualifierDef.h"
#include "tarn/ISchemaCatalog.h"
#include "vela/CVelaClass.h"
#include "vela/CVelaInstanceName.h"
#include "vela/IVelaObject.h"

namespace tarn {

class MofSchemaBuilder {
  public:
    // What one namespace receives, in the order a sink gets it.
    struct NameSpaceResult {
        VELString name;
        // Named by #pragma namespace (so it is created even when empty).
        bool named = false;
        std::vector<VELSmrPtr<IQualifierDef>> qualifiers;
        // Superclasses before subclasses.
        std::vector<VELSmrPtr<CVelaClass>> classes;
        std::vector<VELSmrPtr<IVelaObject>> instances;
    };

    MofSchemaBuilder(MofDiagnostics& diag, const ISchemaCatalog* context, const MofLimits& limits,
                     std::function<void(const MofProgress&)> progress);

    // Builds and checks everything in the tree, whose literals are consumed.
    // nameSpaces are the names the tree's namespace indexes refer to.
    void build(MofSyntaxTree& tree, const std::vector<std::string>& nameSpaces,
               const std::vector<bool>& named);

    const std::vector<NameSpaceResult>& result() const { return _out; }
    std::size_t qualifierCount() const;
    std::size_t classCount() const;
    std::size_t instanceCount() const;

  private:
    using CaseMap = std::unordered_map<VELString, std::size_t, VELStringHashIgnoreCase,
                                       VELStringEqualIgnoreCase>;

    // A class-level qualifier whose scope is checked once the class is
    // resolved (only then is it known to be an association or indication).
    struct PendingScope {
        VELSmrPtr<IQualifierDef> decl;
        MofPos pos;
    };
    // A class named by a reference or an EmbeddedInstance qualifier.
    struct NamedClass {
        std::string name;
        MofPos pos;
        std::string element;
        bool embedded = false;
    };
    struct OverrideCheck {
        std::string name;        // the element
        std::string overridden;  // the Override value
        MofPos pos;
        bool method = false;
    };
    enum class State : std::uint8_t { Unresolved, Resolving, Resolved, Failed };
    struct ClassEntry {
        MofClassSyntax* syntax = nullptr;
        VELSmrPtr<CVelaClass> cls;
        State state = State::Unresolved;
        std::size_t depth = 0;  // superclasses above it
        std::size_t size = 0;   // its share of MofLimits::maxSchemaSize
        std::vector<PendingScope> classQualifiers;
        std::vector<NamedClass> namedClasses;
        std::vector<OverrideCheck> overrides;
        std::vector<MofPos> references;  // positions of local reference properties
    };
    struct InstanceEntry {
        MofInstanceSyntax* syntax = nullptr;
        VELSmrPtr<IVelaClass> cls;
        enum class Path : std::uint8_t { Pending, Computing, Done, Failed } path = Path::Pending;
        bool failed = false;
        VELSmrPtr<CVelaInstanceName> name;
        // Per value of the syntax: its property and, once typed, its value.
        std::vector<VELSmrPtr<IPropertyDef>> defs;
        std::vector<VELSmrPtr<IVelaValue>> values;
        std::vector<bool> typed;  // typing was attempted (literals are consumed by it)
        CaseMap valueIndex;       // property name -> value
    };
    struct NameSpaceState {
        CaseMap qualifierIndex;            // into result qualifiers
        std::vector<MofPos> qualifierPos;  // where each was declared
        std::vector<const MofQualifierDeclSyntax*> qualifierSyntax;
        CaseMap classIndex;                                          // into _classes
        std::unordered_map<std::string, std::size_t> instancePaths;  // canonical path -> entry
    };

    // Qualifier declarations.
    void declareQualifier(MofQualifierDeclSyntax& d);
    VELSmrPtr<IQualifierDef> findQualifier(std::uint32_t ns, const VELString& name) const;
    // Types the qualifiers of one element. scope is the element's scope bit,
    // or 0 to collect the declarations in pending (class qualifiers).
    std::vector<VELSmrPtr<IQualifier>> qualifiers(MofQualifierUses& uses, std::uint32_t ns,
                                                  std::uint32_t scope, const std::string& element,
                                                  std::vector<PendingScope>* pending);

    // Classes.
    void buildClass(std::size_t index);
    VELSmrPtr<IVelaType> typeOf(const MofTypeSyntax& t, const MofArraySyntax& a) const;
    void resolveAll();
    void resolveChain(std::size_t index);
    void checkClass(ClassEntry& e);
    // The size of a class for MofLimits::maxSchemaSize: its elements and
    // qualifiers, inherited ones included.
    static std::size_t sizeOf(const IVelaClass& cls);
    // The resolved class of that name: staged in this compilation or from the context.
    VELSmrPtr<IVelaClass> lookupClass(std::uint32_t ns, const VELString& name) const;
    // The class is declared in this compilation (in any state) or in the context.
    bool classKnown(std::uint32_t ns, const VELString& name) const;

    // Instances.
    void buildInstances(std::vector<MofInstanceSyntax>& instances);
    bool prepareInstance(InstanceEntry& e);
    bool computePath(std::size_t index, std::size_t depth);
    bool typeValue(InstanceEntry& e, std::size_t k, std::size_t depth);
    bool checkReference(VELSmrPtr<IVelaValue>& value, const IVelaType& type, std::uint32_t ns,
                        const MofPos& pos, const std::string& element);
    void finishInstance(std::size_t index);

    void progress(MofProgress::Stage stage);

    MofDiagnostics& _diag;
    const ISchemaCatalog* _context;
    const MofLimits& _limits;
    std::function<void(const MofProgress&)> _progress;

    std::vector<NameSpaceResult> _out;
    std::vector<NameSpaceState> _ns;
    std::vector<ClassEntry> _classes;
    std::vector<InstanceEntry> _instances;
    CaseMap _aliases;  // instance alias -> index into _instances
    std::size_t _resolved = 0;
    std::size_t _schemaSize = 0;
};

}  // namespace tarn
