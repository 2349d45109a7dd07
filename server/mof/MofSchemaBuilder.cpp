#include "mof/MofSchemaBuilder.h"

#include "tarn/CMethodDef.h"
#include "tarn/CParameterDef.h"
#include "tarn/CPropertyDef.h"
#include "tarn/CQualifier.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

std::string scopeNames(std::uint32_t scope) {
    if ((scope & QualifierScope::Any) == QualifierScope::Any) {
        return "any";
    }
    static const std::pair<std::uint32_t, const char*> kNames[] = {
        {QualifierScope::Class, "class"},           {QualifierScope::Association, "association"},
        {QualifierScope::Indication, "indication"}, {QualifierScope::Property, "property"},
        {QualifierScope::Reference, "reference"},   {QualifierScope::Method, "method"},
        {QualifierScope::Parameter, "parameter"},
    };
    std::string out;
    for (const auto& [bit, name] : kNames) {
        if (scope & bit) {
            out += out.empty() ? "" : ", ";
            out += name;
        }
    }
    return out.empty() ? "none" : out;
}

const char* scopeElement(std::uint32_t bit) {
    switch (bit) {
        case QualifierScope::Class:
            return "a class";
        case QualifierScope::Association:
            return "an association";
        case QualifierScope::Indication:
            return "an indication";
        case QualifierScope::Property:
            return "a property";
        case QualifierScope::Reference:
            return "a reference";
        case QualifierScope::Method:
            return "a method";
        default:
            return "a parameter";
    }
}

bool sameValue(const VELSmrPtr<IVelaValue>& a, const VELSmrPtr<IVelaValue>& b) {
    bool aSet = !a.isNull() && a->isSet();
    bool bSet = !b.isNull() && b->isSet();
    return aSet == bSet && (!aSet || a->equals(*b));
}

bool sameDecl(const IQualifierDef& a, const IQualifierDef& b) {
    return a.getType()->getTypeId() == b.getType()->getTypeId() &&
           a.getType()->isArray() == b.getType()->isArray() && a.getScope() == b.getScope() &&
           a.getFlavor() == b.getFlavor() && sameValue(a.getDefaultValue(), b.getDefaultValue());
}

// Effective flavor bits: the declaration's, changed by those given at the use.
bool flavorOf(std::uint32_t declared, bool enable, bool disable, bool toSubclass, bool restricted,
              bool translatable, std::uint32_t& out, std::string& why) {
    if (enable && disable) {
        why = "EnableOverride and DisableOverride contradict each other";
        return false;
    }
    if (toSubclass && restricted) {
        why = "ToSubclass and Restricted contradict each other";
        return false;
    }
    out = declared;
    if (enable) {
        out &= ~QualifierFlavor::DisableOverride;
    }
    if (disable) {
        out |= QualifierFlavor::DisableOverride;
    }
    if (toSubclass) {
        out &= ~QualifierFlavor::Restricted;
    }
    if (restricted) {
        out |= QualifierFlavor::Restricted;
    }
    if (translatable) {
        out |= QualifierFlavor::Translatable;
    }
    return true;
}

const VELString& stringValue(const VELSmrPtr<IQualifier>& q) {
    static const VELString none;
    if (q.isNull() || q->getValue().isNull() || !q->getValue()->isSet() ||
        q->getValue()->getType()->getTypeId() != CIMTypeId::String ||
        q->getValue()->getType()->isArray()) {
        return none;
    }
    return q->getValue()->getString();
}

}  // namespace

MofSchemaBuilder::MofSchemaBuilder(MofDiagnostics& diag, const ISchemaCatalog* context,
                                   const MofLimits& limits,
                                   std::function<void(const MofProgress&)> progress)
    : _diag(diag), _context(context), _limits(limits), _progress(std::move(progress)) {}

std::size_t MofSchemaBuilder::qualifierCount() const {
    std::size_t n = 0;
    for (const auto& ns : _out) {
        n += ns.qualifiers.size();
    }
    return n;
}

std::size_t MofSchemaBuilder::classCount() const {
    std::size_t n = 0;
    for (const auto& ns : _out) {
        n += ns.classes.size();
    }
    return n;
}

std::size_t MofSchemaBuilder::instanceCount() const {
    std::size_t n = 0;
    for (const auto& ns : _out) {
        n += ns.instances.size();
    }
    return n;
}

void MofSchemaBuilder::progress(MofProgress::Stage stage) {
    if (!_progress) {
        return;
    }
    MofProgress p;
    p.stage = stage;
    p.qualifiers = qualifierCount();
    p.classes = classCount();
    p.instances = instanceCount();
    _progress(p);
}

