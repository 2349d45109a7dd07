#include "CIMXMLReader.h"

#include <cstring>
#include <unordered_set>
#include <vector>

#include "CIMXMLDocument.h"
#include "tarn/CMethodDef.h"
#include "tarn/CParameterDef.h"
#include "tarn/CPropertyDef.h"
#include "tarn/CQualifier.h"
#include "tarn/CQualifierDef.h"
#include "tarn/QualifierFlavor.h"
#include "vela/CVelaClass.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/VELCIMStrings.h"
#include "vela/VelaBaseException.h"

namespace tarn {

using S = VELCIMStrings;

namespace {

bool isBlank(std::string_view s) {
    for (char c : s) {
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
            return false;
        }
    }
    return true;
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && isBlank(s.substr(0, 1))) {
        s.remove_prefix(1);
    }
    while (!s.empty() && isBlank(s.substr(s.size() - 1))) {
        s.remove_suffix(1);
    }
    return s;
}

// Text from the request shown in a message: at most 64 bytes of it.
VELString shown(std::string_view s) {
    if (s.size() <= 64) {
        return VELString(s);
    }
    return VELString(s.substr(0, 64)) + "...";
}

VELString quoted(std::string_view s) {
    return "\"" + shown(s) + "\"";
}

// A CIM identifier: letters, digits and underscores, or any character beyond
// ASCII, not beginning with a digit.
bool isCIMName(std::string_view s) {
    if (s.empty() || (s[0] >= '0' && s[0] <= '9')) {
        return false;
    }
    for (char ch : s) {
        auto c = static_cast<unsigned char>(ch);
        bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  c == '_' || c >= 0x80;
        if (!ok) {
            return false;
        }
    }
    return true;
}

char lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

struct HashIgnoreCase {
    std::size_t operator()(std::string_view s) const noexcept {
        std::size_t h = 1469598103934665603ULL;
        for (char c : s) {
            h = (h ^ static_cast<unsigned char>(lower(c))) * 1099511628211ULL;
        }
        return h;
    }
};

struct EqualIgnoreCase {
    bool operator()(std::string_view a, std::string_view b) const noexcept {
        if (a.size() != b.size()) {
            return false;
        }
        for (std::size_t i = 0; i < a.size(); ++i) {
            if (lower(a[i]) != lower(b[i])) {
                return false;
            }
        }
        return true;
    }
};

// Names seen among the children of one element, compared without case as CIM
// names are. The names point into the document text, which outlives the set.
class NameSet {
  public:
    // False when the name is already in the set.
    bool insert(std::string_view name) {
        if (_large.empty()) {
            for (std::string_view n : _small) {
                if (EqualIgnoreCase()(n, name)) {
                    return false;
                }
            }
            if (_small.size() < 16) {
                _small.push_back(name);
                return true;
            }
            _large.insert(_small.begin(), _small.end());
        }
        return _large.insert(name).second;
    }

  private:
    std::vector<std::string_view> _small;
    std::unordered_set<std::string_view, HashIgnoreCase, EqualIgnoreCase> _large;
};

bool isStringLike(CIMTypeId id) {
    return id == CIMTypeId::String || id == CIMTypeId::Char16 || id == CIMTypeId::DateTime;
}

VELString count(std::size_t n) {
    return VELString::valueOf(static_cast<unsigned long long>(n));
}

}  // namespace

// The element (and its NAME) that a value belongs to, for messages.
struct CIMXMLReader::Owner {
    std::string_view element;
    std::string_view name;

    VELString describe() const {
        VELString s(element);
        if (!name.empty()) {
            s += " ";
            s += quoted(name);
        }
        return s;
    }
};

struct CIMXMLReader::PropertyParts {
    std::string_view rawName;  // the NAME attribute in the document text
    VELString name;
    VELSmrPtr<IVelaType> type;
    VELSmrPtr<IVelaValue> value;
    std::vector<VELSmrPtr<IQualifier>> qualifiers;
    std::uint32_t arraySize = 0;
    bool propagated = false;
};

struct CIMXMLReader::QualifierParts {
    std::string_view rawName;
    VELSmrPtr<IQualifier> qualifier;
    bool propagated = false;
};

