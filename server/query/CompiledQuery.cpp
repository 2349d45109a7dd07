#include "query/CompiledQuery.h"

#include <atomic>
#include <limits>

#include "query/QueryParser.h"
#include "tarn/CIMStatus.h"
#include "tarn/QualifierList.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaObject.h"
#include "vela/VelaBaseException.h"

namespace tarn::query {

namespace {

// What the compiler knows of an operand's type.
enum class Static {
    Unknown,
    Null,
    Boolean,
    Numeric,
    String,
    Char16,
    DateTime,
    Reference,
    Object,
    Array
};

const char* nameOf(Static s) {
    switch (s) {
        case Static::Null:
            return "NULL";
        case Static::Boolean:
            return "a boolean";
        case Static::Numeric:
            return "a number";
        case Static::String:
            return "a string";
        case Static::Char16:
            return "a char16";
        case Static::DateTime:
            return "a datetime";
        case Static::Reference:
            return "a reference";
        case Static::Object:
            return "an embedded instance";
        case Static::Array:
            return "an array";
        default:
            return "a value";
    }
}

VELString embeddedClassOf(const IPropertyDef& def) {
    VELSmrPtr<IQualifier> q = def.getQualifier("EmbeddedInstance");
    if (q.isNull() || q->getValue().isNull() || !q->getValue()->isSet() ||
        q->getValue()->getType()->isArray() ||
        q->getValue()->getType()->getTypeId() != CIMTypeId::String) {
        return VELString();
    }
    return q->getValue()->getString();
}

Static staticOf(const IPropertyDef& def) {
    const IVelaType& t = *def.getType();
    if (t.isArray()) {
        return Static::Array;
    }
    switch (t.getTypeId()) {
        case CIMTypeId::Boolean:
            return Static::Boolean;
        case CIMTypeId::String:
            if (!embeddedClassOf(def).isNull() ||
                QualifierList::isTrue(def.getQualifier("EmbeddedObject"))) {
                return Static::Object;
            }
            return CIMUtil::isReferenceQualified(def) ? Static::Reference : Static::String;
        case CIMTypeId::Char16:
            return Static::Char16;
        case CIMTypeId::DateTime:
            return Static::DateTime;
        case CIMTypeId::Reference:
            return Static::Reference;
        case CIMTypeId::Object:
            return Static::Object;
        case CIMTypeId::Void:
            return Static::Unknown;
        default:
            return Static::Numeric;
    }
}

bool comparable(Static a, Static b) {
    auto is = [&](Static x, Static y) { return (a == x && b == y) || (a == y && b == x); };
    if (a == b) {
        return true;
    }
    return is(Static::String, Static::Char16) || is(Static::String, Static::DateTime) ||
           is(Static::String, Static::Reference);
}

// One name of a property path; the hint remembers where the name was found
// in the last instance, which is where it is in the next one of the class.
struct Step {
    VELString name;
    mutable std::atomic<std::uint32_t> hint{std::numeric_limits<std::uint32_t>::max()};

    explicit Step(VELString n) : name(std::move(n)) {}
    Step(Step&& o) noexcept : name(std::move(o.name)), hint(o.hint.load()) {}
};

const IVelaProperty* findProperty(const IVelaObject& object, const Step& step) {
    const std::size_t count = object.getPropertyCount();
    const std::uint32_t hint = step.hint.load(std::memory_order_relaxed);
    if (hint < count) {
        const VELSmrPtr<IVelaProperty>& p = object.getProperty(hint);
        if (!p.isNull() && p->getName().equalsIgnoreCase(step.name.view())) {
            return p.get();
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        const VELSmrPtr<IVelaProperty>& p = object.getProperty(i);
        if (!p.isNull() && p->getName().equalsIgnoreCase(step.name.view())) {
            step.hint.store(static_cast<std::uint32_t>(i), std::memory_order_relaxed);
            return p.get();
        }
    }
    return nullptr;
}

}  // namespace

// An operand: a literal, the instance itself, or a property path.
struct Access {
    bool literal = false;
    bool self = false;
    std::vector<Step> steps;
    Datum constant;
    VELString text;                    // what constant.text points to
    VELSmrPtr<IVelaInstanceName> ref;  // what constant.reference points to
    Static type = Static::Unknown;
    std::size_t position = 0;
    VELString shown;  // as written, for messages