void MofSchemaBuilder::build(MofSyntaxTree& tree, const std::vector<std::string>& nameSpaces,
                             const std::vector<bool>& named) {
    _out.resize(nameSpaces.size());
    _ns.resize(nameSpaces.size());
    for (std::size_t i = 0; i < nameSpaces.size(); ++i) {
        _out[i].name = nameSpaces[i];
        _out[i].named = i < named.size() && named[i];
    }
    for (auto& d : tree.qualifierDecls) {
        declareQualifier(d);
    }
    _classes.reserve(tree.classes.size());
    for (auto& c : tree.classes) {
        NameSpaceState& ns = _ns[c.nameSpace];
        auto it = ns.classIndex.find(c.name);
        if (it != ns.classIndex.end()) {
            _diag.error(c.pos, "class " + c.name + " is already declared at " +
                                   _diag.where(_classes[it->second].syntax->pos));
            continue;
        }
        ns.classIndex.emplace(c.name, _classes.size());
        _classes.emplace_back();
        _classes.back().syntax = &c;
    }
    for (std::size_t i = 0; i < _classes.size(); ++i) {
        buildClass(i);
    }
    resolveAll();
    for (auto& e : _classes) {
        if (e.state == State::Resolved) {
            checkClass(e);
        }
    }
    buildInstances(tree.instances);
    // The entries point into the tree, which the compiler drops next.
    _classes.clear();
    _instances.clear();
    _aliases.clear();
    _ns.clear();
}

// ---------------------------------------------------------------------------
// Qualifier declarations

void MofSchemaBuilder::declareQualifier(MofQualifierDeclSyntax& d) {
    VELSmrPtr<IVelaType> type = CVelaType::get(d.type, d.array.isArray);
    VELSmrPtr<IVelaValue> def;
    if (d.hasDefault) {
        std::string why;
        MofPos at;
        if (!MofValueConverter::convert(d.defaultValue, type, true, nullptr, def, why, at)) {
            _diag.error(at, "default value of qualifier " + d.name + ": " + why);
            return;
        }
    }
    std::uint32_t flavor = 0;
    std::string why;
    if (!flavorOf(QualifierFlavor::Default, d.enableOverride, d.disableOverride, d.toSubclass,
                  d.restricted, d.translatable, flavor, why)) {
        _diag.error(d.pos, "qualifier " + d.name + ": " + why);
        return;
    }
    auto decl = VELSmrPtr<IQualifierDef>(new CQualifierDef(d.name, type, def, d.scope, flavor));
    NameSpaceState& ns = _ns[d.nameSpace];
    NameSpaceResult& out = _out[d.nameSpace];
    auto it = ns.qualifierIndex.find(d.name);
    if (it != ns.qualifierIndex.end()) {
        if (!sameDecl(*out.qualifiers[it->second], *decl)) {
            _diag.error(d.pos, "qualifier " + d.name +
                                   " is declared again, differently (first at " +
                                   _diag.where(ns.qualifierPos[it->second]) + ")");
        }
        return;
    }
    ns.qualifierIndex.emplace(d.name, out.qualifiers.size());
    ns.qualifierPos.push_back(d.pos);
    out.qualifiers.push_back(decl);
}

VELSmrPtr<IQualifierDef> MofSchemaBuilder::findQualifier(std::uint32_t ns,
                                                         const VELString& name) const {
    const NameSpaceState& s = _ns[ns];
    auto it = s.qualifierIndex.find(name);
    if (it != s.qualifierIndex.end()) {
        return _out[ns].qualifiers[it->second];
    }
    if (_context) {
        return _context->getQualifierDef(_out[ns].name, name);
    }
    return nullptr;
}