// Counts the nesting of references or embedded objects while one is read.
class CIMXMLReader::DepthGuard {
  public:
    DepthGuard(const CIMXMLReader& reader, int& depth, int max, pugi::xml_node at, const char* what)
        : _depth(depth) {
        if (++_depth > max) {
            --_depth;
            reader.fail(at, VELString(what) + " nested more than " + VELString::valueOf(max) +
                                " levels deep");
        }
    }
    ~DepthGuard() { --_depth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;

  private:
    int& _depth;
};

// ---------------------------------------------------------------------------
// Attributes and child elements

CIMXMLReader::Attributes::Attributes(const CIMXMLReader& reader, pugi::xml_node element)
    : _reader(reader), _element(element) {
    for (pugi::xml_attribute a = element.first_attribute(); a; a = a.next_attribute()) {
        if (_count == kMaxAttributes) {
            reader.fail(element, "<" + shown(element.name()) + "> has more than " +
                                     count(kMaxAttributes) + " attributes");
        }
        std::size_t nameLength = strnlen(a.name(), kMaxAttributeLength + 1);
        std::string_view name(a.name(), nameLength);
        if (nameLength > kMaxAttributeLength ||
            strnlen(a.value(), kMaxAttributeLength + 1) > kMaxAttributeLength) {
            reader.fail(element, "attribute " + shown(name) + " of <" + shown(element.name()) +
                                     "> is longer than " + count(kMaxAttributeLength) + " bytes");
        }
        for (std::size_t k = 0; k < _count; ++k) {
            if (std::string_view(_entries[k].name, _entries[k].nameLength) == name) {
                reader.fail(element, "attribute " + shown(name) + " appears twice in <" +
                                         shown(element.name()) + ">");
            }
        }
        _entries[_count++] = Entry{a.name(), nameLength, a.value()};
    }
}

const char* CIMXMLReader::Attributes::find(std::string_view name) const {
    for (std::size_t k = 0; k < _count; ++k) {
        if (std::string_view(_entries[k].name, _entries[k].nameLength) == name) {
            return _entries[k].value;
        }
    }
    return nullptr;
}

std::string_view CIMXMLReader::Attributes::required(std::string_view name) const {
    const char* v = find(name);
    if (!v) {
        _reader.fail(_element, "<" + shown(_element.name()) + "> lacks its " + VELString(name) +
                                   " attribute");
    }
    return v;
}

bool CIMXMLReader::Attributes::flag(std::string_view name, bool def) const {
    const char* v = find(name);
    if (!v) {
        return def;
    }
    VELString s(v);
    if (s.equalsIgnoreCase("true")) {
        return true;
    }
    if (s.equalsIgnoreCase("false")) {
        return false;
    }
    _reader.fail(_element, "attribute " + VELString(name) + " of <" + shown(_element.name()) +
                               "> is " + quoted(v) + ", not true or false");
}

CIMXMLReader::Elements::Elements(const CIMXMLReader& reader, pugi::xml_node parent)
    : _reader(reader), _parent(parent) {
    if (!isBlank(parent.value())) {
        reader.fail(parent, "text is not allowed in <" + shown(parent.name()) + ">");
    }
    settle(parent.first_child());
}

void CIMXMLReader::Elements::settle(pugi::xml_node from) {
    for (pugi::xml_node n = from; n; n = n.next_sibling()) {
        if (n.type() == pugi::node_element) {
            _current = n;
            _name = n.name();
            return;
        }
        if (n.type() != pugi::node_pcdata || !isBlank(n.value())) {
            _reader.fail(n, "text is not allowed in <" + shown(_parent.name()) + ">");
        }
    }
    _current = pugi::xml_node();
    _name = {};
}

pugi::xml_node CIMXMLReader::Elements::take() {
    pugi::xml_node n = _current;
    settle(n.next_sibling());
    return n;
}

pugi::xml_node CIMXMLReader::Elements::expect(std::string_view name) {
    if (!at(name)) {
        if (_current) {
            _reader.fail(_current, "<" + shown(_name) + "> is not allowed here in <" +
                                       shown(_parent.name()) + ">, which needs <" +
                                       VELString(name) + ">");
        }
        _reader.fail(_parent,
                     "<" + shown(_parent.name()) + "> lacks its <" + VELString(name) + "> element");
    }
    return take();
}

void CIMXMLReader::Elements::end() const {
    if (_current) {
        _reader.fail(_current, "<" + shown(_name) + "> is not allowed here in <" +
                                   shown(_parent.name()) + ">");
    }
}

void CIMXMLReader::Elements::missing(std::string_view what) const {
    if (_current) {
        _reader.fail(_current, "<" + shown(_name) + "> is not allowed here in <" +
                                   shown(_parent.name()) + ">, which needs " + VELString(what));
    }
    _reader.fail(_parent, "<" + shown(_parent.name()) + "> needs " + VELString(what));
}

std::size_t CIMXMLReader::Elements::remaining() const {
    std::size_t n = 0;
    for (pugi::xml_node c = _current; c; c = c.next_sibling()) {
        if (c.type() == pugi::node_element) {
            ++n;
        }
    }
    return n;
}

void CIMXMLReader::fail(pugi::xml_node at, std::string_view what) const {
    VELString message(what);
    if (at) {
        std::ptrdiff_t offset = at.offset_debug();
        if (offset >= 0) {
            message += " (at byte " + VELString::valueOf(static_cast<long long>(offset)) + ")";
        }
    }
    throw VelaBaseException("InvalidData", "tarn::CIMXMLReader", "read", message, 4);
}

VELString CIMXMLReader::name(const Attributes& attributes, pugi::xml_node element,
                             std::string_view attribute) const {
    std::string_view v = attributes.required(attribute);
    if (!isCIMName(v)) {
        fail(element, "attribute " + VELString(attribute) + " of <" + shown(element.name()) +
                          "> is " + quoted(v) + ", which is not a CIM name");
    }
    return VELString(v);
}

// The text of an element that holds text only: its first text, and any text
// and CDATA sections after it joined on.
std::string_view CIMXMLReader::text(pugi::xml_node element) {
    if (element.first_attribute()) {
        Attributes check(*this, element);
    }
    pugi::xml_node child = element.first_child();
    if (!child) {
        return element.value();
    }
    _scratch.assign(element.value());
    for (; child; child = child.next_sibling()) {
        if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata) {
            fail(child, "<" + shown(element.name()) + "> holds text only, not <" +
                            shown(child.name()) + ">");
        }
        _scratch.append(child.value());
    }
    return _scratch;
}

void CIMXMLReader::checkEmpty(pugi::xml_node element) {
    if (element.first_attribute()) {
        Attributes check(*this, element);
    }
    Elements(*this, element).end();
}

VELSmrPtr<IVelaType> CIMXMLReader::simpleType(const Attributes& attributes, pugi::xml_node element,
                                              std::string_view attribute, bool isArray) const {
    std::string_view v = attributes.required(attribute);
    VELSmrPtr<IVelaType> t = CVelaType::fromName(VELString(v), isArray);
    if (t.isNull() || t->getTypeId() == CIMTypeId::Reference ||
        t->getTypeId() == CIMTypeId::Object || t->getTypeId() == CIMTypeId::Void) {
        fail(element, "attribute " + VELString(attribute) + " of <" + shown(element.name()) +
                          "> is " + quoted(v) + ", which is not a CIM type");
    }
    return t;
}

CIMXMLReader::Embedded CIMXMLReader::embeddedKind(const Attributes& attributes,
                                                  pugi::xml_node element) const {
    const char* v = attributes.find("EmbeddedObject");
    if (!v) {
        v = attributes.find("EMBEDDEDOBJECT");
    }
    if (!v) {
        return Embedded::None;
    }
    VELString s(v);
    if (s.equalsIgnoreCase("instance")) {
        return Embedded::Instance;
    }
    if (s.equalsIgnoreCase("object")) {
        return Embedded::Object;
    }
    fail(element, "attribute EmbeddedObject of <" + shown(element.name()) + "> is " + quoted(v) +
                      ", not object or instance");
}

