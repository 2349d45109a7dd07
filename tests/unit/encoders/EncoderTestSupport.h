// Builders, fakes and XML checks shared by the encoder tests.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>
#include <string>

#include "CIMXMLUtil.h"
#include "tarn/CClassSet.h"
#include "tarn/CQualifier.h"
#include "tarn/ISchemaCatalog.h"
#include "tarn/LogCapture.h"
#include "vela/AdapterException.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaProperty.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VELNetException.h"

namespace enctest {

using cimxmlpa::CIMXMLUtil;
using Value = VELSmrPtr<IVelaValue>;

inline VELSmrPtr<IVelaNameSpacePath> nsPath(const char* ns, const char* host = "") {
    return VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath(host, ns));
}

// An instance name with string keys given as name/value pairs.
inline VELSmrPtr<CVelaInstanceName> nameOf(
    const char* cls, VELSmrPtr<IVelaNameSpacePath> ns,
    std::initializer_list<std::pair<const char*, Value>> keys = {}) {
    auto name = makeVELSmrPtr<CVelaInstanceName>(cls, std::move(ns));
    for (const auto& [k, v] : keys) {
        name->addKeyBinding(k, v);
    }
    return name;
}

inline Value str(const char* s) {
    return CVelaValue::makeString(s);
}

// Runs an encoder on a fresh stream and returns what it wrote.
inline std::string out(const std::function<void(std::ostream&)>& encode) {
    std::ostringstream os;
    encode(os);
    return os.str();
}

// The text parses as XML content (wrapped in one root element).
inline ::testing::AssertionResult wellFormed(const std::string& text) {
    pugi::xml_document doc;
    std::string wrapped = "<root>" + text + "</root>";
    pugi::xml_parse_result r = doc.load_buffer(wrapped.data(), wrapped.size());
    if (r) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << r.description() << " at offset " << r.offset - 6 << " of:\n"
           << text;
}

// The text content of the XML fragment, entity references decoded once.
inline std::string decoded(const std::string& text) {
    pugi::xml_document doc;
    std::string wrapped = "<root>" + text + "</root>";
    EXPECT_TRUE(doc.load_buffer(wrapped.data(), wrapped.size())) << text;
    std::string s;
    for (pugi::xml_node n = doc.first_child().first_child(); n; n = n.next_sibling()) {
        s += n.value();
    }
    return s;
}

// NAMESPACEPATH of root/cimv2 on host h1.
inline const std::string kCimv2NsPath =
    "<NAMESPACEPATH>\n<HOST>h1</HOST>\n<LOCALNAMESPACEPATH>\n<NAMESPACE NAME=\"root\"/>\n"
    "<NAMESPACE NAME=\"cimv2\"/>\n</LOCALNAMESPACEPATH>\n</NAMESPACEPATH>\n";

// Markup in the escaped style, for markup whose texts hold no special characters.
inline std::string escapeMarkup(const std::string& plain) {
    std::string s;
    for (char c : plain) {
        s += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : std::string(1, c);
    }
    return s;
}

// INSTANCEPATH of CIM_Disk.Id="d1" in root/cimv2 on h1.
inline const std::string kDiskPath =
    "<INSTANCEPATH>\n" + kCimv2NsPath +
    "<INSTANCENAME CLASSNAME=\"CIM_Disk\">\n<KEYBINDING NAME=\"Id\"><KEYVALUE VALUETYPE=\"string\" "
    "TYPE=\"string\">d1</KEYVALUE></KEYBINDING>\n</INSTANCENAME>\n</INSTANCEPATH>\n";

// TEST_Inner with Note=note, and (with note "n") as an embedded (escaped) INSTANCE.
inline VELSmrPtr<IVelaObject> noteInstance(const char* note) {
    auto inner = makeVELSmrPtr<CVelaObject>("TEST_Inner");
    inner->addProperty("Note", str(note));
    return inner;
}
inline const std::string kInnerEscaped =
    "&lt;INSTANCE CLASSNAME=&quot;TEST_Inner&quot;&gt;\n&lt;PROPERTY NAME=&quot;Note&quot;&#32; "
    "TYPE=&quot;string&quot;&gt;&lt;VALUE&gt;n&lt;/VALUE&gt;\n&lt;/PROPERTY&gt;\n"
    "&lt;/INSTANCE&gt;\n";