std::vector<VELSmrPtr<IQualifier>> MofSchemaBuilder::qualifiers(
    MofQualifierUses& uses, std::uint32_t ns, std::uint32_t scope, const std::string& element,
    std::vector<PendingScope>* pending) {
    std::vector<VELSmrPtr<IQualifier>> out;
    out.reserve(uses.size());
    CaseMap seen;
    for (std::size_t i = 0; i < uses.size(); ++i) {
        MofQualifierUse& q = uses[i];
        if (!seen.emplace(q.name, i).second) {
            _diag.error(q.pos, "qualifier " + q.name + " is given twice on " + element);
            continue;
        }
        VELSmrPtr<IQualifierDef> decl = findQualifier(ns, q.name);
        if (decl.isNull()) {
            _diag.error(q.pos, "unknown qualifier " + q.name + " on " + element);
            continue;
        }
        if (scope != 0 && !(decl->getScope() & scope)) {
            _diag.error(q.pos, "qualifier " + decl->getName().str() + " cannot be used on " +
                                   scopeElement(scope) + " (" + element + "); its scope is " +
                                   scopeNames(decl->getScope()));
            continue;
        }
        VELSmrPtr<IVelaValue> value;
        const VELSmrPtr<IVelaType>& type = decl->getType();
        if (q.hasValue) {
            std::string why;
            MofPos at;
            if (!MofValueConverter::convert(q.value, type, true, nullptr, value, why, at)) {
                _diag.error(at, "value of qualifier " + decl->getName().str() + " on " + element +
                                    ": " + why);
                continue;
            }
        } else if (type->getTypeId() == CIMTypeId::Boolean && !type->isArray()) {
            // A boolean qualifier named without a value is TRUE.
            static const VELSmrPtr<IVelaValue> kTrue = CVelaValue::makeBoolean(true);
            value = kTrue;
        } else {
            value = decl->getDefaultValue();
        }
        std::uint32_t flavor = 0;
        std::string why;
        if (!flavorOf(decl->getFlavor(), q.enableOverride, q.disableOverride, q.toSubclass,
                      q.restricted, q.translatable, flavor, why)) {
            _diag.error(q.pos,
                        "qualifier " + decl->getName().str() + " on " + element + ": " + why);
            continue;
        }
        if (pending) {
            pending->push_back(PendingScope{decl, q.pos});
        }
        out.push_back(VELSmrPtr<IQualifier>(new CQualifier(decl->getName(), type, value, flavor)));
    }
    return out;
}

// ---------------------------------------------------------------------------
// Classes

VELSmrPtr<IVelaType> MofSchemaBuilder::typeOf(const MofTypeSyntax& t,
                                              const MofArraySyntax& a) const {
    if (t.id == CIMTypeId::Reference) {
        return CVelaType::referenceTo(t.refClass, a.isArray);
    }
    return CVelaType::get(t.id, a.isArray);
}