std::uint32_t CIMXMLReader::arraySize(const Attributes& attributes, pugi::xml_node element) const {
    const char* v = attributes.find("ARRAYSIZE");
    if (!v) {
        return 0;
    }
    try {
        CVelaValue::Scalar size = CVelaValue::parseScalar(CVelaType::get(CIMTypeId::UInt32), v);
        return static_cast<std::uint32_t>(std::get<std::uint64_t>(size));
    } catch (const VelaBaseException& e) {
        fail(element, "attribute ARRAYSIZE of <" + shown(element.name()) + ">: " + e.getMessage());
    }
}

// ---------------------------------------------------------------------------
// Values

CVelaValue::Scalar CIMXMLReader::scalar(pugi::xml_node at, const VELSmrPtr<IVelaType>& type,
                                        std::string_view text, const Owner& owner) {
    try {
        return CVelaValue::parseScalar(type, text);
    } catch (const VelaBaseException& e) {
        fail(at, owner.describe() + ": " + e.getMessage());
    }
}

VELSmrPtr<IVelaValue> CIMXMLReader::embeddedValue(CVelaValue::Scalar object, Embedded kind) const {
    if (kind == Embedded::Instance) {
        return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Object), std::move(object));
    }
    bool isClass = std::holds_alternative<VELSmrPtr<IVelaClass>>(object);
    return makeVELSmrPtr<CVelaValue>(
        CVelaType::make(CIMTypeId::Object, false, {}, isClass, !isClass, true), std::move(object));
}

// A VALUE: untyped text when type is null, an embedded object when embedded
// says so, else text parsed as the type.
VELSmrPtr<IVelaValue> CIMXMLReader::readValue(pugi::xml_node value,
                                              const VELSmrPtr<IVelaType>& type, Embedded embedded,
                                              const Owner& owner) {
    std::string_view t = text(value);
    if (embedded != Embedded::None) {
        return embeddedValue(readEmbeddedObject(t, embedded, value, owner.describe()), embedded);
    }
    if (type.isNull()) {
        return CVelaValue::makeUntyped(VELString(t));
    }
    return makeVELSmrPtr<CVelaValue>(type, scalar(value, type, t, owner));
}

// A VALUE.ARRAY of VALUE and VALUE.NULL elements, read as readValue reads one
// VALUE. Each element is removed from the tree once read.
VELSmrPtr<IVelaValue> CIMXMLReader::readValueArray(pugi::xml_node array,
                                                   const VELSmrPtr<IVelaType>& type,
                                                   Embedded embedded, const Owner& owner) {
    if (array.first_attribute()) {
        Attributes check(*this, array);
    }
    Elements children(*this, array);
    auto elements = std::make_shared<CVelaValue::ScalarArray>();
    elements->reserve(children.remaining());
    bool anyClass = false;
    while (pugi::xml_node v = children.current()) {
        if (children.at(S::ELEMENT_VALUE.view())) {
            children.take();
            std::string_view t = text(v);
            if (embedded != Embedded::None) {
                elements->push_back(readEmbeddedObject(t, embedded, v, owner.describe()));
                anyClass =
                    anyClass || std::holds_alternative<VELSmrPtr<IVelaClass>>(elements->back());
            } else if (type.isNull()) {
                elements->emplace_back(VELString(t));
            } else {
                elements->push_back(scalar(v, type, t, owner));
            }
        } else if (children.at(S::ELEMENT_VALUE_NULL.view())) {
            children.take();
            checkEmpty(v);
            elements->emplace_back();
        } else {
            children.end();
        }
        array.remove_child(v);
    }
    std::shared_ptr<const CVelaValue::ScalarArray> data(std::move(elements));
    if (embedded == Embedded::Instance) {
        return makeVELSmrPtr<CVelaValue>(CVelaType::get(CIMTypeId::Object, true), std::move(data));
    }
    if (embedded == Embedded::Object) {
        return makeVELSmrPtr<CVelaValue>(
            CVelaType::make(CIMTypeId::Object, true, {}, anyClass, true, true), std::move(data));
    }
    if (type.isNull()) {
        return CVelaValue::makeUntypedArray(std::move(data));
    }
    return makeVELSmrPtr<CVelaValue>(CVelaType::get(type->getTypeId(), true), std::move(data));
}

VELSmrPtr<IVelaValue> CIMXMLReader::readRefArray(pugi::xml_node array) {
    if (array.first_attribute()) {
        Attributes check(*this, array);
    }
    Elements children(*this, array);
    auto elements = std::make_shared<CVelaValue::ScalarArray>();
    elements->reserve(children.remaining());
    while (pugi::xml_node v = children.current()) {
        if (children.at(S::ELEMENT_VALUE_REFERENCE.view())) {
            children.take();
            elements->emplace_back(readValueReference(v));
        } else if (children.at(S::ELEMENT_VALUE_NULL.view())) {
            children.take();
            checkEmpty(v);
            elements->emplace_back();
        } else {
            children.end();
        }
        array.remove_child(v);
    }
    return makeVELSmrPtr<CVelaValue>(
        CVelaType::get(CIMTypeId::Reference, true),
        std::shared_ptr<const CVelaValue::ScalarArray>(std::move(elements)));
}

CVelaValue::Scalar CIMXMLReader::readEmbeddedObject(std::string_view text, Embedded kind,
                                                    pugi::xml_node at, std::string_view owner) {
    if (isBlank(text)) {
        return {};
    }
    DepthGuard guard(*this, _embeddingDepth, kMaxEmbeddingDepth, at, "embedded objects");
    // The text is parsed in place, so it is copied out of the enclosing
    // document (or of the scratch buffer it may be in).
    std::string buffer(text);
    try {
        CIMXMLDocument document(buffer.data(), buffer.size());
        pugi::xml_node root = document.root();
        std::string_view rootName = root.name();
        if (rootName == S::ELEMENT_INSTANCE.view()) {
            return CVelaValue::Scalar(readInstance(root));
        }
        if (rootName == S::ELEMENT_CLASS.view() && kind == Embedded::Object) {
            return CVelaValue::Scalar(readClass(root));
        }
        fail(root, "the embedded object is <" + shown(rootName) + ">, not <INSTANCE>" +
                       (kind == Embedded::Object ? " or <CLASS>" : ""));
    } catch (const VelaBaseException& e) {
        fail(at,
             VELString(owner) + ": the embedded object is not valid CIM-XML: " + e.getMessage());
    }
}