    Datum fetch(const IVelaObject& instance) const {
        if (literal) {
            return constant;
        }
        Datum d;
        if (self) {
            d.kind = Datum::Kind::Object;
            d.object = &instance;
            return d;
        }
        const IVelaObject* object = &instance;
        for (std::size_t i = 0;; ++i) {
            const IVelaProperty* p = findProperty(*object, steps[i]);
            if (!p) {
                return Datum();
            }
            d = Datum::of(p->getValue().get());
            if (i + 1 == steps.size()) {
                return d;
            }
            if (d.kind != Datum::Kind::Object || !d.object) {
                return Datum();
            }
            object = d.object;
        }
    }
};

struct CompiledQuery::Node {
    Expr::Kind kind = Expr::Kind::Operand;
    CompareOp op = CompareOp::Eq;
    bool negated = false;
    std::vector<std::unique_ptr<Node>> children;
    Access left;
    Access right;
    std::unique_ptr<LikePattern> pattern;
    VELString isaClass;
};

class QueryCompiler {
  public:
    QueryCompiler(CompiledQuery& query, const QuerySyntax& syntax, const ISchemaCatalog& schema,
                  const VELString& nameSpace)
        : _q(query), _syntax(syntax), _schema(schema), _ns(nameSpace) {}

    // A class named in the query: of its namespace, else of the instances'.
    VELSmrPtr<IVelaClass> lookup(const VELString& name) const {
        VELSmrPtr<IVelaClass> cls = _schema.getClass(_ns, name);
        if (cls.isNull() && !_q._instanceNameSpace.isNull()) {
            cls = _schema.getClass(_q._instanceNameSpace, name);
        }
        return cls;
    }

    void compile() {
        _q._class = _schema.getClass(_ns, _syntax.className);
        if (_q._class.isNull()) {
            invalidQuery(
                "Class '" + _syntax.className + "' does not exist in namespace '" + _ns + "'",
                _syntax.classPosition);
        }
        selectList();
        if (_syntax.where) {
            _q._where = node(*_syntax.where);
        }
    }

  private:
    bool namesTheClass(const VELString& name) const {
        return name.equalsIgnoreCase(_syntax.className.view()) ||
               (!_syntax.alias.isNull() && name.equalsIgnoreCase(_syntax.alias.view()));
    }

    // The path without a leading class or alias name.
    std::size_t firstName(const PropertyPath& path) const {
        if (path.names.size() > 1 && namesTheClass(path.names[0]) &&
            _q._class->getPropertyDef(path.names[0]).isNull()) {
            return 1;
        }
        return 0;
    }

    void selectList() {
        auto list = makeVELSmrPtr<VELValSlist<VELString>>();
        for (const SelectItem& item : _syntax.select) {
            if (item.wildcard) {
                if (!item.path.names.empty() && !namesTheClass(item.path.names[0])) {
                    invalidQuery("'" + item.path.names[0] + "' is neither the class nor its alias",
                                 item.position);
                }
                return;  // all properties
            }
            std::size_t first = firstName(item.path);
            if (item.path.names.size() - first != 1) {
                invalidQuery("Only properties of the class can be selected", item.position);
            }
            VELSmrPtr<IPropertyDef> def = _q._class->getPropertyDef(item.path.names[first]);
            if (def.isNull()) {
                notAProperty(item.path.names[first], _q._class->getName(),
                             item.path.positions[first]);
            }
            bool seen = false;
            for (const VELString& n : *list) {
                seen = seen || n.equalsIgnoreCase(def->getName().view());
            }
            if (!seen) {
                list->append(def->getName());
            }
        }
        _q._propertyList = list;
    }

    [[noreturn]] static void notAProperty(const VELString& name, const VELString& cls,
                                          std::size_t position) {
        invalidQuery("'" + name + "' is not a property of class " + cls, position);
    }