void MofSchemaBuilder::buildClass(std::size_t index) {
    ClassEntry& e = _classes[index];
    MofClassSyntax& c = *e.syntax;
    const VELString& nsName = _out[c.nameSpace].name;
    e.cls = makeVELSmrPtr<CVelaClass>(c.name, c.superClass, nsName);
    bool ok = true;
    std::size_t errorsBefore = _diag.errorCount();
    for (const auto& q :
         qualifiers(c.qualifiers, c.nameSpace, 0, "class " + c.name, &e.classQualifiers)) {
        e.cls->addQualifier(q);
    }
    CaseMap seenProperties;
    CaseMap seenMethods;
    for (std::size_t fi = 0; fi < c.features.size(); ++fi) {
        MofFeatureSyntax& f = c.features[fi];
        bool method = f.kind == MofFeatureSyntax::Kind::Method;
        CaseMap& seen = method ? seenMethods : seenProperties;
        auto dup = seen.find(f.name);
        if (dup != seen.end()) {
            _diag.error(f.pos, std::string(method ? "method " : "property ") + f.name +
                                   " is declared twice in class " + c.name + " (first at " +
                                   _diag.where(c.features[dup->second].pos) + ")");
            ok = false;
            continue;
        }
        seen.emplace(f.name, fi);
        std::string element = c.name + "." + f.name;
        if (f.kind == MofFeatureSyntax::Kind::Reference) {
            e.namedClasses.push_back(
                NamedClass{f.type.refClass, f.type.pos, "reference " + element});
            e.references.push_back(f.pos);
        }
        if (method) {
            element = "method " + element;
            VELSmrPtr<IVelaType> ret = typeOf(f.type, MofArraySyntax{});
            if (f.type.id == CIMTypeId::Reference) {
                e.namedClasses.push_back(NamedClass{f.type.refClass, f.type.pos, element});
            }
            auto m = makeVELSmrPtr<CMethodDef>(f.name, ret);
            for (const auto& q :
                 qualifiers(f.qualifiers, c.nameSpace, QualifierScope::Method, element, nullptr)) {
                m->addQualifier(q);
                if (q->getName().equalsIgnoreCase("EmbeddedInstance") && !stringValue(q).isNull()) {
                    e.namedClasses.push_back(
                        NamedClass{stringValue(q).str(), f.pos, element, true});
                }
            }
            CaseMap seenParams;
            for (std::size_t pi = 0; pi < f.parameters.size(); ++pi) {
                MofParameterSyntax& p = f.parameters[pi];
                auto pdup = seenParams.find(p.name);
                if (pdup != seenParams.end()) {
                    _diag.error(p.pos, "parameter " + p.name + " is declared twice in " + element);
                    ok = false;
                    continue;
                }
                seenParams.emplace(p.name, pi);
                std::string pelement = "parameter " + p.name + " of " + element;
                if (p.type.id == CIMTypeId::Reference) {
                    e.namedClasses.push_back(NamedClass{p.type.refClass, p.type.pos, pelement});
                }
                auto param = makeVELSmrPtr<CParameterDef>(p.name, typeOf(p.type, p.array));
                auto qs = qualifiers(p.qualifiers, c.nameSpace, QualifierScope::Parameter, pelement,
                                     nullptr);
                for (const auto& q : qs) {
                    param->addQualifier(q);
                    if (q->getName().equalsIgnoreCase("EmbeddedInstance")) {
                        const VELString& cls = stringValue(q);
                        if (!cls.isNull()) {
                            e.namedClasses.push_back(NamedClass{cls.str(), p.pos, pelement, true});
                        }
                    }
                }
                m->addParameter(param);
            }
            VELSmrPtr<IQualifier> ov = m->getQualifier("Override");
            if (!ov.isNull() && !stringValue(ov).isNull()) {
                e.overrides.push_back(OverrideCheck{f.name, stringValue(ov).str(), f.pos, true});
            }
            e.cls->addMethod(m);
            continue;
        }
        bool reference = f.kind == MofFeatureSyntax::Kind::Reference;
        element = (reference ? "reference " : "property ") + element;
        VELSmrPtr<IVelaType> type = typeOf(f.type, f.array);
        VELSmrPtr<IVelaValue> def;
        if (f.hasDefault) {
            std::string why;
            MofPos at;
            if (!MofValueConverter::convert(f.defaultValue, type, false, nullptr, def, why, at)) {
                _diag.error(at, "default value of " + element + ": " + why);
                ok = false;
            } else if (f.array.fixed && def->isSet() && def->getArraySize() > f.array.size) {
                _diag.error(f.defaultValue.pos, "default value of " + element + " has " +
                                                    std::to_string(def->getArraySize()) +
                                                    " elements, more than the array size " +
                                                    std::to_string(f.array.size));
                ok = false;
            }
        }
        auto p = makeVELSmrPtr<CPropertyDef>(f.name, type, def, f.array.fixed ? f.array.size : 0);
        auto qs = qualifiers(f.qualifiers, c.nameSpace,
                             reference ? QualifierScope::Reference : QualifierScope::Property,
                             element, nullptr);
        for (const auto& q : qs) {
            p->addQualifier(q);
            if (q->getName().equalsIgnoreCase("Override") && !stringValue(q).isNull()) {
                e.overrides.push_back(OverrideCheck{f.name, stringValue(q).str(), f.pos, false});
            }
            if (q->getName().equalsIgnoreCase("EmbeddedInstance")) {
                const VELString& cls = stringValue(q);
                if (!cls.isNull()) {
                    e.namedClasses.push_back(NamedClass{cls.str(), f.pos, element, true});
                }
            }
        }
        e.cls->addProperty(p);
    }
    if (!ok || _diag.errorCount() != errorsBefore) {
        // Reported above; the class is not resolved, so that its faults do
        // not cascade into its subclasses and instances.
        e.state = State::Failed;
    }
}

VELSmrPtr<IVelaClass> MofSchemaBuilder::lookupClass(std::uint32_t ns, const VELString& name) const {
    const NameSpaceState& s = _ns[ns];
    auto it = s.classIndex.find(name);
    if (it != s.classIndex.end()) {
        const ClassEntry& e = _classes[it->second];
        return e.state == State::Resolved ? VELSmrPtr<IVelaClass>(e.cls) : nullptr;
    }
    return _context ? _context->getClass(_out[ns].name, name) : nullptr;
}

bool MofSchemaBuilder::classKnown(std::uint32_t ns, const VELString& name) const {
    if (_ns[ns].classIndex.count(name)) {
        return true;
    }
    return _context && !_context->getClass(_out[ns].name, name).isNull();
}

void MofSchemaBuilder::resolveAll() {
    for (std::size_t i = 0; i < _classes.size(); ++i) {
        if (_classes[i].state == State::Unresolved) {
            resolveChain(i);
        }
    }
    // Classes that could not be built stay out of the result; their own
    // errors have been reported. A subclass of one fails silently.
}