VELSmrPtr<IVelaValue> CIMXMLReader::readKeyValue(pugi::xml_node element) {
    Attributes a(*this, element);
    const char* valueType = a.find("VALUETYPE");
    VELString hint = valueType ? VELString(valueType).toLower() : VELString("string");
    if (hint != "string" && hint != "boolean" && hint != "numeric") {
        fail(element, "attribute VALUETYPE of <KEYVALUE> is " + quoted(valueType) +
                          ", not string, boolean or numeric");
    }
    std::string_view t = text(element);
    if (!a.find("TYPE")) {
        return CVelaValue::makeUntyped(VELString(t), std::move(hint));
    }
    VELSmrPtr<IVelaType> type = simpleType(a, element, "TYPE", false);
    CIMTypeId id = type->getTypeId();
    bool fits = hint == "string"    ? isStringLike(id)
                : hint == "boolean" ? id == CIMTypeId::Boolean
                                    : isIntegerType(id) || isRealType(id);
    if (valueType && !fits) {
        fail(element, "<KEYVALUE> of VALUETYPE " + hint + " cannot have TYPE " + type->getName());
    }
    return makeVELSmrPtr<CVelaValue>(type, scalar(element, type, t, Owner{"KEYVALUE", {}}));
}

// ---------------------------------------------------------------------------
// Names and paths

VELString CIMXMLReader::readLocalNameSpacePath(pugi::xml_node element) {
    Elements children(*this, element);
    if (!children.at(S::ELEMENT_NAMESPACE.view())) {
        children.expect(S::ELEMENT_NAMESPACE.view());
    }
    VELString ns;
    while (children.at(S::ELEMENT_NAMESPACE.view())) {
        pugi::xml_node n = children.take();
        Attributes a(*this, n);
        std::string_view component = a.required("NAME");
        // A component may itself be a path ("root/cimv2"); the parts
        // between slashes are what must be valid.
        if (trimmed(component) != component || component.empty() ||
            component.find_first_of(":\"\\ \t\r\n") != std::string_view::npos) {
            fail(n, "namespace name " + quoted(component) + " is not valid");
        }
        checkEmpty(n);
        if (!ns.isNull()) {
            ns += '/';
        }
        ns += component;
    }
    children.end();
    if (CVelaNameSpacePath({}, ns).getNameSpace().isNull()) {
        fail(element, "namespace name " + quoted(ns.view()) + " is not valid");
    }
    return ns;
}

VELSmrPtr<IVelaNameSpacePath> CIMXMLReader::readNameSpacePath(pugi::xml_node element) {
    Elements children(*this, element);
    pugi::xml_node hostElement = children.expect(S::ELEMENT_HOST.view());
    std::string_view host = trimmed(text(hostElement));
    if (host.empty() || host.size() > kMaxAttributeLength ||
        host.find_first_of("/ \t\r\n\"") != std::string_view::npos) {
        fail(hostElement, "host name " + quoted(host) + " is not valid");
    }
    VELString hostName(host);
    VELString ns = readLocalNameSpacePath(children.expect(S::ELEMENT_LOCALNAMESPACEPATH.view()));
    children.end();
    return VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath(std::move(hostName), ns));
}

VELSmrPtr<IVelaInstanceName> CIMXMLReader::readClassName(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString className = name(a, element, "NAME");
    checkEmpty(element);
    return VELSmrPtr<IVelaInstanceName>(new CVelaInstanceName(std::move(className), nullptr, true));
}

VELSmrPtr<IVelaInstanceName> CIMXMLReader::readInstanceName(pugi::xml_node element) {
    Attributes a(*this, element);
    auto result = makeVELSmrPtr<CVelaInstanceName>(name(a, element, "CLASSNAME"));
    Elements children(*this, element);
    if (children.at(S::ELEMENT_KEYBINDING.view())) {
        NameSet keys;
        while (children.at(S::ELEMENT_KEYBINDING.view())) {
            pugi::xml_node binding = children.take();
            Attributes ba(*this, binding);
            VELString key = name(ba, binding, "NAME");
            if (!keys.insert(ba.required("NAME"))) {
                fail(binding, "key " + quoted(key.view()) + " is bound twice in <INSTANCENAME>");
            }
            Elements value(*this, binding);
            VELSmrPtr<IVelaValue> v;
            if (value.at(S::ELEMENT_KEYVALUE.view())) {
                v = readKeyValue(value.take());
            } else if (value.at(S::ELEMENT_VALUE_REFERENCE.view())) {
                v = CVelaValue::makeReference(readValueReference(value.take()));
            } else {
                value.missing("a <KEYVALUE> or a <VALUE.REFERENCE>");
            }
            value.end();
            result->addKeyBinding(key, std::move(v));
        }
    } else if (children.at(S::ELEMENT_KEYVALUE.view())) {
        result->addKeyBinding({}, readKeyValue(children.take()));
    } else if (children.at(S::ELEMENT_VALUE_REFERENCE.view())) {
        result->addKeyBinding({}, CVelaValue::makeReference(readValueReference(children.take())));
    }
    children.end();
    return result;
}

VELSmrPtr<IVelaInstanceName> CIMXMLReader::readLocalClassPath(pugi::xml_node element) {
    Elements children(*this, element);
    VELString ns = readLocalNameSpacePath(children.expect(S::ELEMENT_LOCALNAMESPACEPATH.view()));
    VELSmrPtr<IVelaInstanceName> cls = readClassName(children.expect(S::ELEMENT_CLASSNAME.view()));
    children.end();
    return VELSmrPtr<IVelaInstanceName>(new CVelaInstanceName(
        cls->getClassName(), VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath({}, ns)), true));
}