    void operand(const Operand& o, Access& a) {
        a.position = o.position;
        if (o.isLiteral) {
            a.literal = true;
            const Literal& l = o.literal;
            switch (l.kind) {
                case Literal::Kind::Null:
                    a.type = Static::Null;
                    a.shown = "NULL";
                    break;
                case Literal::Kind::Boolean:
                    a.type = Static::Boolean;
                    a.constant.kind = Datum::Kind::Boolean;
                    a.constant.boolean = l.boolean;
                    a.shown = l.boolean ? "TRUE" : "FALSE";
                    break;
                case Literal::Kind::Signed:
                    a.type = Static::Numeric;
                    a.constant.kind = Datum::Kind::Signed;
                    a.constant.signedValue = l.signedValue;
                    a.shown = VELString::valueOf(static_cast<long long>(l.signedValue));
                    break;
                case Literal::Kind::Unsigned:
                    a.type = Static::Numeric;
                    a.constant.kind = Datum::Kind::Unsigned;
                    a.constant.unsignedValue = l.unsignedValue;
                    a.shown = VELString::valueOf(static_cast<unsigned long long>(l.unsignedValue));
                    break;
                case Literal::Kind::Real:
                    a.type = Static::Numeric;
                    a.constant.kind = Datum::Kind::Real;
                    a.constant.real = l.real;
                    a.shown = "the number";
                    break;
                case Literal::Kind::String:
                    a.type = Static::String;
                    a.text = l.text;
                    a.constant.kind = Datum::Kind::String;
                    a.constant.text = &a.text;
                    a.shown = "'" + l.text + "'";
                    break;
            }
            return;
        }
        const PropertyPath& path = o.path;
        std::size_t first = firstName(path);
        a.shown = "'" + path.names[first] + "'";
        if (path.names.size() == 1 && namesTheClass(path.names[0]) &&
            _q._class->getPropertyDef(path.names[0]).isNull()) {
            a.self = true;
            a.type = Static::Object;
            return;
        }
        VELSmrPtr<IVelaClass> cls = _q._class;
        Static type = Static::Unknown;
        for (std::size_t i = first; i < path.names.size(); ++i) {
            const VELString& name = path.names[i];
            if (i > first) {
                a.shown += "." + name;
            }
            if (cls.isNull()) {
                // Inside an embedded object whose class is known only at run time.
                a.steps.emplace_back(name);
                type = Static::Unknown;
                continue;
            }
            VELSmrPtr<IPropertyDef> def = cls->getPropertyDef(name);
            if (def.isNull()) {
                notAProperty(name, cls->getName(), path.positions[i]);
            }
            a.steps.emplace_back(def->getName());
            type = staticOf(*def);
            if (i + 1 < path.names.size()) {
                if (type != Static::Object) {
                    invalidQuery("'" + name + "' of class " + cls->getName() +
                                     " is not an embedded instance",
                                 path.positions[i + 1]);
                }
                VELString embedded = embeddedClassOf(*def);
                cls = embedded.isNull() ? nullptr : lookup(embedded);
            }
        }
        a.type = type;
    }

    // A string literal compared with a datetime, char16 or reference: read it
    // as one, once.
    static void typeLiteral(Access& literal, Static as) {
        if (!literal.literal || literal.type != Static::String) {
            return;
        }
        if (as == Static::DateTime) {
            literal.constant.dateTime = DateTimeValue::parse(literal.text.view());
            if (!literal.constant.dateTime.valid) {
                invalidQuery(literal.shown + " is not a datetime that can be compared",
                             literal.position);
            }
            literal.constant.kind = Datum::Kind::DateTime;
            literal.constant.dateTimeParsed = true;
        } else if (as == Static::Char16) {
            // One character of the Basic Multilingual Plane, in UTF-8.
            const std::string& s = literal.text.str();
            const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(s[i]); };
            char32_t cp = 0;
            std::size_t len = 0;
            if (!s.empty() && byte(0) != 0 && byte(0) < 0x80) {
                cp = byte(0);
                len = 1;
            } else if (s.size() == 2 && (byte(0) & 0xE0) == 0xC0) {
                cp = ((byte(0) & 0x1Fu) << 6) | (byte(1) & 0x3Fu);
                len = 2;
            } else if (s.size() == 3 && (byte(0) & 0xF0) == 0xE0) {
                cp = ((byte(0) & 0x0Fu) << 12) | ((byte(1) & 0x3Fu) << 6) | (byte(2) & 0x3Fu);
                len = 3;
            }
            if (len == 0 || s.size() != len) {
                invalidQuery(literal.shown + " is not one char16 character", literal.position);
            }
            literal.constant.kind = Datum::Kind::Char16;
            literal.constant.char16 = static_cast<char16_t>(cp);
        } else if (as == Static::Reference) {
            try {
                literal.ref = CVelaInstanceName::parse(literal.text);
            } catch (const VelaBaseException& e) {
                invalidQuery(literal.shown + " is not an object path (" + e.getMessage() + ")",
                             literal.position);
            }
            literal.constant.kind = Datum::Kind::Reference;
            literal.constant.reference = literal.ref.get();
        }
    }