void MofSchemaBuilder::resolveChain(std::size_t index) {
    // Walk up to the first superclass that is resolved (or known from the
    // context), then resolve downwards: no recursion, whatever the depth.
    std::vector<std::size_t> chain{index};
    _classes[index].state = State::Resolving;
    bool failed = false;
    for (;;) {
        ClassEntry& cur = _classes[chain.back()];
        const std::string& super = cur.syntax->superClass;
        if (super.empty()) {
            break;
        }
        std::uint32_t ns = cur.syntax->nameSpace;
        auto it = _ns[ns].classIndex.find(super);
        if (it == _ns[ns].classIndex.end()) {
            if (!_context || _context->getClass(_out[ns].name, super).isNull()) {
                _diag.error(cur.syntax->superPos,
                            "unknown superclass " + super + " of class " + cur.syntax->name);
                failed = true;
            }
            break;
        }
        ClassEntry& next = _classes[it->second];
        if (next.state == State::Resolved) {
            break;
        }
        if (next.state == State::Failed) {
            failed = true;  // silently: its own errors are reported
            break;
        }
        if (next.state == State::Resolving) {
            _diag.error(cur.syntax->superPos,
                        "class " + cur.syntax->name + " inherits from itself through " + super);
            failed = true;
            break;
        }
        next.state = State::Resolving;
        chain.push_back(it->second);
    }
    if (failed) {
        for (std::size_t i : chain) {
            _classes[i].state = State::Failed;
        }
        return;
    }
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        ClassEntry& e = _classes[*it];
        const MofClassSyntax& c = *e.syntax;
        VELSmrPtr<IVelaClass> super;
        std::size_t superDepth = 0;
        std::size_t superSize = 0;
        if (!c.superClass.empty()) {
            super = lookupClass(c.nameSpace, c.superClass);
            if (super.isNull()) {
                e.state = State::Failed;
                continue;
            }
            auto staged = _ns[c.nameSpace].classIndex.find(c.superClass);
            if (staged != _ns[c.nameSpace].classIndex.end()) {
                superDepth = _classes[staged->second].depth;
                superSize = _classes[staged->second].size;
            } else {
                for (auto a = super->getSuperClass();
                     !a.isNull() && superDepth <= _limits.maxInheritanceDepth;
                     a = a->getSuperClass()) {
                    ++superDepth;
                }
                superSize = sizeOf(*super);
            }
            e.depth = superDepth + 1;
            if (e.depth > _limits.maxInheritanceDepth) {
                _diag.error(c.superPos, "class " + c.name + " has more than " +
                                            std::to_string(_limits.maxInheritanceDepth) +
                                            " superclasses");
                e.state = State::Failed;
                continue;
            }
        }
        // An upper bound of what resolving allocates: the inherited elements
        // are copied into each subclass.
        std::size_t size = superSize + sizeOf(*e.cls);
        if (_schemaSize + size > _limits.maxSchemaSize) {
            _diag.fatal(c.pos, "the classes hold more than " +
                                   std::to_string(_limits.maxSchemaSize) +
                                   " properties, methods, parameters and qualifiers in all, "
                                   "inherited ones counted in each class");
        }
        try {
            e.cls->resolve(super);
        } catch (const VelaBaseException& ex) {
            _diag.error(c.pos, "class " + c.name + ": " + ex.getMessage().str());
            e.state = State::Failed;
            continue;
        }
        e.size = sizeOf(*e.cls);
        _schemaSize += e.size;
        e.state = State::Resolved;
        _out[c.nameSpace].classes.push_back(e.cls);
        if (++_resolved % 256 == 0) {
            progress(MofProgress::Stage::Resolving);
        }
    }
}

std::size_t MofSchemaBuilder::sizeOf(const IVelaClass& cls) {
    auto count = [](auto it) {
        std::size_t n = 0;
        while (it->hasNext()) {
            it->next();
            ++n;
        }
        return n;
    };
    std::size_t n = 1 + count(cls.getQualifiers(true));
    auto props = cls.getPropertyDefs(true);
    while (props->hasNext()) {
        n += 1 + count(props->next()->getQualifiers(true));
    }
    auto methods = cls.getMethodDefs(true);
    while (methods->hasNext()) {
        auto m = methods->next();
        n += 1 + count(m->getQualifiers(true));
        auto params = m->getParameters();
        while (params->hasNext()) {
            n += 1 + count(params->next()->getQualifiers(true));
        }
    }
    return n;
}