VELSmrPtr<IVelaInstanceName> CIMXMLReader::readLocalInstancePath(pugi::xml_node element) {
    Elements children(*this, element);
    VELString ns = readLocalNameSpacePath(children.expect(S::ELEMENT_LOCALNAMESPACEPATH.view()));
    VELSmrPtr<IVelaInstanceName> name =
        readInstanceName(children.expect(S::ELEMENT_INSTANCENAME.view()));
    children.end();
    name.checkedCast<CVelaInstanceName>()->setNameSpacePath(
        VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath({}, ns)));
    return name;
}

VELSmrPtr<IVelaInstanceName> CIMXMLReader::readValueReference(pugi::xml_node element) {
    DepthGuard guard(*this, _referenceDepth, kMaxReferenceDepth, element, "object paths");
    if (element.first_attribute()) {
        Attributes check(*this, element);
    }
    Elements children(*this, element);
    VELSmrPtr<IVelaInstanceName> result;
    std::string_view n = children.name();
    if (!children.current()) {
        children.missing("an object path");
    } else if (n == S::ELEMENT_INSTANCENAME.view()) {
        result = readInstanceName(children.take());
    } else if (n == S::ELEMENT_CLASSNAME.view()) {
        result = readClassName(children.take());
    } else if (n == S::ELEMENT_LOCALINSTANCEPATH.view()) {
        result = readLocalInstancePath(children.take());
    } else if (n == S::ELEMENT_LOCALCLASSPATH.view()) {
        result = readLocalClassPath(children.take());
    } else if (n == S::ELEMENT_INSTANCEPATH.view() || n == S::ELEMENT_CLASSPATH.view()) {
        pugi::xml_node path = children.take();
        bool isClass = n == S::ELEMENT_CLASSPATH.view();
        Elements parts(*this, path);
        VELSmrPtr<IVelaNameSpacePath> ns =
            readNameSpacePath(parts.expect(S::ELEMENT_NAMESPACEPATH.view()));
        if (isClass) {
            VELSmrPtr<IVelaInstanceName> cls =
                readClassName(parts.expect(S::ELEMENT_CLASSNAME.view()));
            result = VELSmrPtr<IVelaInstanceName>(
                new CVelaInstanceName(cls->getClassName(), std::move(ns), true));
        } else {
            result = readInstanceName(parts.expect(S::ELEMENT_INSTANCENAME.view()));
            result.checkedCast<CVelaInstanceName>()->setNameSpacePath(std::move(ns));
        }
        parts.end();
    }
    children.end();
    return result;
}

// ---------------------------------------------------------------------------
// Qualifiers, properties, instances, classes

CIMXMLReader::QualifierParts CIMXMLReader::readQualifier(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString qualifierName = name(a, element, "NAME");
    QualifierParts parts;
    parts.rawName = a.required("NAME");
    parts.propagated = a.flag("PROPAGATED", false);
    std::uint32_t flavor = QualifierFlavor::Default;
    if (!a.flag("OVERRIDABLE", true)) {
        flavor |= QualifierFlavor::DisableOverride;
    }
    if (!a.flag("TOSUBCLASS", true)) {
        flavor |= QualifierFlavor::Restricted;
    }
    if (a.flag("TRANSLATABLE", false)) {
        flavor |= QualifierFlavor::Translatable;
    }
    a.flag("TOINSTANCE", false);
    Elements children(*this, element);
    bool isArray = children.at(S::ELEMENT_VALUE_ARRAY.view());
    VELSmrPtr<IVelaType> type = simpleType(a, element, "TYPE", isArray);
    Owner owner{"QUALIFIER", qualifierName.view()};
    VELSmrPtr<IVelaValue> value;
    if (isArray) {
        value = readValueArray(children.take(), type, Embedded::None, owner);
    } else if (children.at(S::ELEMENT_VALUE.view())) {
        value = readValue(children.take(), type, Embedded::None, owner);
    }
    children.end();
    parts.qualifier = VELSmrPtr<IQualifier>(
        new CQualifier(std::move(qualifierName), std::move(type), std::move(value), flavor));
    return parts;
}

// Reads the QUALIFIER elements at the start of children; add receives each
// one that the element itself specifies (not those propagated to it).
template <class Add>
void CIMXMLReader::readQualifiers(Elements& children, Add&& add) {
    NameSet names;
    std::size_t n = 0;
    while (children.at(S::ELEMENT_QUALIFIER.view())) {
        pugi::xml_node q = children.take();
        if (++n > kMaxQualifiers) {
            fail(q, "more than " + count(kMaxQualifiers) + " qualifiers on one element");
        }
        QualifierParts parts = readQualifier(q);
        if (!names.insert(parts.rawName)) {
            fail(q, "qualifier " + quoted(parts.qualifier->getName().view()) +
                        " appears twice on one element");
        }
        if (!parts.propagated) {
            add(parts.qualifier);
        }
    }
}

// PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE. In an instance the value
// is the property's value (an unset value of the type when absent); in a
// class it is the default value (null when absent) and the qualifiers are kept.
CIMXMLReader::PropertyParts CIMXMLReader::readProperty(pugi::xml_node element, bool inClass) {
    std::string_view kind = element.name();
    Attributes a(*this, element);
    PropertyParts parts;
    parts.name = name(a, element, "NAME");
    parts.rawName = a.required("NAME");
    parts.propagated = a.flag("PROPAGATED", false);
    if (a.find("CLASSORIGIN")) {
        name(a, element, "CLASSORIGIN");
    }
    Owner owner{kind, parts.name.view()};
    Elements children(*this, element);
    readQualifiers(children, [&](const VELSmrPtr<IQualifier>& q) {
        if (inClass) {
            parts.qualifiers.push_back(q);
        }
    });
    VELSmrPtr<IVelaValue> value;
    if (kind == S::ELEMENT_PROPERTY_REFERENCE.view()) {
        VELString referenceClass;
        if (a.find("REFERENCECLASS")) {
            referenceClass = name(a, element, "REFERENCECLASS");
        }
        parts.type = CVelaType::referenceTo(referenceClass);
        if (children.at(S::ELEMENT_VALUE_REFERENCE.view())) {
            value = CVelaValue::makeReference(readValueReference(children.take()));
        }
    } else {
        bool isArray = kind == S::ELEMENT_PROPERTY_ARRAY.view();
        parts.type = simpleType(a, element, "TYPE", isArray);
        if (isArray) {
            parts.arraySize = arraySize(a, element);
        }
        Embedded embedded = embeddedKind(a, element);
        if (embedded != Embedded::None && parts.type->getTypeId() != CIMTypeId::String) {
            fail(element, owner.describe() + " of type " + parts.type->getName() +
                              " cannot hold an embedded object");
        }
        // A class keeps an embedded-object property as the string property
        // it declares (its qualifiers say what it holds).
        if (inClass) {
            embedded = Embedded::None;
        } else if (embedded != Embedded::None) {
            parts.type = CVelaType::get(CIMTypeId::Object, isArray);
        }
        if (isArray && children.at(S::ELEMENT_VALUE_ARRAY.view())) {
            value = readValueArray(children.take(), parts.type, embedded, owner);
        } else if (!isArray && children.at(S::ELEMENT_VALUE.view())) {
            value = readValue(children.take(), parts.type, embedded, owner);
        }
        if (!value.isNull() && embedded != Embedded::None) {
            parts.type = value->getType();
        }
    }
    children.end();
    if (value.isNull() && !inClass) {
        value = CVelaValue::makeNull(parts.type);
    }
    parts.value = std::move(value);
    return parts;
}

VELSmrPtr<IVelaObject> CIMXMLReader::readInstance(pugi::xml_node element,
                                                  VELSmrPtr<IVelaInstanceName> path) {
    Attributes a(*this, element);
    auto instance = makeVELSmrPtr<CVelaObject>(name(a, element, "CLASSNAME"), std::move(path));
    Elements children(*this, element);
    // Qualifiers of an instance are checked but not kept: the model of an
    // instance carries none.
    readQualifiers(children, [](const VELSmrPtr<IQualifier>&) {});
    instance->reserve(children.remaining());
    NameSet names;
    while (pugi::xml_node p = children.current()) {
        std::string_view n = children.name();
        if (n != S::ELEMENT_PROPERTY.view() && n != S::ELEMENT_PROPERTY_ARRAY.view() &&
            n != S::ELEMENT_PROPERTY_REFERENCE.view()) {
            break;
        }
        children.take();
        PropertyParts parts = readProperty(p, false);
        if (!names.insert(parts.rawName)) {
            fail(p, "property " + quoted(parts.name.view()) + " appears twice in an instance of " +
                        instance->getClassName());
        }
        instance->addProperty(makeVELSmrPtr<CVelaProperty>(
            std::move(parts.name), std::move(parts.type), std::move(parts.value)));
        element.remove_child(p);
    }
    children.end();
    return instance;
}

VELSmrPtr<IVelaObject> CIMXMLReader::readNamedInstance(pugi::xml_node element) {
    Elements children(*this, element);
    VELSmrPtr<IVelaInstanceName> path =
        readInstanceName(children.expect(S::ELEMENT_INSTANCENAME.view()));
    VELSmrPtr<IVelaObject> instance =
        readInstance(children.expect(S::ELEMENT_INSTANCE.view()), path);
    children.end();
    if (!path->getClassName().equalsIgnoreCase(instance->getClassName())) {
        fail(element, "<VALUE.NAMEDINSTANCE> names an instance of " + path->getClassName() +
                          " but holds an instance of " + instance->getClassName());
    }
    return instance;
}

VELSmrPtr<CMethodDef> CIMXMLReader::readMethod(pugi::xml_node element, bool& propagated,
                                               std::string_view& rawName) {
    Attributes a(*this, element);
    VELString methodName = name(a, element, "NAME");
    rawName = a.required("NAME");
    propagated = a.flag("PROPAGATED", false);
    if (a.find("CLASSORIGIN")) {
        name(a, element, "CLASSORIGIN");
    }
    VELSmrPtr<IVelaType> returnType =
        a.find("TYPE") ? simpleType(a, element, "TYPE", false) : CVelaType::voidType;
    auto method = makeVELSmrPtr<CMethodDef>(std::move(methodName), std::move(returnType));
    Elements children(*this, element);
    readQualifiers(children, [&](const VELSmrPtr<IQualifier>& q) { method->addQualifier(q); });
    NameSet names;
    std::size_t n = 0;
    while (pugi::xml_node p = children.current()) {
        std::string_view kind = children.name();
        bool isRef = kind == S::ELEMENT_PARAMETER_REFERENCE.view() ||
                     kind == S::ELEMENT_PARAMETER_REFARRAY.view();
        bool isArray = kind == S::ELEMENT_PARAMETER_ARRAY.view() ||
                       kind == S::ELEMENT_PARAMETER_REFARRAY.view();
        if (!isRef && !isArray && kind != S::ELEMENT_PARAMETER.view()) {
            break;
        }
        children.take();
        if (++n > kMaxParameters) {
            fail(p, "more than " + count(kMaxParameters) + " parameters in one method");
        }
        Attributes pa(*this, p);
        VELString parameterName = name(pa, p, "NAME");
        if (!names.insert(pa.required("NAME"))) {
            fail(p, "parameter " + quoted(parameterName.view()) + " appears twice in method " +
                        method->getName());
        }
        VELSmrPtr<IVelaType> type;
        if (isRef) {
            VELString referenceClass;
            if (pa.find("REFERENCECLASS")) {
                referenceClass = name(pa, p, "REFERENCECLASS");
            }
            type = CVelaType::referenceTo(referenceClass, isArray);
        } else {
            type = simpleType(pa, p, "TYPE", isArray);
        }
        if (isArray) {
            arraySize(pa, p);
        }
        auto parameter = makeVELSmrPtr<CParameterDef>(std::move(parameterName), std::move(type));
        Elements qualifiers(*this, p);
        readQualifiers(qualifiers,
                       [&](const VELSmrPtr<IQualifier>& q) { parameter->addQualifier(q); });
        qualifiers.end();
        method->addParameter(parameter);
    }
    children.end();
    return method;
}