    std::unique_ptr<CompiledQuery::Node> node(const Expr& e) {
        auto n = std::make_unique<CompiledQuery::Node>();
        n->kind = e.kind;
        n->op = e.op;
        n->negated = e.negated;
        switch (e.kind) {
            case Expr::Kind::And:
            case Expr::Kind::Or:
            case Expr::Kind::Not:
                for (const auto& c : e.children) {
                    n->children.push_back(node(*c));
                }
                break;
            case Expr::Kind::Compare:
                operand(e.left, n->left);
                operand(e.right, n->right);
                checkComparison(*n);
                break;
            case Expr::Kind::Like:
                operand(e.left, n->left);
                if (n->left.type != Static::String && n->left.type != Static::Char16 &&
                    n->left.type != Static::Unknown) {
                    invalidQuery("LIKE needs a string, not " + n->left.shown + " (" +
                                     nameOf(n->left.type) + ")",
                                 n->left.position);
                }
                n->pattern = std::make_unique<LikePattern>(
                    _syntax.language, e.right.literal.text.view(), e.right.position);
                break;
            case Expr::Kind::IsNull:
                operand(e.left, n->left);
                break;
            case Expr::Kind::Isa: {
                operand(e.left, n->left);
                if (n->left.type != Static::Object && n->left.type != Static::Reference &&
                    n->left.type != Static::Unknown) {
                    invalidQuery(
                        "ISA needs an embedded instance, a reference or the class "
                        "itself, not " +
                            n->left.shown,
                        n->left.position);
                }
                VELSmrPtr<IVelaClass> target = lookup(e.right.literal.text);
                if (target.isNull()) {
                    invalidQuery("Class '" + e.right.literal.text +
                                     "' does not exist in namespace '" + _ns + "'",
                                 e.right.position);
                }
                n->isaClass = target->getName();
                break;
            }
            case Expr::Kind::Operand:
                operand(e.left, n->left);
                if (n->left.type != Static::Boolean && n->left.type != Static::Unknown &&
                    n->left.type != Static::Null) {
                    invalidQuery(n->left.shown + " is not a condition", n->left.position);
                }
                break;
        }
        return n;
    }

    static void checkComparison(CompiledQuery::Node& n) {
        Access& l = n.left;
        Access& r = n.right;
        for (const Access* a : {&l, &r}) {
            if (a->type == Static::Array || a->type == Static::Object) {
                invalidQuery(a->shown + " is " + nameOf(a->type) + " and cannot be compared",
                             a->position);
            }
        }
        if (l.type == Static::Unknown || r.type == Static::Unknown || l.type == Static::Null ||
            r.type == Static::Null) {
            return;
        }
        if (!comparable(l.type, r.type)) {
            invalidQuery("Cannot compare " + l.shown + " (" + nameOf(l.type) + ") with " + r.shown +
                             " (" + nameOf(r.type) + ")",
                         r.position);
        }
        const bool ordering = n.op != CompareOp::Eq && n.op != CompareOp::Ne;
        for (const Access* a : {&l, &r}) {
            if (ordering && (a->type == Static::Boolean || a->type == Static::Reference)) {
                invalidQuery(a->shown + " is " + nameOf(a->type) +
                                 ", which can only be compared with = and <>",
                             a->position);
            }
        }
        typeLiteral(l, r.type);
        typeLiteral(r, l.type);
    }