void MofSchemaBuilder::checkClass(ClassEntry& e) {
    const MofClassSyntax& c = *e.syntax;
    const CVelaClass& cls = *e.cls;
    std::uint32_t kind = cls.isAssociation()  ? QualifierScope::Association
                         : cls.isIndication() ? QualifierScope::Indication
                                              : QualifierScope::Class;
    for (const auto& p : e.classQualifiers) {
        if (!(p.decl->getScope() & kind)) {
            _diag.error(p.pos, "qualifier " + p.decl->getName().str() + " cannot be used on " +
                                   scopeElement(kind) + " (class " + c.name + "); its scope is " +
                                   scopeNames(p.decl->getScope()));
        }
    }
    VELSmrPtr<IVelaClass> super = cls.getSuperClass();
    if (cls.isAssociation() && !super.isNull() && !super->isAssociation()) {
        _diag.error(c.superPos, "association " + c.name + " cannot be a subclass of " +
                                    super->getName().str() + ", which is not an association");
    }
    if (!cls.isAssociation()) {
        for (const auto& pos : e.references) {
            _diag.error(pos, "class " + c.name + " declares a reference but is not an association");
        }
    }
    for (const auto& n : e.namedClasses) {
        if (!classKnown(c.nameSpace, n.name)) {
            _diag.error(n.pos, std::string(n.embedded ? "EmbeddedInstance of " : "") + n.element +
                                   " names unknown class " + n.name);
        }
    }
    for (const auto& o : e.overrides) {
        const char* what = o.method ? "method" : "property";
        if (!VELString(o.overridden).equalsIgnoreCase(o.name)) {
            _diag.error(o.pos, std::string(what) + " " + c.name + "." + o.name +
                                   " has Override(\"" + o.overridden + "\"), which names another " +
                                   what);
            continue;
        }
        bool found = !super.isNull() && (o.method ? !super->getMethodDef(o.overridden).isNull()
                                                  : !super->getPropertyDef(o.overridden).isNull());
        if (!found) {
            _diag.error(o.pos, std::string(what) + " " + c.name + "." + o.name +
                                   " overrides nothing: no superclass of " + c.name + " has a " +
                                   what + " " + o.overridden);
        }
    }
}

// ---------------------------------------------------------------------------
// Instances

void MofSchemaBuilder::buildInstances(std::vector<MofInstanceSyntax>& instances) {
    _instances.resize(instances.size());
    for (std::size_t i = 0; i < instances.size(); ++i) {
        InstanceEntry& e = _instances[i];
        e.syntax = &instances[i];
        if (!e.syntax->alias.empty()) {
            auto [it, fresh] = _aliases.emplace(e.syntax->alias, i);
            if (!fresh) {
                _diag.error(e.syntax->aliasPos,
                            "alias $" + e.syntax->alias + " is already used at " +
                                _diag.where(_instances[it->second].syntax->aliasPos));
            }
        }
    }
    for (auto& e : _instances) {
        e.failed = !prepareInstance(e);
        if (e.failed) {
            e.path = InstanceEntry::Path::Failed;
        }
    }
    for (std::size_t i = 0; i < _instances.size(); ++i) {
        finishInstance(i);
        if ((i + 1) % 256 == 0) {
            progress(MofProgress::Stage::Instances);
        }
    }
}

bool MofSchemaBuilder::prepareInstance(InstanceEntry& e) {
    MofInstanceSyntax& s = *e.syntax;
    std::uint32_t ns = s.nameSpace;
    auto it = _ns[ns].classIndex.find(s.className);
    if (it != _ns[ns].classIndex.end() && _classes[it->second].state != State::Resolved) {
        return false;  // the class has errors of its own
    }
    e.cls = lookupClass(ns, s.className);
    if (e.cls.isNull()) {
        _diag.error(s.pos, "instance of unknown class " + s.className);
        return false;
    }
    const std::string element = "instance of " + e.cls->getName().str();
    bool ok = true;
    if (e.cls->isAbstract()) {
        _diag.error(s.pos, "instance of abstract class " + e.cls->getName().str());
        ok = false;
    }
    qualifiers(s.qualifiers, ns, QualifierScope::Any, element, nullptr);
    e.defs.resize(s.values.size());
    e.values.resize(s.values.size());
    e.typed.assign(s.values.size(), false);
    CaseMap& seen = e.valueIndex;
    for (std::size_t k = 0; k < s.values.size(); ++k) {
        MofPropertyValueSyntax& v = s.values[k];
        qualifiers(v.qualifiers, ns, QualifierScope::Any, "property " + v.name + " of " + element,
                   nullptr);
        auto [dup, fresh] = seen.emplace(v.name, k);
        if (!fresh) {
            _diag.error(v.pos, "property " + v.name +
                                   " is given twice in this instance (first at " +
                                   _diag.where(s.values[dup->second].pos) + ")");
            ok = false;
            continue;
        }
        e.defs[k] = e.cls->getPropertyDef(v.name);
        if (e.defs[k].isNull()) {
            _diag.error(v.pos, "class " + e.cls->getName().str() + " has no property " + v.name);
            ok = false;
        }
    }
    for (const VELString& key : e.cls->getKeyNames()) {
        auto given = seen.find(key);
        bool set =
            given != seen.end() && s.values[given->second].value.kind != MofLiteral::Kind::Null;
        if (given == seen.end()) {
            const auto& def = e.cls->getPropertyDef(key)->getDefaultValue();
            set = !def.isNull() && def->isSet();
        }
        if (!set) {
            _diag.error(s.pos, element + " leaves key property " + key.str() + " unset");
            ok = false;
        }
    }
    return ok;
}