VELSmrPtr<IVelaClass> CIMXMLReader::readClass(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString className = name(a, element, "NAME");
    VELString superClass;
    if (const char* s = a.find("SUPERCLASS"); s && *s) {
        superClass = name(a, element, "SUPERCLASS");
    }
    auto cls = makeVELSmrPtr<CVelaClass>(std::move(className), std::move(superClass));
    Elements children(*this, element);
    // Elements marked PROPAGATED come from the superclass: the class itself
    // consists of what it specifies.
    readQualifiers(children, [&](const VELSmrPtr<IQualifier>& q) { cls->addQualifier(q); });
    NameSet properties;
    std::size_t n = 0;
    while (pugi::xml_node p = children.current()) {
        std::string_view kind = children.name();
        if (kind != S::ELEMENT_PROPERTY.view() && kind != S::ELEMENT_PROPERTY_ARRAY.view() &&
            kind != S::ELEMENT_PROPERTY_REFERENCE.view()) {
            break;
        }
        children.take();
        if (++n > kMaxClassElements) {
            fail(p,
                 "more than " + count(kMaxClassElements) + " properties and methods in one class");
        }
        PropertyParts parts = readProperty(p, true);
        if (!properties.insert(parts.rawName)) {
            fail(p, "property " + quoted(parts.name.view()) + " appears twice in class " +
                        cls->getName());
        }
        if (!parts.propagated) {
            auto def = makeVELSmrPtr<CPropertyDef>(std::move(parts.name), std::move(parts.type),
                                                   std::move(parts.value), parts.arraySize);
            for (const auto& q : parts.qualifiers) {
                def->addQualifier(q);
            }
            cls->addProperty(def);
        }
        element.remove_child(p);
    }
    NameSet methods;
    while (children.at(S::ELEMENT_METHOD.view())) {
        pugi::xml_node m = children.take();
        if (++n > kMaxClassElements) {
            fail(m,
                 "more than " + count(kMaxClassElements) + " properties and methods in one class");
        }
        bool propagated = false;
        std::string_view rawName;
        VELSmrPtr<CMethodDef> method = readMethod(m, propagated, rawName);
        if (!methods.insert(rawName)) {
            fail(m, "method " + quoted(method->getName().view()) + " appears twice in class " +
                        cls->getName());
        }
        if (!propagated) {
            cls->addMethod(method);
        }
        element.remove_child(m);
    }
    children.end();
    return cls;
}

VELSmrPtr<IQualifierDef> CIMXMLReader::readQualifierDeclaration(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString qualifierName = name(a, element, "NAME");
    std::uint32_t flavor = QualifierFlavor::Default;
    if (!a.flag("OVERRIDABLE", true)) {
        flavor |= QualifierFlavor::DisableOverride;
    }
    if (!a.flag("TOSUBCLASS", true)) {
        flavor |= QualifierFlavor::Restricted;
    }
    if (a.flag("TRANSLATABLE", false)) {
        flavor |= QualifierFlavor::Translatable;
    }
    a.flag("TOINSTANCE", false);
    arraySize(a, element);
    Elements children(*this, element);
    std::uint32_t scope = 0;
    if (children.at(S::ELEMENT_SCOPE.view())) {
        pugi::xml_node s = children.take();
        Attributes sa(*this, s);
        static const std::pair<const char*, std::uint32_t> scopes[] = {
            {"CLASS", QualifierScope::Class},          {"ASSOCIATION", QualifierScope::Association},
            {"REFERENCE", QualifierScope::Reference},  {"PROPERTY", QualifierScope::Property},
            {"METHOD", QualifierScope::Method},        {"PARAMETER", QualifierScope::Parameter},
            {"INDICATION", QualifierScope::Indication}};
        for (const auto& [attribute, bit] : scopes) {
            if (sa.flag(attribute, false)) {
                scope |= bit;
            }
        }
        checkEmpty(s);
    }
    bool hasArrayValue = children.at(S::ELEMENT_VALUE_ARRAY.view());
    bool isArray = a.flag("ISARRAY", hasArrayValue);
    if (children.at(S::ELEMENT_VALUE.view()) && isArray) {
        fail(children.current(), "<QUALIFIER.DECLARATION> of an array type has a scalar <VALUE>");
    }
    if (hasArrayValue && !isArray) {
        fail(children.current(), "<QUALIFIER.DECLARATION> with ISARRAY false has a <VALUE.ARRAY>");
    }
    VELSmrPtr<IVelaType> type = simpleType(a, element, "TYPE", isArray);
    Owner owner{"QUALIFIER.DECLARATION", qualifierName.view()};
    VELSmrPtr<IVelaValue> value;
    if (hasArrayValue) {
        value = readValueArray(children.take(), type, Embedded::None, owner);
    } else if (children.at(S::ELEMENT_VALUE.view())) {
        value = readValue(children.take(), type, Embedded::None, owner);
    }
    children.end();
    return VELSmrPtr<IQualifierDef>(new CQualifierDef(std::move(qualifierName), std::move(type),
                                                      std::move(value), scope, flavor));
}

// ---------------------------------------------------------------------------
// Parameters

VELSmrPtr<VELCIMParamValue> CIMXMLReader::readIParamValue(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString parameterName = name(a, element, "NAME");
    Elements children(*this, element);
    pugi::xml_node v = children.current();
    std::string_view n = children.name();
    VELSmrPtr<IVelaValue> value;
    if (!v) {
        // A parameter without value.
    } else if (n == S::ELEMENT_VALUE.view()) {
        value = CVelaValue::makeUntyped(VELString(text(v)));
    } else if (n == S::ELEMENT_VALUE_ARRAY.view()) {
        value =
            readValueArray(v, nullptr, Embedded::None, Owner{"IPARAMVALUE", parameterName.view()});
    } else if (n == S::ELEMENT_VALUE_REFERENCE.view()) {
        value = CVelaValue::makeReference(readValueReference(v));
    } else if (n == S::ELEMENT_CLASSNAME.view()) {
        value = CVelaValue::makeReference(readClassName(v));
    } else if (n == S::ELEMENT_INSTANCENAME.view()) {
        value = CVelaValue::makeReference(readInstanceName(v));
    } else if (n == S::ELEMENT_QUALIFIER_DECLARATION.view()) {
        VELSmrPtr<IQualifierDef> declaration = readQualifierDeclaration(v);
        children.take();
        children.end();
        return makeVELSmrPtr<VELCIMParamValue>(std::move(parameterName), std::move(declaration));
    } else if (n == S::ELEMENT_CLASS.view()) {
        value = CVelaValue::makeClass(readClass(v));
    } else if (n == S::ELEMENT_INSTANCE.view()) {
        value = CVelaValue::makeObject(readInstance(v));
    } else if (n == S::ELEMENT_VALUE_NAMEDINSTANCE.view()) {
        value = CVelaValue::makeObject(readNamedInstance(v));
    } else {
        children.end();
    }
    if (v) {
        children.take();
    }
    children.end();
    return makeVELSmrPtr<VELCIMParamValue>(std::move(parameterName), std::move(value));
}