    CompiledQuery& _q;
    const QuerySyntax& _syntax;
    const ISchemaCatalog& _schema;
    const VELString& _ns;
};

namespace {

Truth truthOf(bool b) {
    return b ? Truth::True : Truth::False;
}

// other: a second namespace where ISA finds the classes of embedded instances.
Truth evaluateNode(const CompiledQuery::Node& n, const IVelaObject& instance,
                   const ISchemaCatalog& schema, const VELString& nameSpace,
                   const VELString& other) {
    switch (n.kind) {
        case Expr::Kind::And: {
            Truth result = Truth::True;
            for (const auto& c : n.children) {
                Truth t = evaluateNode(*c, instance, schema, nameSpace, other);
                if (t == Truth::False) {
                    return t;
                }
                if (t == Truth::Unknown) {
                    result = t;
                }
            }
            return result;
        }
        case Expr::Kind::Or: {
            Truth result = Truth::False;
            for (const auto& c : n.children) {
                Truth t = evaluateNode(*c, instance, schema, nameSpace, other);
                if (t == Truth::True) {
                    return t;
                }
                if (t == Truth::Unknown) {
                    result = t;
                }
            }
            return result;
        }
        case Expr::Kind::Not:
            return truthNot(evaluateNode(*n.children[0], instance, schema, nameSpace, other));
        case Expr::Kind::Compare: {
            const Relation r = relate(n.left.fetch(instance), n.right.fetch(instance));
            if (r == Relation::Unknown) {
                return Truth::Unknown;
            }
            switch (n.op) {
                case CompareOp::Eq:
                    return truthOf(r == Relation::Equal);
                case CompareOp::Ne:
                    return truthOf(r != Relation::Equal);
                default:
                    break;
            }
            if (r == Relation::Unequal) {
                return Truth::Unknown;
            }
            switch (n.op) {
                case CompareOp::Lt:
                    return truthOf(r == Relation::Less);
                case CompareOp::Le:
                    return truthOf(r != Relation::Greater);
                case CompareOp::Gt:
                    return truthOf(r == Relation::Greater);
                default:
                    return truthOf(r != Relation::Less);
            }
        }
        case Expr::Kind::Like: {
            const Datum d = n.left.fetch(instance);
            bool matched;
            if (d.kind == Datum::Kind::String || d.kind == Datum::Kind::Untyped) {
                matched = n.pattern->matches(d.text->view());
            } else if (d.kind == Datum::Kind::Char16 && d.char16 < 0x80) {
                const char c = static_cast<char>(d.char16);
                matched = n.pattern->matches(std::string_view(&c, 1));
            } else {
                return Truth::Unknown;
            }
            return truthOf(matched != n.negated);
        }
        case Expr::Kind::IsNull:
            return truthOf((n.left.fetch(instance).kind == Datum::Kind::Null) != n.negated);
        case Expr::Kind::Isa: {
            const Datum d = n.left.fetch(instance);
            const VELString* cls = nullptr;
            if (d.kind == Datum::Kind::Object && d.object) {
                cls = &d.object->getClassName();
            } else if (d.kind == Datum::Kind::Reference && d.reference) {
                cls = &d.reference->getClassName();
            } else {
                return Truth::Unknown;
            }
            if (cls->equalsIgnoreCase(n.isaClass.view())) {
                return Truth::True;
            }
            VELSmrPtr<IVelaClass> c = schema.getClass(nameSpace, *cls);
            if (c.isNull() && !other.isNull()) {
                c = schema.getClass(other, *cls);
            }
            return truthOf(!c.isNull() && c->isA(n.isaClass));
        }
        case Expr::Kind::Operand: {
            const Datum d = n.left.fetch(instance);
            if (d.kind == Datum::Kind::Boolean) {
                return truthOf(d.boolean);
            }
            if (d.kind == Datum::Kind::Untyped) {
                if (d.text->equalsIgnoreCase("TRUE")) {
                    return Truth::True;
                }
                if (d.text->equalsIgnoreCase("FALSE")) {
                    return Truth::False;
                }
            }
            return Truth::Unknown;
        }
    }
    return Truth::Unknown;
}

}  // namespace

CompiledQuery::~CompiledQuery() = default;

std::shared_ptr<const CompiledQuery> CompiledQuery::compile(const VELString& language,
                                                            const VELString& text,
                                                            const ISchemaCatalog& schema,
                                                            const VELString& nameSpace,
                                                            const VELString& instanceNameSpace) {
    Language lang;
    if (!languageOf(language, lang)) {
        throw VelaBaseException(
            cimStatusName(CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED), "tarn::query", "",
            "The query language '" + language + "' is not supported (WQL and DMTF:CQL are)",
            CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
    }
    QuerySyntax syntax = QueryParser::parse(lang, text.view());
    std::shared_ptr<CompiledQuery> q(new CompiledQuery());
    q->_language = lang;
    q->_schema = &schema;
    q->_nameSpace = nameSpace;
    q->_instanceNameSpace = instanceNameSpace;
    QueryCompiler(*q, syntax, schema, nameSpace).compile();
    return q;
}

Truth CompiledQuery::evaluate(const IVelaObject& instance) const {
    return _where ? evaluateNode(*_where, instance, *_schema, _nameSpace, _instanceNameSpace)
                  : Truth::True;
}

bool CompiledQuery::matches(const IVelaObject& instance) const {
    return evaluate(instance) == Truth::True;
}

VELSmrPtr<IVelaObject> CompiledQuery::project(const VELSmrPtr<IVelaObject>& instance) const {
    if (_propertyList.isNull() || instance.isNull()) {
        return instance;
    }
    auto out = makeVELSmrPtr<CVelaObject>(instance->getClassName(), instance->getPath());
    out->reserve(_propertyList->entries());
    for (const VELString& name : *_propertyList) {
        VELSmrPtr<IVelaProperty> p = instance->getProperty(name);
        if (!p.isNull()) {
            out->addProperty(std::move(p));
        }
    }
    return out;
}

}  // namespace tarn::query