bool MofSchemaBuilder::typeValue(InstanceEntry& e, std::size_t k, std::size_t depth) {
    if (e.typed[k]) {
        return !e.values[k].isNull();
    }
    e.typed[k] = true;
    MofPropertyValueSyntax& v = e.syntax->values[k];
    const VELSmrPtr<IPropertyDef>& def = e.defs[k];
    std::string element =
        "property " + def->getName().str() + " of instance of " + e.cls->getName().str();
    MofValueConverter::AliasResolver resolve =
        [&](const MofLiteral& alias, VELSmrPtr<IVelaInstanceName>& path, std::string& why) {
            auto it = _aliases.find(alias.text);
            if (it == _aliases.end()) {
                why = "unknown alias $" + alias.text;
                return false;
            }
            if (!computePath(it->second, depth + 1)) {
                why.clear();  // the aliased instance's own errors are reported
                return false;
            }
            const InstanceEntry& target = _instances[it->second];
            const VELString& refClass = def->getType()->getReferenceClassName();
            if (!refClass.isNull() && !target.cls->isA(refClass)) {
                why = "alias $" + alias.text + " is an instance of " + target.cls->getName().str() +
                      ", which is not a " + refClass.str();
                return false;
            }
            path = target.name;
            return true;
        };
    std::string why;
    MofPos at;
    VELSmrPtr<IVelaValue> value;
    if (!MofValueConverter::convert(v.value, def->getType(), false, &resolve, value, why, at)) {
        if (!why.empty()) {
            _diag.error(at, element + ": " + why);
        }
        return false;
    }
    if (def->getArraySize() > 0 && value->isSet() && value->getArraySize() > def->getArraySize()) {
        _diag.error(v.value.pos, element + " has " + std::to_string(value->getArraySize()) +
                                     " elements, more than the array size " +
                                     std::to_string(def->getArraySize()));
        return false;
    }
    if (v.value.kind == MofLiteral::Kind::String && def->getType()->isReference() &&
        !checkReference(value, *def->getType(), e.syntax->nameSpace, v.value.pos, element)) {
        return false;
    }
    e.values[k] = value;
    return true;
}

bool MofSchemaBuilder::checkReference(VELSmrPtr<IVelaValue>& value, const IVelaType& type,
                                      std::uint32_t ns, const MofPos& pos,
                                      const std::string& element) {
    if (!value->isSet()) {
        return true;
    }
    VELSmrPtr<IVelaInstanceName> path = value->getReference();
    const auto& nsPath = path->getNameSpacePath();
    std::uint32_t targetNs = ns;
    bool foreign = false;
    if (!nsPath.isNull() && !nsPath->getNameSpace().isNull()) {
        foreign = true;
        for (std::uint32_t i = 0; i < _out.size(); ++i) {
            if (_out[i].name.equalsIgnoreCase(nsPath->getNameSpace())) {
                targetNs = i;
                foreign = false;
            }
        }
        foreign = foreign || !nsPath->getHost().isNull();
    }
    VELSmrPtr<IVelaClass> target =
        foreign ? VELSmrPtr<IVelaClass>() : lookupClass(targetNs, path->getClassName());
    if (target.isNull()) {
        // A namespace or host outside this compilation cannot be checked; a
        // class of this compilation with errors of its own is not reported again.
        if (!foreign && !classKnown(targetNs, path->getClassName())) {
            _diag.error(pos,
                        element + ": reference to unknown class " + path->getClassName().str());
            return false;
        }
        return true;
    }
    const VELString& refClass = type.getReferenceClassName();
    if (!refClass.isNull() && !target->isA(refClass)) {
        _diag.error(pos, element + ": the reference names class " + target->getName().str() +
                             ", which is not a " + refClass.str());
        return false;
    }
    // Keys of a path written as text arrive untyped; type them by the class.
    auto typed = makeVELSmrPtr<CVelaInstanceName>(target->getName(), nsPath);
    for (std::size_t i = 0; i < path->getKeyBindingCount(); ++i) {
        auto kb = path->getKeyBinding(i);
        auto def = target->getPropertyDef(kb->getPropertyName());
        if (def.isNull() || !def->isKey()) {
            _diag.error(pos, element + ": " + kb->getPropertyName().str() +
                                 " is not a key property of " + target->getName().str());
            return false;
        }
        VELSmrPtr<IVelaValue> v = kb->getValue();
        try {
            v = CVelaValue::convertTo(v, def->getType());
        } catch (const VelaBaseException& ex) {
            _diag.error(pos,
                        element + ": key " + def->getName().str() + ": " + ex.getMessage().str());
            return false;
        }
        typed->addKeyBinding(def->getName(), v);
    }
    CaseMap given;
    for (std::size_t i = 0; i < typed->getKeyBindingCount(); ++i) {
        given.emplace(typed->getKeyBinding(i)->getPropertyName(), i);
    }
    for (const VELString& key : target->getKeyNames()) {
        if (!given.count(key)) {
            _diag.error(pos, element + ": the reference lacks key " + key.str() + " of " +
                                 target->getName().str());
            return false;
        }
    }
    value = CVelaValue::makeReference(typed);
    return true;
}