VELSmrPtr<VELCIMParamValue> CIMXMLReader::readParamValue(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString parameterName = name(a, element, "NAME");
    const char* typeText = a.find("PARAMTYPE");
    if (!typeText) {
        typeText = a.find("TYPE");
    }
    VELString typeName(typeText ? typeText : "");
    Embedded embedded = embeddedKind(a, element);
    VELSmrPtr<IVelaType> type;
    if (typeText) {
        type = CVelaType::fromName(typeName);
    }
    if (!type.isNull() && type->getTypeId() == CIMTypeId::Void) {
        type = nullptr;
    }
    bool unknown = typeText && type.isNull();
    CIMTypeId id = type.isNull() ? CIMTypeId::Void : type->getTypeId();
    if (id == CIMTypeId::Object && embedded == Embedded::None) {
        embedded = typeName.equalsIgnoreCase("object") ? Embedded::Object : Embedded::Instance;
    }
    if (embedded != Embedded::None && !type.isNull() && id != CIMTypeId::String &&
        id != CIMTypeId::Object) {
        fail(element, "PARAMVALUE " + quoted(parameterName.view()) + " of PARAMTYPE " + typeName +
                          " cannot hold an embedded object");
    }
    Owner owner{"PARAMVALUE", parameterName.view()};
    Elements children(*this, element);
    pugi::xml_node v = children.current();
    std::string_view n = children.name();
    // Whether the declared type allows the value element found.
    auto fits = [&](bool ok) {
        if (!ok && !unknown && !type.isNull()) {
            fail(v, "PARAMVALUE " + quoted(parameterName.view()) + " of PARAMTYPE " + typeName +
                        " cannot hold <" + shown(n) + ">");
        }
    };
    bool objectsAllowed = id == CIMTypeId::Object || embedded != Embedded::None;
    VELSmrPtr<IVelaValue> value;
    VELSmrPtr<IVelaType> scalarType = unknown ? nullptr : type;
    if (!v) {
        if (!scalarType.isNull()) {
            value = CVelaValue::makeNull(
                embedded == Embedded::None ? scalarType : CVelaType::get(CIMTypeId::Object));
        }
    } else if (n == S::ELEMENT_VALUE.view()) {
        value = readValue(v, scalarType, unknown ? Embedded::None : embedded, owner);
    } else if (n == S::ELEMENT_VALUE_ARRAY.view()) {
        fits(id != CIMTypeId::Reference);
        value = readValueArray(v, scalarType, unknown ? Embedded::None : embedded, owner);
    } else if (n == S::ELEMENT_VALUE_REFERENCE.view() || n == S::ELEMENT_CLASSNAME.view() ||
               n == S::ELEMENT_INSTANCENAME.view()) {
        fits(id == CIMTypeId::Reference);
        VELSmrPtr<IVelaInstanceName> ref = n == S::ELEMENT_VALUE_REFERENCE.view()
                                               ? readValueReference(v)
                                           : n == S::ELEMENT_CLASSNAME.view() ? readClassName(v)
                                                                              : readInstanceName(v);
        value = CVelaValue::makeReference(ref);
    } else if (n == S::ELEMENT_VALUE_REFARRAY.view()) {
        fits(id == CIMTypeId::Reference);
        value = readRefArray(v);
    } else if (n == S::ELEMENT_CLASS.view()) {
        fits(objectsAllowed && embedded != Embedded::Instance);
        value = CVelaValue::makeClass(readClass(v));
    } else if (n == S::ELEMENT_INSTANCE.view() || n == S::ELEMENT_VALUE_NAMEDINSTANCE.view()) {
        fits(objectsAllowed);
        CVelaValue::Scalar object(n == S::ELEMENT_INSTANCE.view() ? readInstance(v)
                                                                  : readNamedInstance(v));
        value = embeddedValue(std::move(object),
                              embedded == Embedded::None ? Embedded::Instance : embedded);
    } else {
        children.end();
    }
    if (v) {
        children.take();
    }
    children.end();
    if (typeName.isNull() && !value.isNull() && value->getType()->isReference()) {
        typeName = "reference";
    }
    return makeVELSmrPtr<VELCIMParamValue>(std::move(parameterName), std::move(value),
                                           std::move(typeName), unknown);
}

VELSmrPtr<VELCIMParamValue> CIMXMLReader::readExpParamValue(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString parameterName = name(a, element, "NAME");
    Elements children(*this, element);
    VELSmrPtr<IVelaValue> value;
    if (children.at(S::ELEMENT_INSTANCE.view())) {
        value = CVelaValue::makeObject(readInstance(children.take()));
    }
    children.end();
    return makeVELSmrPtr<VELCIMParamValue>(std::move(parameterName), std::move(value));
}

void CIMXMLReader::readCorrelator(pugi::xml_node element) {
    Attributes a(*this, element);
    VELString correlatorName = name(a, element, "NAME");
    VELSmrPtr<IVelaType> type = simpleType(a, element, "TYPE", false);
    Elements children(*this, element);
    readValue(children.expect(S::ELEMENT_VALUE.view()), type, Embedded::None,
              Owner{"CORRELATOR", correlatorName.view()});
    children.end();
}

}  // namespace tarn
