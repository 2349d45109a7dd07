#include "CIMXMLUtil.h"

#include <charconv>
#include <cstring>
#include <optional>
#include <sstream>
#include <typeinfo>
#include <unordered_set>

#include "tarn/ISchemaCatalog.h"
#include "tarn/QualifierFlavor.h"
#include "tarn/VELRegExp.h"
#include "vela/AdapterException.h"
#include "vela/AdapterUtils.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/VELCIMStrings.h"
#include "vela/VELNetException.h"

namespace cimxmlpa {

using namespace std::string_view_literals;

const VELString CIMXMLUtil::CIM_PREFIX = "CIM_";
const VELString CIMXMLUtil::CIM_ERROR_CLASS_NAME = "CIM_Error";
const VELString CIMXMLUtil::CIM_ERROR_ERROR_SOURCE = "ErrorSource";
const VELString CIMXMLUtil::CIM_ERROR_ERROR_SOURCE_FORMAT = "ErrorSourceFormat";
const VELString CIMXMLUtil::CIM_ERROR_SOURCE_FORMAT_OTHER = "OtherErrorSourceFormat";

const VELString CIMXMLUtil::XML_LT = "&lt;";
const VELString CIMXMLUtil::XML_GT = "&gt;";
const VELString CIMXMLUtil::XML_QUOTE = "&quot;";
const VELString CIMXMLUtil::HTML_LINE_FEED = "&#10;";
const VELString CIMXMLUtil::HTML_SPACE = "&#32;";

VELString CIMXMLUtil::advertisedHostName;

std::unique_ptr<CIMXMLUtil::StatusCodeMap> CIMXMLUtil::statusCodeTranslationMap;
std::unique_ptr<CIMXMLUtil::StatusDescriptionMap> CIMXMLUtil::statusCodeDescriptionMap;

namespace {

// Both tables exist before the adapter does and never change afterwards, so
// request threads read them without a lock.
struct StatusTablesAtLoad {
    StatusTablesAtLoad() {
        CIMXMLUtil::buildStatusCodeTranslationMap();
        CIMXMLUtil::buildStatusCodeDescriptionMap();
    }
};
const StatusTablesAtLoad statusTablesAtLoad;

constexpr std::string_view kComponent = "CIMXMLUtil";
constexpr std::string_view kUnknownException = "Unknown Exception thrown.";
const VELString kEmpty;

// The put area of any stream buffer. Its members are protected; pointers to
// them, formed here, may be used on every std::streambuf (sputc itself writes
// into the put area the same way).
struct PutArea : std::streambuf {
    static char* next(std::streambuf* b) { return (b->*&PutArea::pptr)(); }
    static char* end(std::streambuf* b) { return (b->*&PutArea::epptr)(); }
    static void advance(std::streambuf* b, int n) { (b->*&PutArea::pbump)(n); }
};

// Straight into the stream's buffer: the encoders write many short pieces,
// for which ostream::write (a sentry each time) and even sputn (a virtual
// call and an out-of-line copy) cost more than the copy itself. A piece that
// fits in the put area is copied there; anything else goes through sputn, so
// that a failure raised by the buffer (the client connection) reaches the
// caller as it is. Always inlined, so that copies of literal pieces have a
// constant length.
[[gnu::always_inline]] inline void put(std::ostream& os, std::string_view s) {
    if (s.empty()) {
        return;
    }
    std::streambuf* buf = os.rdbuf();
    if (buf == nullptr) {
        os.setstate(std::ios_base::badbit);
        return;
    }
    char* next = PutArea::next(buf);
    if (s.size() <= static_cast<std::size_t>(PutArea::end(buf) - next) && s.size() <= 4096)
        [[likely]] {
        std::memcpy(next, s.data(), s.size());
        PutArea::advance(buf, static_cast<int>(s.size()));
        return;
    }
    auto n = static_cast<std::streamsize>(s.size());
    if (buf->sputn(s.data(), n) != n) {
        os.setstate(std::ios_base::badbit);
    }
}

inline void put(std::ostream& os, char c) {
    std::streambuf* buf = os.rdbuf();
    if (buf == nullptr ||
        std::char_traits<char>::eq_int_type(buf->sputc(c), std::char_traits<char>::eof())) {
        os.setstate(std::ios_base::badbit);
    }
}

inline std::string_view pick(bool escaped, std::string_view plain, std::string_view esc) {
    return escaped ? esc : plain;
}

// Most text needs no escape: check first, copy in one piece.
inline void putEncoded(std::ostream& os, std::string_view text) {
    if (CIMUtil::needsXmlEncoding(text)) {
        CIMUtil::xmlEncode(os, text);
    } else {
        put(os, text);
    }
}

template <class T>
void putNumber(std::ostream& os, T v) {
    char buf[24];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    put(os, std::string_view(buf, static_cast<std::size_t>(r.ptr - buf)));
}

// Runs one read of model data. A lost connection always ends the response;
// any other failure ends it too unless continueOnException is set, in which
// case it is logged and false is returned.
template <class Read>
bool tryRead(bool continueOnException, Read&& read) {
    try {
        read();
        return true;
    } catch (const VELNetException& e) {
        throw VELNetException(e);
    } catch (const VelaBaseException& e) {
        if (!continueOnException) {
            throw;
        }
        AdapterUtils::log(kComponent, e.toString().view(), 1);
    } catch (...) {
        if (!continueOnException) {
            throw;
        }
        AdapterUtils::log(kComponent, kUnknownException, 1);
    }
    return false;
}

// tryRead, reporting a failure in place with an ERROR element of status 1.
template <class Read>
bool guarded(std::ostream& os, bool continueOnException, Read&& read) {
    if (tryRead(continueOnException, std::forward<Read>(read))) {
        return true;
    }
    CIMXMLUtil::streamError(os, 1, kEmpty);
    return false;
}

// Values of these types print through a text buffer and are escaped; the
// type ids stand for the type names "string" and "datetime".
inline bool isTextual(const IVelaType& type) {
    CIMTypeId id = type.getTypeId();
    return id == CIMTypeId::String || id == CIMTypeId::DateTime;
}

// The platform's own values, which print scalars directly. The exact-type
// test spares the full dynamic_cast for nearly every value.
inline const CVelaValue* asCVelaValue(const IVelaValue& value) {
    if (typeid(value) == typeid(CVelaValue)) {
        return static_cast<const CVelaValue*>(&value);
    }
    return dynamic_cast<const CVelaValue*>(&value);
}

// The VALUETYPE of a KEYVALUE for a CIM type name.
std::string_view keyValueType(const VELString& typeName) {
    std::string_view t = typeName.view();
    if (t == "string"sv || t == "datetime"sv || t == "char16"sv) {
        return "string"sv;
    }
    if (t == "boolean"sv) {
        return "boolean"sv;
    }
    return "numeric"sv;
}

const VELString& stringTypeName() {
    return CVelaType::nameOf(CIMTypeId::String);
}

// The namespace of an object's path without copying it.
const VELString& classNamespaceOf(const IVelaObject& obj) {
    const VELSmrPtr<IVelaInstanceName>& path = obj.getPath();
    if (path.isNull()) {
        return kEmpty;
    }
    const VELSmrPtr<IVelaNameSpacePath>& nsp = path->getNameSpacePath();
    return nsp.isNull() ? kEmpty : nsp->getNameSpace();
}

// A value's text form passed through the XML encoder. Numbers and booleans
// print nothing that needs escaping, so they go to the stream directly.
void putValueTextEncoded(std::ostream& os, const IVelaValue& value) {
    if (const auto* cv = asCVelaValue(value)) {
        const CVelaValue::Scalar& s = cv->scalar();
        if (const auto* text = std::get_if<VELString>(&s)) {
            putEncoded(os, text->view());
            return;
        }
        bool plainNumber = std::holds_alternative<bool>(s) ||
                           std::holds_alternative<std::int64_t>(s) ||
                           std::holds_alternative<double>(s) ||
                           (std::holds_alternative<std::uint64_t>(s) &&
                            value.getType()->getTypeId() != CIMTypeId::Char16);
        if (plainNumber) {
            value.print(os);
            return;
        }
    }
    putEncoded(os, value.toString().view());
}

// The VALUE element of one simple value that goes through a text buffer:
// written when there is text or when empty tags are forced.
void putTextValue(std::ostream& os, std::string_view text, bool escaped, bool forceEmptyValueTags) {
    if (text.empty() && !forceEmptyValueTags) {
        return;
    }
    put(os, pick(escaped, "<VALUE>"sv, "&lt;VALUE&gt;"sv));
    putEncoded(os, text);
    put(os, pick(escaped, "</VALUE>\n"sv, "&lt;/VALUE&gt;\n"sv));
}

void putDirectValue(std::ostream& os, const IVelaValue& value, bool escaped) {
    put(os, pick(escaped, "<VALUE>"sv, "&lt;VALUE&gt;"sv));
    value.print(os);
    put(os, pick(escaped, "</VALUE>\n"sv, "&lt;/VALUE&gt;\n"sv));
}

// The instance name named by the key of a reference-qualified string
// property: a reference value, or a string holding the path's text.
VELSmrPtr<IVelaInstanceName> referencedName(const IVelaValue& value) {
    if (value.getType()->isReference()) {
        return value.getReference();
    }
    return CVelaInstanceName::parse(value.getString());
}

void putFlavors(std::ostream& os, std::uint32_t flavor) {
    put(os, (flavor & tarn::QualifierFlavor::DisableOverride) ? "OVERRIDABLE=\"false\" "sv
                                                              : "OVERRIDABLE=\"true\" "sv);
    put(os, (flavor & tarn::QualifierFlavor::Restricted) ? "TOSUBCLASS=\"false\" "sv
                                                         : "TOSUBCLASS=\"true\" "sv);
    put(os, (flavor & tarn::QualifierFlavor::Translatable) ? "TRANSLATABLE=\"true\" "sv
                                                           : "TRANSLATABLE=\"false\" "sv);
}

const VELString& nameOf(const VELSmrPtr<IVelaClass>& cls) {
    return cls.isNull() ? kEmpty : cls->getName();
}

std::string_view propagated(const VELString& origin, const VELSmrPtr<IVelaClass>& cls) {
    return origin == nameOf(cls) ? "false"sv : "true"sv;
}

void putQualifiers(std::ostream& os, VELSmrPtr<tarn::Iterator<VELSmrPtr<tarn::IQualifier>>> it,
                   const VELSmrPtr<IVelaClass>& objectclass) {
    while (!it.isNull() && it->hasNext()) {
        CIMXMLUtil::streamQualifier(os, it->next(), objectclass);
    }
}

bool isVersionAtLeastTwo(const VELString& version) {
    static const tarn::VELRegExp pattern("^[0-9]+\\.[0-9]+$");
    if (!pattern.match(version)) {
        return false;
    }
    float value = 0;
    auto r = std::from_chars(version.c_str(), version.c_str() + version.length(), value);
    return r.ec == std::errc() && value >= 2.0f;
}

}  // namespace

// ---------------------------------------------------------------------------
// Status codes, message envelope, errors

void CIMXMLUtil::buildStatusCodeTranslationMap() {
    auto map = std::make_unique<StatusCodeMap>();
    StatusCodeMap& m = *map;
    for (int i = 0; i <= 14; ++i) {
        m[i] = i;
    }
    m[15] = 7;
    m[16] = 15;
    // 17 is entered twice and ends as 17; 18 has no entry and so becomes 1.
    m[17] = 16;
    m[17] = 17;
    m[1000] = 4;
    m[1001] = 1;
    for (int i = 21; i <= 28; ++i) {
        m[i] = i;
    }
    statusCodeTranslationMap = std::move(map);
}

void CIMXMLUtil::buildStatusCodeDescriptionMap() {
    auto map = std::make_unique<StatusDescriptionMap>();
    StatusDescriptionMap& m = *map;
    m[0] = "Success.";
    m[1] = "A general error occurred that is not covered by a more specific error code.";
    m[2] = "Access to a CIM resource is not available to the client.";
    m[3] = "The target namespace does not exist.";
    m[4] = "One or more parameter values passed to the method are not valid.";
    m[5] = "The specified class does not exist.";
    m[6] = "The requested object cannot be found.";
    m[7] = "The requested operation is not supported.";
    m[8] = "The operation cannot be invoked on this class because it has subclasses.";
    m[9] =
        "The operation cannot be invoked on this class because one or more instances of this "
        "class exist.";
    m[10] = "The operation cannot be invoked because the specified superclass does not exist.";
    m[11] = "The operation cannot be invoked because an object already exists.";
    m[12] = "The specified property does not exist.";
    m[13] = "The value supplied is not compatible with the type.";
    m[14] = "The query language is not recognized or supported.";
    m[15] = "The query is not valid for the specified query language.";
    m[16] = "The extrinsic method cannot be invoked.";
    m[17] = "The specified extrinsic method does not exist.";
    m[20] = "The specified Namespace is not empty.";
    m[21] =
        "The enumeration identified by the specified context cannot be found, is in a closed "
        "state, does not exist, or is otherwise invalid";
    m[22] = "The specified operation timeout is not supported by the CIM Server.";
    m[23] =
        "The Pull operation has been abandoned due to execution of a concurrent "
        "CloseEnumeration operation on the same enumeration.";
    m[24] =
        "The attempt to abandon a concurrent Pull operation on the same enumeration failed, the "
        "concurrent Pull operation proceeds normally.";
    m[25] = "Using a filter in the enumeration is not supported by the CIM Server.";
    m[26] = "The CIM Server does not support continuation on error.";
    m[27] = "The CIM Server has failed the operation based upon exceeding server limits.";
    m[28] =
        "The CIM Server is in the process of shutting down and cannot process the operatoin at "
        "this time.";
    statusCodeDescriptionMap = std::move(map);
}

int CIMXMLUtil::translateOperationHandlerStatus(int status) {
    if (statusCodeTranslationMap) {
        auto it = statusCodeTranslationMap->find(status);
        if (it != statusCodeTranslationMap->end()) {
            return it->second;
        }
    }
    AdapterUtils::log("cimxmlpa::CIMXMLUtil::translateOperationHandlerStatus",
                      ("No mapping found for status code " + VELString::valueOf(status)).view(), 1);
    return 1;
}

VELString CIMXMLUtil::getStatusCodeDescription(int cimStatus) {
    if (statusCodeDescriptionMap) {
        auto it = statusCodeDescriptionMap->find(cimStatus);
        if (it != statusCodeDescriptionMap->end()) {
            return it->second;
        }
    }
    AdapterUtils::log(
        "cimxmlpa::CIMXMLUtil::getStatusDescription",
        ("No description found for status code " + VELString::valueOf(cimStatus)).view(), 1);
    return VELString();
}

void CIMXMLUtil::streamMessageHeader(std::ostream& os, const VELString& msgId,
                                     const VELString& strCIMVersion,
                                     const VELString& strDTDVersion) {
    put(os, VELCIMStrings::XMLHEADER.view());
    put(os, "\n<CIM CIMVERSION=\""sv);
    put(os, strCIMVersion.view());
    put(os, "\" DTDVERSION=\""sv);
    put(os, strDTDVersion.view());
    put(os, "\"><MESSAGE ID=\""sv);
    put(os, msgId.view());
    put(os, "\" PROTOCOLVERSION=\"1.0\">\n"sv);
}

void CIMXMLUtil::streamMessageTrailer(std::ostream& os) {
    put(os, "</MESSAGE></CIM>\n"sv);
}

VELString CIMXMLUtil::createCIMErrorMsg(int status, VELString detail) {
    int code = translateOperationHandlerStatus(status);
    VELString description = getStatusCodeDescription(code);
    if (!detail.isNull()) {
        description += " (";
        description += detail;
        description += ")";
    }
    VELString msg = "<ERROR CODE=\"" + VELString::valueOf(code);
    msg += "\" DESCRIPTION=\"";
    msg += CIMUtil::xmlEncode(description);
    msg += "\" />";
    return msg;
}

void CIMXMLUtil::streamError(std::ostream& os, int status, const VELString& detail) {
    put(os, createCIMErrorMsg(status, detail).view());
    put(os, '\n');
}

void CIMXMLUtil::streamError(std::ostream& os, int status,
                             const VELSmrPtr<VelaBaseException>& error) {
    int code = translateOperationHandlerStatus(status);
    VELString description = getStatusCodeDescription(code);
    if (!error.isNull() && !error->getMessage().isNull()) {
        description += " (";
        description += error->getMessage();
        description += ")";
    }
    put(os, "<ERROR CODE=\""sv);
    putNumber(os, code);
    put(os, "\" DESCRIPTION=\""sv);
    putEncoded(os, description.view());
    put(os, '"');
    bool wroteInstance = false;
    if (!error.isNull() && !error->getInstances().isNull()) {
        for (const VELSmrPtr<IVelaObject>& instance : *error->getInstances()) {
            if (instance.isNull()) {
                continue;
            }
            if (!wroteInstance) {
                put(os, ">\n"sv);
                wroteInstance = true;
            }
            if (isCimErrorDescendent(*instance)) {
                _streamInstance(os, *instance, nullptr, true, nullptr, false, false);
            } else if (isCimDescendent(*instance)) {
                streamCimInstanceAsCimError(os, *instance);
            } else {
                streamUnknownInstanceAsCimError(os, *instance);
            }
        }
    }
    put(os, wroteInstance ? "</ERROR>"sv : "/>"sv);
}

void CIMXMLUtil::streamError(std::ostream& os, const VELSmrPtr<VelaBaseException>& error) {
    streamError(os, error.isNull() ? 1 : error->getCode(), error);
}

void CIMXMLUtil::streamEndOfSequence(std::ostream& os, bool endOfSequence) {
    put(os, "<PARAMVALUE NAME=\"EndOfSequence\" TYPE=\"boolean\">\n<VALUE>"sv);
    put(os, endOfSequence ? "TRUE"sv : "FALSE"sv);
    put(os, "</VALUE>\n</PARAMVALUE>\n"sv);
}

void CIMXMLUtil::streamEnumerationContext(std::ostream& os, const VELString& context) {
    put(os, "<PARAMVALUE NAME=\"EnumerationContext\" TYPE=\"string\">\n<VALUE>"sv);
    put(os, context.view());
    put(os, "</VALUE>\n</PARAMVALUE>\n"sv);
}

bool CIMXMLUtil::checkHierarchy(const IVelaObject& object, const VELString& prefix) {
    VELSmrPtr<IVelaClass> cls = getVelaClass(object);
    while (!cls.isNull()) {
        if (cls->getName().beginsWith(prefix.view())) {
            return true;
        }
        cls = cls->getSuperClass();
    }
    return false;
}

bool CIMXMLUtil::isCimDescendent(const IVelaObject& object) {
    return checkHierarchy(object, CIM_PREFIX);
}

bool CIMXMLUtil::isCimErrorDescendent(const IVelaObject& object) {
    return checkHierarchy(object, CIM_ERROR_CLASS_NAME);
}

void CIMXMLUtil::_streamCimError(std::ostream& os, std::uint16_t sourceFormat,
                                 const VELString& propertyName, const VELString& text) {
    CVelaObject error(CIM_ERROR_CLASS_NAME);
    error.addProperty(CIM_ERROR_ERROR_SOURCE_FORMAT,
                      CVelaValue::makeUnsigned(CIMTypeId::UInt16, sourceFormat));
    error.addProperty(propertyName, CVelaValue::makeString(text));
    _streamInstance(os, error, nullptr, true, nullptr, false, false);
}

void CIMXMLUtil::streamCimInstanceAsCimError(std::ostream& os, const IVelaObject& object) {
    std::ostringstream path;
    streamInstancePath(path, object.getPath(), true, false);
    _streamCimError(os, CIM_ERROR_SOURCE_OBJ_PATH, CIM_ERROR_ERROR_SOURCE,
                    CIMUtil::xmlEncode(VELString(std::move(path).str())));
}

void CIMXMLUtil::streamUnknownInstanceAsCimError(std::ostream& os, const IVelaObject& object) {
    std::ostringstream text;
    _streamInstance(text, object, nullptr, true, nullptr, false, false);
    _streamCimError(os, CIM_ERROR_SOURCE_OTHER, CIM_ERROR_SOURCE_FORMAT_OTHER,
                    CIMUtil::xmlEncode(VELString(std::move(text).str())));
}

bool CIMXMLUtil::validateDTDVersion(const VELString& version) {
    return isVersionAtLeastTwo(version);
}

bool CIMXMLUtil::validateCIMVersion(const VELString& version) {
    return isVersionAtLeastTwo(version);
}

// ---------------------------------------------------------------------------
// Names and paths

std::ostream& CIMXMLUtil::insertHTMLOpenTag(std::ostream& s, std::string_view tag,
                                            bool inEmbeddedObjectStyle, std::string_view name,
                                            std::string_view nameValue, std::string_view name2,
                                            std::string_view nameValue2) {
    const bool esc = inEmbeddedObjectStyle;
    put(s, pick(esc, "<"sv, XML_LT.view()));
    put(s, tag);
    if (!name.empty()) {
        put(s, ' ');
        put(s, name);
        put(s, pick(esc, "=\""sv, "=&quot;"sv));
        put(s, nameValue);
        put(s, pick(esc, "\""sv, XML_QUOTE.view()));
    }
    if (!name2.empty()) {
        put(s, ' ');
        put(s, name2);
        put(s, pick(esc, "=\""sv, "=&quot;"sv));
        put(s, nameValue2);
        put(s, pick(esc, "\""sv, XML_QUOTE.view()));
    }
    put(s, pick(esc, ">"sv, XML_GT.view()));
    return s;
}

std::ostream& CIMXMLUtil::insertHTMLCloseTag(std::ostream& s, std::string_view tag,
                                             bool inEmbeddedObjectStyle) {
    put(s, pick(inEmbeddedObjectStyle, "</"sv, "&lt;/"sv));
    put(s, tag);
    put(s, pick(inEmbeddedObjectStyle, ">"sv, XML_GT.view()));
    return s;
}

bool CIMXMLUtil::initializeAdvertisedHostName(const VELString& host) {
    if (!advertisedHostName.isNull()) {
        return false;
    }
    advertisedHostName = host;
    return true;
}

void CIMXMLUtil::streamNameSpacePath(std::ostream& os,
                                     const VELSmrPtr<IVelaNameSpacePath>& nameSpacePath,
                                     bool continueOnException, bool inEmbeddedObjectStyle) {
    const bool esc = inEmbeddedObjectStyle;
    put(os, pick(esc, "<NAMESPACEPATH>\n<HOST>"sv, "&lt;NAMESPACEPATH&gt;\n&lt;HOST&gt;"sv));
    const VELString* host = nullptr;
    if (guarded(os, continueOnException, [&] { host = &nameSpacePath->getHost(); })) {
        putEncoded(os, (host->isNull() ? advertisedHostName : *host).view());
    }
    put(os, pick(esc, "</HOST>\n<LOCALNAMESPACEPATH>\n"sv,
                 "&lt;/HOST&gt;\n&lt;LOCALNAMESPACEPATH&gt;\n"sv));
    std::size_t count = 0;
    guarded(os, continueOnException, [&] { count = nameSpacePath->getNameSpaceComponentCount(); });
    for (std::size_t i = 0; i < count; ++i) {
        const VELString* component = nullptr;
        if (!guarded(os, continueOnException,
                     [&] { component = &nameSpacePath->getNameSpaceComponent(i); })) {
            continue;
        }
        put(os, pick(esc, "<NAMESPACE NAME=\""sv, "&lt;NAMESPACE NAME=&quot;"sv));
        putEncoded(os, component->view());
        put(os, pick(esc, "\"/>\n"sv, "&quot;/&gt;\n"sv));
    }
    put(os, pick(esc, "</LOCALNAMESPACEPATH>\n</NAMESPACEPATH>\n"sv,
                 "&lt;/LOCALNAMESPACEPATH&gt;\n&lt;/NAMESPACEPATH&gt;\n"sv));
}

void CIMXMLUtil::streamClassPath(std::ostream& os, const VELSmrPtr<IVelaInstanceName>& instanceName,
                                 bool continueOnException) {
    const VELSmrPtr<IVelaNameSpacePath>& nameSpacePath = instanceName->getNameSpacePath();
    if (nameSpacePath.isNull()) {
        throw AdapterException("InvalidData", "CIMXMLUtil", "StreamClassPath",
                               "NameSpacePath missing", 1);
    }
    put(os, "<CLASSPATH>\n"sv);
    streamNameSpacePath(os, nameSpacePath, continueOnException, false);
    put(os, "<CLASSNAME NAME=\""sv);
    put(os, instanceName->getClassName().view());
    put(os, "\" />\n</CLASSPATH>\n"sv);
}

void CIMXMLUtil::streamInstancePath(std::ostream& os,
                                    const VELSmrPtr<IVelaInstanceName>& instanceName,
                                    bool continueOnException, bool inEmbeddedObjectStyle) {
    const VELSmrPtr<IVelaNameSpacePath>& nameSpacePath = instanceName->getNameSpacePath();
    if (nameSpacePath.isNull()) {
        throw AdapterException("InvalidData", "CIMXMLUtil", "StreamInstancePath",
                               "NameSpacePath missing", 1);
    }
    put(os, pick(inEmbeddedObjectStyle, "<INSTANCEPATH>\n"sv, "&lt;INSTANCEPATH&gt;\n"sv));
    streamNameSpacePath(os, nameSpacePath, continueOnException, inEmbeddedObjectStyle);
    streamInstanceName(os, instanceName, continueOnException, inEmbeddedObjectStyle);
    put(os, pick(inEmbeddedObjectStyle, "</INSTANCEPATH>\n"sv, "&lt;/INSTANCEPATH&gt;\n"sv));
}

void CIMXMLUtil::streamObjectPath(std::ostream& os,
                                  const VELSmrPtr<IVelaInstanceName>& instanceName,
                                  bool continueOnException) {
    put(os, "<OBJECTPATH>\n"sv);
    if (instanceName->isClassName()) {
        streamClassPath(os, instanceName, continueOnException);
    } else {
        streamInstancePath(os, instanceName, continueOnException, false);
    }
    put(os, "</OBJECTPATH>\n"sv);
}

void CIMXMLUtil::streamInstanceName(std::ostream& os,
                                    const VELSmrPtr<IVelaInstanceName>& instanceName,
                                    bool continueOnException, bool inEmbeddedObjectStyle) {
    const bool esc = inEmbeddedObjectStyle;
    put(os, pick(esc, "<INSTANCENAME CLASSNAME=\""sv, "&lt;INSTANCENAME CLASSNAME=&quot;"sv));
    const VELString* className = nullptr;
    std::size_t count = 0;
    guarded(os, continueOnException, [&] {
        className = &instanceName->getClassName();
        count = instanceName->getKeyBindingCount();
    });
    if (className != nullptr) {
        put(os, className->view());
    }
    put(os, pick(esc, "\">\n"sv, "&quot;&gt;\n"sv));
    for (std::size_t i = 0; i < count; ++i) {
        _streamKeyBinding(os, *instanceName, i, continueOnException, esc);
    }
    put(os, pick(esc, "</INSTANCENAME>\n"sv, "&lt;/INSTANCENAME&gt;\n"sv));
}

void CIMXMLUtil::_streamKeyBinding(std::ostream& os, const IVelaInstanceName& instanceName,
                                   std::size_t index, bool continueOnException,
                                   bool inEmbeddedObjectStyle) {
    const bool esc = inEmbeddedObjectStyle;
    VELSmrPtr<IVelaKeyBinding> binding;
    const IVelaValue* value = nullptr;
    const IVelaType* type = nullptr;
    bool referenceQualified = false;
    VELSmrPtr<IVelaInstanceName> target;
    std::string qualifiedPath;
    bool ok = guarded(os, continueOnException, [&] {
        binding = instanceName.getKeyBinding(index);
        const VELSmrPtr<IVelaValue>& v = binding->getValue();
        if (v.isNull()) {
            return;
        }
        type = &*v->getType();
        const VELSmrPtr<IVelaNameSpacePath>& nsp = instanceName.getNameSpacePath();
        referenceQualified = !nsp.isNull() && CIMUtil::isReferenceQualified(
                                                  nsp->getNameSpace(), instanceName.getClassName(),
                                                  binding->getPropertyName());
        if (referenceQualified) {
            // Rendered here, so that a bad path is reported in place of the key.
            std::ostringstream path;
            streamInstancePath(path, referencedName(*v), continueOnException, esc);
            qualifiedPath = std::move(path).str();
        } else if (type->isReference()) {
            target = v->getReference();
            if (target.isNull()) {
                throw VelaBaseException(
                    "InvalidData", "CIMXMLUtil", "streamInstanceName",
                    "reference key '" + binding->getPropertyName() + "' names no instance", 1);
            }
        }
        value = v.get();
    });
    if (!ok || value == nullptr) {
        return;
    }
    put(os, pick(esc, "<KEYBINDING NAME=\""sv, "&lt;KEYBINDING NAME=&quot;"sv));
    put(os, binding->getPropertyName().view());
    if (referenceQualified) {
        constexpr std::string_view open = "\"><KEYVALUE VALUETYPE=\"string\">";
        constexpr std::string_view close = "</KEYVALUE>";
        if (esc) {
            putEncoded(os, open);
        } else {
            put(os, open);
        }
        putEncoded(os, qualifiedPath);
        if (esc) {
            putEncoded(os, close);
        } else {
            put(os, close);
        }
    } else {
        put(os, pick(esc, "\">"sv, "&quot;&gt;"sv));
        if (!type->isReference()) {
            const VELString& typeName = type->getName();
            put(os, pick(esc, "<KEYVALUE VALUETYPE=\""sv, "&lt;KEYVALUE VALUETYPE=&quot;"sv));
            put(os, keyValueType(typeName));
            put(os, pick(esc, "\" TYPE=\""sv, "&quot; TYPE=&quot;"sv));
            put(os, typeName.view());
            put(os, pick(esc, "\">"sv, "&quot;&gt;"sv));
            putValueTextEncoded(os, *value);
            put(os, pick(esc, "</KEYVALUE>"sv, "&lt;/KEYVALUE&gt;"sv));
        } else {
            put(os, pick(esc, "<VALUE.REFERENCE>"sv, "&lt;VALUE.REFERENCE&gt;"sv));
            streamInstancePath(os, target, continueOnException, esc);
            put(os, pick(esc, "</VALUE.REFERENCE>"sv, "&lt;/VALUE.REFERENCE&gt;"sv));
        }
    }
    put(os, pick(esc, "</KEYBINDING>\n"sv, "&lt;/KEYBINDING&gt;\n"sv));
}

VELSmrPtr<IVelaClass> CIMXMLUtil::getVelaClass(const IVelaObject& obj) {
    static constexpr std::string_view source = "cimxmlpa::CIMXMLUtil::getVelaClass";
    VELString nameSpace;
    VELString className;
    try {
        nameSpace = classNamespaceOf(obj);
        className = obj.getClassName();
        const tarn::ISchemaCatalog* catalog = tarn::ISchemaCatalog::installed();
        return catalog ? catalog->getClass(nameSpace, className) : VELSmrPtr<IVelaClass>();
    } catch (const VelaBaseException& e) {
        AdapterUtils::log(
            source,
            (e.toString() + ", classNamespace=" + nameSpace + ", className=" + className).view(),
            1);
    } catch (...) {
        AdapterUtils::log(
            source,
            ("Unknown exception. classNamespace=" + nameSpace + ", className=" + className).view(),
            1);
    }
    return nullptr;
}

// ---------------------------------------------------------------------------
// Values, properties and instances

void CIMXMLUtil::streamValue(std::ostream& os, const VELSmrPtr<IVelaValue>& valuePtr,
                             bool continueOnException, bool inEmbeddedObjectStyle,
                             bool forceEmptyValueTags, bool addValueRefElemet) {
    if (valuePtr.isNull()) {
        return;
    }
    const bool esc = inEmbeddedObjectStyle;
    const IVelaValue& value = *valuePtr;
    const VELSmrPtr<IVelaType>& typePtr = value.getType();
    const IVelaType& type = *typePtr;
    const auto* cv = asCVelaValue(value);

    if (type.isArray()) {
        std::shared_ptr<const CVelaValue::ScalarArray> elements;
        VELSmrPtr<IVelaValue::ValueList> list;
        if (cv != nullptr) {
            elements = cv->elements();
        } else {
            list = value.getArray();
        }
        if (elements == nullptr && list.isNull()) {
            put(os, pick(esc, "<"sv, "&lt;"sv));
            put(os, type.isReference() ? "VALUE.REFARRAY/"sv : "VALUE.ARRAY/"sv);
            put(os, pick(esc, ">\n"sv, "&gt;\n"sv));
            return;
        }
        if (elements != nullptr) {
            VELSmrPtr<IVelaType> elementType = type.getElementType();
            if (!elementType->isSimple()) {
                streamArray(os, value.getArray(), typePtr, continueOnException, esc,
                            forceEmptyValueTags);
                return;
            }
            // Simple elements straight from the compact store, written as
            // their element values would write themselves.
            const CIMTypeId id = elementType->getTypeId();
            const bool textual = isTextual(*elementType);
            put(os, pick(esc, "<VALUE.ARRAY>\n"sv, "&lt;VALUE.ARRAY&gt;\n"sv));
            for (const CVelaValue::Scalar& e : *elements) {
                if (std::holds_alternative<std::monostate>(e)) {
                    continue;
                }
                if (!textual) {
                    put(os, pick(esc, "<VALUE>"sv, "&lt;VALUE&gt;"sv));
                    CVelaValue::printScalar(os, id, e);
                    put(os, pick(esc, "</VALUE>\n"sv, "&lt;/VALUE&gt;\n"sv));
                } else if (const auto* text = std::get_if<VELString>(&e)) {
                    putTextValue(os, text->view(), esc, forceEmptyValueTags);
                } else {
                    std::ostringstream buf;
                    CVelaValue::printScalar(buf, id, e);
                    putTextValue(os, buf.view(), esc, forceEmptyValueTags);
                }
            }
            put(os, pick(esc, "</VALUE.ARRAY>\n"sv, "&lt;/VALUE.ARRAY&gt;\n"sv));
            return;
        }
        streamArray(os, list, typePtr, continueOnException, esc, forceEmptyValueTags);
        return;
    }

    if (type.isReference()) {
        if (!value.isSet()) {
            return;
        }
        VELSmrPtr<IVelaInstanceName> ref = value.getReference();
        if (ref.isNull() || ref->getClassName().isNull() || ref->getKeyBindingCount() == 0) {
            return;
        }
        if (esc && !addValueRefElemet) {
            streamInstancePath(os, ref, continueOnException, esc);
            return;
        }
        put(os, pick(esc, "<VALUE.REFERENCE>"sv, "&lt;VALUE.REFERENCE&gt;"sv));
        streamInstancePath(os, ref, continueOnException, esc);
        put(os, pick(esc, "</VALUE.REFERENCE>\n"sv, "&lt;/VALUE.REFERENCE&gt;\n"sv));
        return;
    }

    if (type.isSimple()) {
        if (!value.isSet()) {
            return;
        }
        const bool textual = isTextual(type);
        if (cv != nullptr && !textual) {
            putDirectValue(os, value, esc);
            return;
        }
        if (cv != nullptr) {
            if (const auto* text = std::get_if<VELString>(&cv->scalar())) {
                putTextValue(os, text->view(), esc, forceEmptyValueTags);
                return;
            }
        }
        std::ostringstream buf;
        value.print(buf);
        putTextValue(os, buf.view(), esc, forceEmptyValueTags);
        return;
    }

    if (type.isEmbeddedObject()) {
        if (!value.isSet()) {
            return;
        }
        VELSmrPtr<IVelaObject> object = value.getObject();
        if (object.isNull() || object->getClassName().isNull()) {
            return;
        }
        // The instance is escaped once, whatever the style around it.
        put(os, pick(esc, "\n<VALUE>"sv, "\n&lt;VALUE&gt;"sv));
        _streamInstance(os, *object, nullptr, true, nullptr, false, true);
        put(os, pick(esc, "</VALUE>\n"sv, "&lt;/VALUE&gt;\n"sv));
    }
    // void, and any other kind of value, writes nothing.
}

void CIMXMLUtil::streamArray(std::ostream& os, const VELSmrPtr<IVelaValue::ValueList>& array,
                             const VELSmrPtr<IVelaType>& type, bool continueOnException,
                             bool inEmbeddedObjectStyle, bool forceEmptyValueTags) {
    std::string_view tag = type->isReference() ? "VALUE.REFARRAY"sv : "VALUE.ARRAY"sv;
    insertHTMLOpenTag(os, tag, inEmbeddedObjectStyle);
    put(os, '\n');
    if (!array.isNull()) {
        for (const VELSmrPtr<IVelaValue>& element : *array) {
            guarded(os, continueOnException, [&] {
                streamValue(os, element, continueOnException, inEmbeddedObjectStyle,
                            forceEmptyValueTags, false);
            });
        }
    }
    insertHTMLCloseTag(os, tag, inEmbeddedObjectStyle);
    put(os, '\n');
}

void CIMXMLUtil::streamPropertyOrigin(std::ostream& os, const VELString& propertyName,
                                      const ClassOriginDictionary* classOriginDictionary,
                                      bool inEmbeddedObjectStyle) {
    if (classOriginDictionary == nullptr) {
        return;
    }
    const bool esc = inEmbeddedObjectStyle;
    const VELString& origin = classOriginDictionary->getPropertyOrigin(propertyName);
    put(os, pick(esc, " CLASSORIGIN=\""sv, " CLASSORIGIN=&quot;"sv));
    put(os, origin.view());
    put(os, pick(esc, "\""sv, "&quot;"sv));
    if (classOriginDictionary->getClass()->getName() != origin) {
        put(os, pick(esc, " PROPAGATED=\"true\""sv, " PROPAGATED=&quot;true&quot;"sv));
    }
}

void CIMXMLUtil::streamProperty(std::ostream& os, const IVelaObject& object,
                                const VELSmrPtr<IVelaProperty>& property, bool continueOnException,
                                const ClassOriginDictionary* classOriginDictionary,
                                const VELSmrPtr<IVelaClass>& /*objectClass*/,
                                bool inEmbeddedObjectStyle) {
    const VELSmrPtr<IVelaValue>& value = property->getValue();
    if (value.isNull()) {
        return;
    }
    const bool esc = inEmbeddedObjectStyle;
    const IVelaType& type = *property->getType();
    const VELString& name = property->getName();
    const bool embedded = type.isEmbeddedObject();

    if (type.isArray()) {
        put(os, pick(esc, "<PROPERTY.ARRAY NAME=\""sv, "&lt;PROPERTY.ARRAY &#32;NAME=&quot;"sv));
        put(os, name.view());
        put(os, pick(esc, "\" TYPE=\""sv, "&quot;&#32; TYPE=&quot;"sv));
        put(os, (embedded ? stringTypeName() : type.getName()).view());
        put(os, pick(esc, "\""sv, "&quot;"sv));
        streamPropertyOrigin(os, name, classOriginDictionary, esc);
        if (embedded) {
            put(os, pick(esc, " EmbeddedObject=\"instance\""sv,
                         "&#32; EmbeddedObject=&quot;instance&quot;"sv));
        }
        put(os, pick(esc, ">"sv, "&gt;"sv));
        streamValue(os, value, continueOnException, esc, false, false);
        put(os, pick(esc, "</PROPERTY.ARRAY>\n"sv, "&lt;/PROPERTY.ARRAY&gt;\n"sv));
        return;
    }

    // A reference-qualified key holds path text or a reference; values of any
    // other type spare the class lookup.
    const CIMTypeId typeId = type.getTypeId();
    const bool referenceQualified =
        (typeId == CIMTypeId::String || typeId == CIMTypeId::Reference) &&
        CIMUtil::isReferenceQualified(classNamespaceOf(object), object.getClassName(), name);

    if (type.isReference() && !referenceQualified) {
        put(os, pick(esc, "<PROPERTY.REFERENCE NAME=\""sv,
                     "&lt;PROPERTY.REFERENCE &#32;NAME=&quot;"sv));
        put(os, name.view());
        put(os, pick(esc, "\""sv, "&quot;"sv));
        // Only the two references of indication subscriptions name their class.
        std::string_view referenceClass;
        if (name.view() == "Handler"sv) {
            referenceClass = "CIM_ListenerDestination"sv;
        } else if (name.view() == "Filter"sv) {
            referenceClass = "CIM_IndicationFilter"sv;
        }
        if (!referenceClass.empty()) {
            put(os, pick(esc, " REFERENCECLASS=\""sv, " REFERENCECLASS=&quot;"sv));
            put(os, referenceClass);
            put(os, pick(esc, "\" "sv, "&quot;"sv));
        }
        streamPropertyOrigin(os, name, classOriginDictionary, esc);
        put(os, pick(esc, ">"sv, "&gt;"sv));
        streamValue(os, value, continueOnException, esc, false, true);
        put(os, pick(esc, "</PROPERTY.REFERENCE>\n"sv, "&lt;/PROPERTY.REFERENCE&gt;\n"sv));
        return;
    }

    put(os, pick(esc, "<PROPERTY NAME=\""sv, "&lt;PROPERTY NAME=&quot;"sv));
    put(os, name.view());
    put(os, pick(esc, "\" TYPE=\""sv, "&quot;&#32; TYPE=&quot;"sv));
    put(os, (embedded || referenceQualified ? stringTypeName() : type.getName()).view());
    put(os, pick(esc, "\""sv, "&quot;"sv));
    streamPropertyOrigin(os, name, classOriginDictionary, esc);
    if (embedded) {
        put(os,
            pick(esc, " EmbeddedObject=\"instance\""sv, " EmbeddedObject=&quot;instance&quot;"sv));
    }
    put(os, pick(esc, ">"sv, "&gt;"sv));
    // A reference-qualified key travels as escaped path text in one VALUE.
    const bool extraValue = !esc && referenceQualified && !embedded;
    if (extraValue) {
        put(os, "<VALUE>"sv);
    }
    streamValue(os, value, continueOnException, referenceQualified || esc, false, false);
    if (extraValue) {
        put(os, "</VALUE>"sv);
    }
    put(os, pick(esc, "</PROPERTY>\n"sv, "&lt;/PROPERTY&gt;\n"sv));
}

void CIMXMLUtil::streamPropertyByIndexOrName(std::ostream& os, const IVelaObject& object,
                                             const VELString& propertyName, std::size_t index,
                                             bool continueOnException,
                                             const ClassOriginDictionary* classOriginDictionary,
                                             const VELSmrPtr<IVelaClass>& objectClass,
                                             bool inEmbeddedObjectStyle) {
    const VELString* shownName = &propertyName;
    bool ok = tryRead(continueOnException, [&] {
        if (index == BY_NAME) {
            if (propertyName.isNull()) {
                return;
            }
            VELSmrPtr<IVelaProperty> property = object.getProperty(propertyName);
            if (property.isNull() || property->getName() != propertyName) {
                if (AdapterUtils::isLogged(4)) {
                    AdapterUtils::log("cimxmlpa::CIMXMLUtil::streamPropertyByIndexOrName",
                                      ("Unable to find property with name=" + propertyName).view(),
                                      4);
                }
                return;
            }
            streamProperty(os, object, property, continueOnException, classOriginDictionary,
                           objectClass, inEmbeddedObjectStyle);
        } else {
            const VELSmrPtr<IVelaProperty>& property = object.getProperty(index);
            shownName = &property->getName();
            streamProperty(os, object, property, continueOnException, classOriginDictionary,
                           objectClass, inEmbeddedObjectStyle);
        }
    });
    if (!ok) {
        insertHTMLOpenTag(os, "PROPERTY"sv, inEmbeddedObjectStyle, "NAME"sv,
                          shownName->isNull() ? "unknown"sv : shownName->view(), "TYPE"sv,
                          createCIMErrorMsg(1, kEmpty).view());
        put(os, '\n');
        insertHTMLCloseTag(os, "PROPERTY"sv, inEmbeddedObjectStyle);
        put(os, '\n');
    }
}

void CIMXMLUtil::_streamInstance(std::ostream& os, const IVelaObject& object,
                                 const PropertyList* propertyList, bool continueOnException,
                                 const VELSmrPtr<IVelaClass>& objectClass, bool includeClassOrigin,
                                 bool inEmbeddedObjectStyle) {
    std::optional<ClassOriginDictionary> origins;
    if (includeClassOrigin && !objectClass.isNull()) {
        origins.emplace(objectClass);
    }
    const ClassOriginDictionary* dictionary = origins ? &*origins : nullptr;
    const VELString* className = &kEmpty;
    guarded(os, continueOnException, [&] { className = &object.getClassName(); });
    insertHTMLOpenTag(os, "INSTANCE"sv, inEmbeddedObjectStyle, "CLASSNAME"sv, className->view());
    put(os, '\n');
    if (propertyList == nullptr) {
        const std::size_t count = object.getPropertyCount();
        for (std::size_t i = 0; i < count; ++i) {
            streamPropertyByIndexOrName(os, object, kEmpty, i, continueOnException, dictionary,
                                        objectClass, inEmbeddedObjectStyle);
        }
    } else {
        for (const VELString& name : *propertyList) {
            streamPropertyByIndexOrName(os, object, name, BY_NAME, continueOnException, dictionary,
                                        objectClass, inEmbeddedObjectStyle);
        }
    }
    put(os, pick(inEmbeddedObjectStyle, "</INSTANCE>\n"sv, "&lt;/INSTANCE&gt;\n"sv));
}

void CIMXMLUtil::streamInstance(std::ostream& os, const VELSmrPtr<IVelaObject>& object,
                                const VELSmrPtr<PropertyList>& propertyList,
                                bool continueOnException, const VELSmrPtr<IVelaClass>& objectClass,
                                bool includeClassOrigin, bool inEmbeddedObjectStyle) {
    _streamInstance(os, *object, propertyList.get(), continueOnException, objectClass,
                    includeClassOrigin, inEmbeddedObjectStyle);
}

void CIMXMLUtil::streamValueNamedInstance(std::ostream& os, const VELSmrPtr<IVelaObject>& object,
                                          const VELSmrPtr<PropertyList>& propertyList,
                                          bool continueOnException,
                                          const VELSmrPtr<IVelaClass>& objectClass,
                                          bool includeClassOrigin) {
    put(os, "<VALUE.NAMEDINSTANCE>\n"sv);
    streamInstanceName(os, object->getPath(), true, false);
    _streamInstance(os, *object, propertyList.get(), continueOnException, objectClass,
                    includeClassOrigin, false);
    put(os, "</VALUE.NAMEDINSTANCE>\n"sv);
}

void CIMXMLUtil::streamInstanceWithPath(std::ostream& os, const VELSmrPtr<IVelaObject>& object,
                                        const VELSmrPtr<PropertyList>& propertyList,
                                        bool continueOnException,
                                        const VELSmrPtr<IVelaClass>& objectClass,
                                        bool includeClassOrigin) {
    put(os, "<VALUE.INSTANCEWITHPATH>\n"sv);
    streamInstancePath(os, object->getPath(), true, false);
    _streamInstance(os, *object, propertyList.get(), continueOnException, objectClass,
                    includeClassOrigin, false);
    put(os, "</VALUE.INSTANCEWITHPATH>\n"sv);
}

void CIMXMLUtil::streamValueObjectWithPath(std::ostream& os, const VELSmrPtr<IVelaObject>& object,
                                           const VELSmrPtr<PropertyList>& propertyList,
                                           bool continueOnException,
                                           const VELSmrPtr<IVelaClass>& objectClass,
                                           bool includeClassOrigin) {
    put(os, "<VALUE.OBJECTWITHPATH>\n"sv);
    streamInstancePath(os, object->getPath(), continueOnException, false);
    _streamInstance(os, *object, propertyList.get(), continueOnException, objectClass,
                    includeClassOrigin, false);
    put(os, "</VALUE.OBJECTWITHPATH>\n"sv);
}

void CIMXMLUtil::streamObject(std::ostream& os, const VELSmrPtr<IVelaObject>& obj,
                              const VELSmrPtr<PropertyList>& /*propertyList*/,
                              bool continueOnException, const VELSmrPtr<IVelaClass>& objectClass,
                              bool includeClassOrigin, bool inEmbeddedObjectStyle) {
    const VELSmrPtr<IVelaInstanceName>& path = obj->getPath();
    const bool isClass = path.isNull() || path->isClassName();
    bool withPath = false;
    if (!isClass) {
        const VELSmrPtr<IVelaNameSpacePath>& nameSpacePath = path->getNameSpacePath();
        withPath = !nameSpacePath.isNull() && !nameSpacePath->getNameSpace().isNull();
    }
    // "VALUE.OBECT" is the element name clients of this adapter expect.
    const std::string_view tag = withPath ? "VALUE.OBJECTWITHPATH"sv : "VALUE.OBECT"sv;
    insertHTMLOpenTag(os, tag, inEmbeddedObjectStyle);
    put(os, '\n');
    if (!isClass) {
        if (withPath) {
            streamInstancePath(os, path, continueOnException, inEmbeddedObjectStyle);
        }
        _streamInstance(os, *obj, nullptr, continueOnException, objectClass, includeClassOrigin,
                        inEmbeddedObjectStyle);
    }
    insertHTMLCloseTag(os, tag, inEmbeddedObjectStyle);
    put(os, '\n');
}

// ---------------------------------------------------------------------------
// Class schema

void CIMXMLUtil::streamQualifierDef(std::ostream& os, const VELSmrPtr<tarn::IQualifierDef>& def) {
    if (def.isNull()) {
        return;
    }
    const IVelaType& type = *def->getType();
    put(os, "<QUALIFIER.DECLARATION NAME=\""sv);
    put(os, def->getName().view());
    put(os, "\" TYPE=\""sv);
    put(os, type.getName().view());
    put(os, "\" "sv);
    putFlavors(os, def->getFlavor());
    const VELSmrPtr<IVelaValue>& defaultValue = def->getDefaultValue();
    const bool hasDefault = !defaultValue.isNull() && defaultValue->isSet();
    // A declaration with a default leaves ISARRAY out; clients take it from the value.
    if (!hasDefault) {
        put(os, type.isArray() ? "ISARRAY=\"true\" "sv : "ISARRAY=\"false\" "sv);
    }
    put(os, ">\n<SCOPE "sv);
    static constexpr std::pair<std::uint32_t, std::string_view> scopes[] = {
        {tarn::QualifierScope::Class, "CLASS"sv},
        {tarn::QualifierScope::Association, "ASSOCIATION"sv},
        {tarn::QualifierScope::Indication, "INDICATION"sv},
        {tarn::QualifierScope::Property, "PROPERTY"sv},
        {tarn::QualifierScope::Reference, "REFERENCE"sv},
        {tarn::QualifierScope::Method, "METHOD"sv},
        {tarn::QualifierScope::Parameter, "PARAMETER"sv},
    };
    const std::uint32_t scope = def->getScope();
    for (const auto& [bit, name] : scopes) {
        put(os, name);
        put(os, (scope & bit) ? "=\"true\" "sv : "=\"false\" "sv);
    }
    put(os, "></SCOPE>\n"sv);
    if (hasDefault) {
        streamValue(os, defaultValue, true, false, false, false);
    }
    put(os, "</QUALIFIER.DECLARATION>\n"sv);
}

void CIMXMLUtil::streamQualifier(std::ostream& os, const VELSmrPtr<tarn::IQualifier>& qualifier,
                                 const VELSmrPtr<IVelaClass>& objectclass) {
    if (qualifier.isNull()) {
        return;
    }
    put(os, "<QUALIFIER NAME=\""sv);
    put(os, qualifier->getName().view());
    put(os, "\" TYPE=\""sv);
    put(os, qualifier->getType()->getName().view());
    put(os, "\" PROPAGATED=\""sv);
    put(os, propagated(qualifier->getDefiningClassName(), objectclass));
    put(os, "\" "sv);
    putFlavors(os, qualifier->getFlavor());
    put(os, ">\n"sv);
    streamValue(os, qualifier->getValue(), true, false, false, false);
    put(os, "</QUALIFIER>\n"sv);
}

void CIMXMLUtil::streamPropertyDef(std::ostream& os, const VELSmrPtr<tarn::IPropertyDef>& prop,
                                   const VELSmrPtr<IVelaClass>& objectclass, bool includeQualifiers,
                                   bool localOnly, bool includeClassOrigin) {
    const IVelaType& type = *prop->getType();
    const std::string_view suffix = type.isArray()       ? ".ARRAY"sv
                                    : type.isReference() ? ".REFERENCE"sv
                                                         : ""sv;
    put(os, "<PROPERTY"sv);
    put(os, suffix);
    put(os, " NAME=\""sv);
    put(os, prop->getName().view());
    put(os, "\" "sv);
    if (type.isReference()) {
        put(os, " REFERENCECLASS=\""sv);
        put(os, type.getReferenceClassName().view());
        put(os, "\" "sv);
    } else if (type.isEmbeddedObject()) {
        put(os, " TYPE=\"string\" EmbeddedObject=\"instance\" "sv);
    } else {
        put(os, " TYPE=\""sv);
        put(os, type.getName().view());
        put(os, "\" "sv);
    }
    const VELString& origin = prop->getOriginClassName();
    put(os, "PROPAGATED=\""sv);
    put(os, propagated(origin, objectclass));
    put(os, "\" "sv);
    if (includeClassOrigin) {
        put(os, "CLASSORIGIN=\""sv);
        put(os, origin.view());
        put(os, '"');
    }
    put(os, ">\n"sv);
    if (includeQualifiers) {
        putQualifiers(os, prop->getQualifiers(!localOnly), objectclass);
    }
    if (type.isReference()) {
        put(os, "<VALUE.REFERENCE>\n<CLASSNAME NAME=\""sv);
        put(os, type.getReferenceClassName().view());
        put(os, "\"/>\n</VALUE.REFERENCE>\n"sv);
    }
    put(os, "</PROPERTY"sv);
    put(os, suffix);
    put(os, ">\n"sv);
}

void CIMXMLUtil::streamParameterDef(std::ostream& os,
                                    const VELSmrPtr<tarn::IParameterDef>& parameter,
                                    const VELSmrPtr<IVelaClass>& objectclass,
                                    bool includeQualifiers, bool localOnly) {
    const IVelaType& type = *parameter->getType();
    const std::string_view suffix = type.isArray() && type.isReference() ? ".REFARRAY"sv
                                    : type.isArray()                     ? ".ARRAY"sv
                                    : type.isReference()                 ? ".REFERENCE"sv
                                                                         : ""sv;
    put(os, "<PARAMETER"sv);
    put(os, suffix);
    put(os, " NAME=\""sv);
    put(os, parameter->getName().view());
    put(os, "\" "sv);
    if (type.isReference()) {
        put(os, " REFERENCECLASS=\""sv);
        put(os, type.getReferenceClassName().view());
        put(os, "\" "sv);
    } else if (type.isEmbeddedObject()) {
        put(os, " TYPE=\"string\" EmbeddedObject=\"instance\" "sv);
    } else {
        put(os, " TYPE=\""sv);
        put(os, type.getName().view());
        put(os, "\" "sv);
    }
    put(os, ">\n"sv);
    if (includeQualifiers) {
        putQualifiers(os, parameter->getQualifiers(!localOnly), objectclass);
    }
    put(os, "</PARAMETER"sv);
    put(os, suffix);
    put(os, ">\n"sv);
}

void CIMXMLUtil::streamMethod(std::ostream& os, const VELSmrPtr<tarn::IMethodDef>& method,
                              const VELSmrPtr<IVelaClass>& objectclass, bool includeQualifiers,
                              bool localOnly, bool includeClassOrigin) {
    const IVelaType& returnType = *method->getReturnType();
    put(os, "<METHOD NAME=\""sv);
    put(os, method->getName().view());
    put(os, "\" "sv);
    if (returnType.isEmbeddedObject()) {
        put(os, "TYPE=\"string\" EmbeddedObject=\"instance\" "sv);
    } else {
        put(os, "TYPE=\""sv);
        put(os, returnType.getName().view());
        put(os, "\" "sv);
    }
    const VELString& origin = method->getOriginClassName();
    put(os, "PROPAGATED=\""sv);
    put(os, propagated(origin, objectclass));
    put(os, "\" "sv);
    if (includeClassOrigin) {
        put(os, "CLASSORIGIN=\""sv);
        put(os, origin.view());
        put(os, '"');
    }
    put(os, ">\n"sv);
    if (includeQualifiers) {
        putQualifiers(os, method->getQualifiers(!localOnly), objectclass);
    }
    auto parameters = method->getParameters();
    while (!parameters.isNull() && parameters->hasNext()) {
        streamParameterDef(os, parameters->next(), objectclass, includeQualifiers, localOnly);
    }
    put(os, "</METHOD>\n"sv);
}

void CIMXMLUtil::streamClass(std::ostream& os, const VELSmrPtr<IVelaClass>& objectclass,
                             const VELSmrPtr<PropertyList>& propertyList, bool includeQualifiers,
                             bool includeClassOrigin, bool localOnly) {
    // Classes select properties without regard to case (instances do not).
    std::optional<std::unordered_set<VELString>> selected;
    if (!propertyList.isNull()) {
        selected.emplace(150);
        for (const VELString& name : *propertyList) {
            selected->insert(name.toLower());
        }
    }
    put(os, "<CLASS NAME=\""sv);
    put(os, objectclass->getName().view());
    put(os, '"');
    VELSmrPtr<IVelaClass> superClass = objectclass->getSuperClass();
    if (!superClass.isNull()) {
        put(os, " SUPERCLASS=\""sv);
        put(os, superClass->getName().view());
        put(os, '"');
    }
    put(os, ">\n"sv);
    if (includeQualifiers) {
        putQualifiers(os, objectclass->getQualifiers(!localOnly), objectclass);
    }
    auto properties = objectclass->getPropertyDefs(!localOnly);
    while (!properties.isNull() && properties->hasNext()) {
        VELSmrPtr<tarn::IPropertyDef> prop = properties->next();
        if (selected && selected->count(prop->getName().toLower()) == 0) {
            continue;
        }
        streamPropertyDef(os, prop, objectclass, includeQualifiers, localOnly, includeClassOrigin);
    }
    auto methods = objectclass->getMethodDefs(!localOnly);
    while (!methods.isNull() && methods->hasNext()) {
        streamMethod(os, methods->next(), objectclass, includeQualifiers, localOnly,
                     includeClassOrigin);
    }
    put(os, "</CLASS>\n"sv);
}

void CIMXMLUtil::streamValueClassObjectWithPath(std::ostream& os,
                                                const VELSmrPtr<IVelaClass>& object,
                                                const VELSmrPtr<IVelaNameSpacePath>& nameSpacePath,
                                                const VELSmrPtr<PropertyList>& propertyList,
                                                bool continueOnException, bool includeQualifiers,
                                                bool includeClassOrigin, bool localOnly) {
    put(os, "<VALUE.OBJECTWITHPATH>"sv);
    auto path = makeVELSmrPtr<CVelaInstanceName>(object->getName(), nameSpacePath, true);
    streamClassPath(os, path, continueOnException);
    streamClass(os, object, propertyList, includeQualifiers, includeClassOrigin, localOnly);
    put(os, "</VALUE.OBJECTWITHPATH>"sv);
}

void CIMXMLUtil::streamIParamQueryResultClass(std::ostream& os,
                                              const VELSmrPtr<IVelaClass>& outClass) {
    put(os, "<PARAMVALUE NAME=\"QueryResultClass\">\n"sv);
    if (!outClass.isNull()) {
        streamClass(os, outClass, nullptr, true, true, false);
    }
    put(os, "</PARAMVALUE>"sv);
}

// ---------------------------------------------------------------------------
// Parameters, query tables, request validation

bool CIMXMLUtil::validateParameterNames(const VELCIMMethodCall& methodCall,
                                        const ParamNameSet& requiredParamNames,
                                        const ParamNameSet& otherParamNames) {
    static constexpr std::string_view source = "cimxmlpa::CIMXMLUtil::validateParameterNames";
    const VELString& method = methodCall.getMethodName();
    bool valid = true;
    ParamNameSet seen;
    for (const VELSmrPtr<VELCIMParamValue>& param : *methodCall.getParameterListPtr()) {
        if (param.isNull()) {
            continue;
        }
        const VELString& name = param->getName();
        if (requiredParamNames.count(name) == 0 && otherParamNames.count(name) == 0) {
            AdapterUtils::log(
                source,
                ("Operation '" + method + "' has unsupported parameter '" + name + "'").view(), 1);
            valid = false;
        } else if (!seen.insert(name).second) {
            AdapterUtils::log(
                source,
                ("Operation '" + method + "' has duplicate parameter '" + name + "'").view(), 1);
            valid = false;
        }
    }
    for (const VELString& name : requiredParamNames) {
        if (seen.count(name) == 0) {
            AdapterUtils::log(
                source,
                ("Operation '" + method + "' missing required parameter '" + name + "'").view(), 1);
            valid = false;
        }
    }
    return valid;
}

void CIMXMLUtil::streamParameter(std::ostream& os, const VELSmrPtr<IVelaActualParameter>& param,
                                 bool isIntrinsic, bool continueOnException) {
    const VELString* name = &kEmpty;
    const IVelaType* type = nullptr;
    const bool readOk = tryRead(continueOnException, [&] {
        name = &param->getName();
        type = &*param->getType();
    });
    put(os, isIntrinsic ? "\n<IPARAMVALUE NAME=\""sv : "\n<PARAMVALUE NAME=\""sv);
    putEncoded(os, name->view());
    put(os, "\" PARAMTYPE=\""sv);
    if (readOk) {
        if (type->isReference()) {
            put(os, "reference"sv);
        } else if (type->isEmbeddedObject()) {
            put(os, "string\" EmbeddedObject=\"instance"sv);
        } else {
            putEncoded(os, type->getName().view());
        }
    }
    put(os, "\">"sv);
    if (readOk) {
        streamValue(os, param->getValue(), true, false, !isIntrinsic, false);
    } else {
        put(os, "<VALUE></VALUE>"sv);
    }
    put(os, isIntrinsic ? "</IPARAMVALUE>"sv : "</PARAMVALUE>"sv);
}

}  // namespace cimxmlpa