bool MofSchemaBuilder::computePath(std::size_t index, std::size_t depth) {
    InstanceEntry& e = _instances[index];
    using Path = InstanceEntry::Path;
    if (e.path == Path::Done) {
        return true;
    }
    if (e.path == Path::Failed) {
        return false;
    }
    if (e.path == Path::Computing) {
        _diag.error(e.syntax->pos, "the keys of this instance of " + e.cls->getName().str() +
                                       " refer to the instance itself through aliases");
        e.path = Path::Failed;
        return false;
    }
    if (depth > _limits.maxNesting) {
        _diag.error(e.syntax->pos, "keys refer to other instances through aliases more than " +
                                       std::to_string(_limits.maxNesting) + " levels deep");
        e.path = Path::Failed;
        return false;
    }
    e.path = Path::Computing;
    const MofInstanceSyntax& s = *e.syntax;
    auto nsPath =
        VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath(VELString(), _out[s.nameSpace].name));
    auto name = makeVELSmrPtr<CVelaInstanceName>(e.cls->getName(), nsPath);
    bool ok = true;
    for (const VELString& key : e.cls->getKeyNames()) {
        VELSmrPtr<IVelaValue> value;
        auto given = e.valueIndex.find(key);
        if (given != e.valueIndex.end() && !e.defs[given->second].isNull()) {
            if (!typeValue(e, given->second, depth)) {
                ok = false;  // the other keys are still checked
            }
            value = e.values[given->second];
        }
        if (!ok) {
            continue;
        }
        if (value.isNull()) {
            value = e.cls->getPropertyDef(key)->getDefaultValue();
        }
        name->addKeyBinding(e.cls->getPropertyDef(key)->getName(), value);
    }
    if (e.path == Path::Failed) {
        return false;  // reported while computing (a cycle through this instance)
    }
    if (!ok) {
        e.path = Path::Failed;
        return false;
    }
    e.name = name;
    e.path = Path::Done;
    return true;
}

void MofSchemaBuilder::finishInstance(std::size_t index) {
    InstanceEntry& e = _instances[index];
    if (e.cls.isNull()) {
        return;
    }
    // All values are checked, also when the instance has other faults.
    bool ok = computePath(index, 0);
    for (std::size_t k = 0; k < e.values.size(); ++k) {
        if (!e.defs[k].isNull() && !typeValue(e, k, 0)) {
            ok = false;
        }
    }
    if (!ok || e.failed) {
        return;
    }
    const MofInstanceSyntax& s = *e.syntax;
    NameSpaceState& ns = _ns[s.nameSpace];
    std::string canonical = e.name->toString().str();
    auto [dup, fresh] = ns.instancePaths.emplace(canonical, index);
    if (!fresh) {
        _diag.error(s.pos, "instance " + canonical + " is already declared at " +
                               _diag.where(_instances[dup->second].syntax->pos));
        return;
    }
    auto obj = makeVELSmrPtr<CVelaObject>(e.cls->getName(), e.name);
    obj->reserve(e.cls->getPropertyCount());
    auto defs = e.cls->getPropertyDefs(true);
    while (defs->hasNext()) {
        VELSmrPtr<IPropertyDef> def = defs->next();
        VELSmrPtr<IVelaValue> value;
        auto given = e.valueIndex.find(def->getName());
        if (given != e.valueIndex.end()) {
            value = e.values[given->second];
        }
        if (value.isNull()) {
            value = def->getDefaultValue();
        }
        if (value.isNull()) {
            value = CVelaValue::makeNull(def->getType());
        }
        obj->addProperty(makeVELSmrPtr<CVelaProperty>(def->getName(), def->getType(), value));
    }
    _out[s.nameSpace].instances.push_back(obj);
}

}  // namespace tarn