// An instance name whose key binding `failing` throws what `fail` throws.
class FailingInstanceName : public CVelaInstanceName {
  public:
    FailingInstanceName(const char* cls, VELSmrPtr<IVelaNameSpacePath> ns, std::size_t failing,
                        std::function<void()> fail)
        : CVelaInstanceName(cls, std::move(ns)), _failing(failing), _fail(std::move(fail)) {}
    VELSmrPtr<IVelaKeyBinding> getKeyBinding(std::size_t i) const override {
        if (i == _failing) {
            _fail();
        }
        return CVelaInstanceName::getKeyBinding(i);
    }

  private:
    std::size_t _failing;
    std::function<void()> _fail;
};

// A property whose value cannot be read.
class FailingProperty : public CVelaProperty {
  public:
    FailingProperty(VELString name, std::function<void()> fail)
        : CVelaProperty(std::move(name), CVelaType::string, nullptr), _fail(std::move(fail)) {}
    const VELSmrPtr<IVelaValue>& getValue() const override {
        _fail();
        throw std::logic_error("unreachable");
    }

  private:
    std::function<void()> _fail;
};

inline void throwPlatform() {
    throw VelaBaseException("InvalidData", "Provider", "read", "bad row", 4);
}
inline void throwNetwork() {
    throw VELNetException("Socket", "peer closed", 0);
}
inline void throwUnknown() {
    throw std::runtime_error("boom");
}

// The log line of a platform exception under the encoders' failure policy.
constexpr const char* kPlatformLine = "InvalidData Exception thrown in 'Provider::read': bad row";

inline VELSmrPtr<tarn::IQualifier> qualifier(const char* name, Value value,
                                             std::uint32_t flavor = 0) {
    VELSmrPtr<IVelaType> type = value->getType();
    return VELSmrPtr<tarn::IQualifier>(new tarn::CQualifier(name, type, std::move(value), flavor));
}

// Installs a class set as the process's class lookup for the life of the object.
class ScopedClasses {
  public:
    explicit ScopedClasses(std::shared_ptr<tarn::CClassSet> set) {
        tarn::ISchemaCatalog::install(std::move(set));
    }
    ~ScopedClasses() { tarn::ISchemaCatalog::install(nullptr); }
    ScopedClasses(const ScopedClasses&) = delete;
    ScopedClasses& operator=(const ScopedClasses&) = delete;
};

// A key string property; with referenceKey, marked as holding an object path.
inline VELSmrPtr<tarn::CPropertyDef> keyProperty(const char* name, bool referenceKey = false) {
    auto p = makeVELSmrPtr<tarn::CPropertyDef>(name, CVelaType::string);
    p->addQualifier(qualifier("Key", CVelaValue::makeBoolean(true)));
    if (referenceKey) {
        p->addQualifier(
            qualifier(CIMUtil::REFERENCE_KEY_QUALIFIER.c_str(), CVelaValue::makeBoolean(true)));
    }
    return p;
}

// root/cimv2 with CIM_Error <- TEST_Error, CIM_ManagedElement <- TEST_Thing,
// the root class Other_Thing and TARN_Holder with a reference-qualified key.
inline std::shared_ptr<tarn::CClassSet> errorSchema() {
    auto set = std::make_shared<tarn::CClassSet>();
    const char* ns = "root/cimv2";
    auto error = makeVELSmrPtr<CVelaClass>("CIM_Error", "");
    error->addProperty(makeVELSmrPtr<tarn::CPropertyDef>("ErrorType", CVelaType::uint16));
    error->addProperty(makeVELSmrPtr<tarn::CPropertyDef>("Message", CVelaType::string));
    set->addClass(ns, error);
    set->addClass(ns, makeVELSmrPtr<CVelaClass>("TEST_Error", "CIM_Error"));
    auto element = makeVELSmrPtr<CVelaClass>("CIM_ManagedElement", "");
    element->addProperty(makeVELSmrPtr<tarn::CPropertyDef>("Caption", CVelaType::string));
    set->addClass(ns, element);
    auto thing = makeVELSmrPtr<CVelaClass>("TEST_Thing", "CIM_ManagedElement");
    thing->addProperty(keyProperty("Name"));
    set->addClass(ns, thing);
    auto other = makeVELSmrPtr<CVelaClass>("Other_Thing", "");
    other->addProperty(keyProperty("Id"));
    set->addClass(ns, other);
    auto holder = makeVELSmrPtr<CVelaClass>("TARN_Holder", "");
    holder->addProperty(keyProperty("Target", true));
    holder->addProperty(keyProperty("Slot"));
    set->addClass(ns, holder);
    return set;
}

}  // namespace enctest
