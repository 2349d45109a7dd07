// cimxmlpa::CIMXMLUtil: the CIM-XML encoders of the adapter (message
// envelope, errors, names and paths, values, instances, classes, qualifier
// declarations, parameters and query tables), the check of request
// parameter names, and the tables that turn operation-handler status codes
// into CIM status codes with their descriptions.
//
// Every encoder appends to the caller's stream and keeps no state of its own,
// so encoders run on any thread. The tables and the constants are built while
// the library loads and are only read afterwards.
//
// Encoders that can sit inside an embedded instance take inEmbeddedObjectStyle:
// when set, the markup is written escaped ("&lt;", "&gt;", "&quot;") so that
// the whole element can stand as the text of a VALUE. Encoders that read model
// objects take continueOnException: when set, a failed read is logged and
// reported in place by an ERROR element (status 1) and writing goes on; when
// clear, the failure is passed on. A VELNetException (the client is gone) is
// always passed on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string_view>

#include "tarn/IMethodDef.h"
#include "tarn/IParameterDef.h"
#include "tarn/IPropertyDef.h"
#include "tarn/IQualifier.h"
#include "tarn/IQualifierDef.h"
#include "vela/ClassOriginDictionary.h"
#include "vela/IVelaActualParameter.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaNameSpacePath.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaProperty.h"
#include "vela/IVelaValue.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"
#include "vela/VelaBaseException.h"

namespace cimxmlpa {

class CIMXMLUtil {
  public:
    using PropertyList = VELValSlist<VELString>;
    using StatusCodeMap = std::map<std::int32_t, std::int32_t>;
    using StatusDescriptionMap = std::map<std::int32_t, VELString>;
    using ParamNameSet = std::set<VELString>;

    // The index that makes streamPropertyByIndexOrName look the property up by name.
    static constexpr std::size_t BY_NAME = static_cast<std::size_t>(-1);

    // Names of the CIM_Error class and of the properties used to wrap
    // instances that are not CIM_Error instances.
    static const VELString CIM_PREFIX;                     // "CIM_"
    static const VELString CIM_ERROR_CLASS_NAME;           // "CIM_Error"
    static const VELString CIM_ERROR_ERROR_SOURCE;         // "ErrorSource"
    static const VELString CIM_ERROR_ERROR_SOURCE_FORMAT;  // "ErrorSourceFormat"
    static const VELString CIM_ERROR_SOURCE_FORMAT_OTHER;  // "OtherErrorSourceFormat"
    // Values of ErrorSourceFormat.
    static constexpr std::uint16_t CIM_ERROR_SOURCE_OTHER = 1;
    static constexpr std::uint16_t CIM_ERROR_SOURCE_OBJ_PATH = 2;

    // The escapes of the embedded style.
    static const VELString XML_LT;          // "&lt;"
    static const VELString XML_GT;          // "&gt;"
    static const VELString XML_QUOTE;       // "&quot;"
    static const VELString HTML_LINE_FEED;  // "&#10;"
    static const VELString HTML_SPACE;      // "&#32;"

    // The host written into HOST when a namespace path has none. Set once by
    // initializeAdvertisedHostName at adapter start-up, read without a lock
    // afterwards.
    static VELString advertisedHostName;

    // ---- Status codes, message envelope, errors ----

    // The CIM status for an operation-handler status; 1 (logged) when unmapped.
    static int translateOperationHandlerStatus(int status);
    // The standard description of a CIM status; empty (logged) when unknown.
    static VELString getStatusCodeDescription(int cimStatus);
    // Build the two tables; called once while the library loads.
    static void buildStatusCodeTranslationMap();
    static void buildStatusCodeDescriptionMap();

    static void streamMessageHeader(std::ostream& os, const VELString& msgId,
                                    const VELString& strCIMVersion, const VELString& strDTDVersion);
    static void streamMessageTrailer(std::ostream& os);

    // An empty ERROR element for a handler status, with detail appended to
    // the description in parentheses when not empty.
    static VELString createCIMErrorMsg(int status, VELString detail);
    static void streamError(std::ostream& os, int status, const VELString& detail);
    // An ERROR element for a handler status carrying the exception's message
    // and its CIM_Error instances (other instances are wrapped in one).
    static void streamError(std::ostream& os, int status,
                            const VELSmrPtr<VelaBaseException>& error);
    // The same with the exception's own code (1 for a null exception).
    static void streamError(std::ostream& os, const VELSmrPtr<VelaBaseException>& error);

    // The two parameters of every pulled-enumeration response.
    static void streamEndOfSequence(std::ostream& os, bool endOfSequence);
    static void streamEnumerationContext(std::ostream& os, const VELString& context);

    // True when the object's class or one of its ancestors has a name that
    // begins with prefix (exact case); false when the class is unknown.
    static bool checkHierarchy(const IVelaObject& object, const VELString& prefix);
    static bool isCimDescendent(const IVelaObject& object);
    static bool isCimErrorDescendent(const IVelaObject& object);
    // A CIM_Error instance whose ErrorSource is the object's path.
    static void streamCimInstanceAsCimError(std::ostream& os, const IVelaObject& object);
    // A CIM_Error instance whose OtherErrorSourceFormat is the object's INSTANCE text.
    static void streamUnknownInstanceAsCimError(std::ostream& os, const IVelaObject& object);

    // "major.minor" with a value of at least 2.0.
    static bool validateDTDVersion(const VELString& version);
    static bool validateCIMVersion(const VELString& version);

    // ---- Names and paths ----

    // An opening tag with up to two attributes (an attribute with an empty
    // name is left out); attribute values are written as given.
    static std::ostream& insertHTMLOpenTag(std::ostream& s, std::string_view tag,
                                           bool inEmbeddedObjectStyle, std::string_view name = {},
                                           std::string_view nameValue = {},
                                           std::string_view name2 = {},
                                           std::string_view nameValue2 = {});
    static std::ostream& insertHTMLCloseTag(std::ostream& s, std::string_view tag,
                                            bool inEmbeddedObjectStyle);

    // Sets advertisedHostName unless it is already set; true when it set it.
    static bool initializeAdvertisedHostName(const VELString& host);

    static void streamNameSpacePath(std::ostream& ostr,
                                    const VELSmrPtr<IVelaNameSpacePath>& nameSpacePath,
                                    bool continueOnException, bool inEmbeddedObjectStyle);
    // CLASSPATH; throws AdapterException when the name has no namespace path.
    static void streamClassPath(std::ostream& ostr,
                                const VELSmrPtr<IVelaInstanceName>& instanceName,
                                bool continueOnException);
    // INSTANCEPATH; throws AdapterException when the name has no namespace path.
    static void streamInstancePath(std::ostream& ostr,
                                   const VELSmrPtr<IVelaInstanceName>& instanceName,
                                   bool continueOnException, bool inEmbeddedObjectStyle);
    // OBJECTPATH holding a CLASSPATH or an INSTANCEPATH.
    static void streamObjectPath(std::ostream& ostr,
                                 const VELSmrPtr<IVelaInstanceName>& instanceName,
                                 bool continueOnException);
    // INSTANCENAME with its key bindings in their own order; keys without a
    // value are left out.
    static void streamInstanceName(std::ostream& ostr,
                                   const VELSmrPtr<IVelaInstanceName>& instanceName,
                                   bool continueOnException, bool inEmbeddedObjectStyle);

    // The object's class from the class lookup; null (logged) on any failure.
    static VELSmrPtr<IVelaClass> getVelaClass(const IVelaObject& obj);

    // ---- Values, properties and instances ----

    // One value: VALUE, VALUE.ARRAY, VALUE.REFARRAY, VALUE.REFERENCE or an
    // embedded instance. A null or unset value writes nothing (an array
    // without element list writes the empty-element form of its tag).
    static void streamValue(std::ostream& ostr, const VELSmrPtr<IVelaValue>& value,
                            bool continueOnException, bool inEmbeddedObjectStyle,
                            bool forceEmptyValueTags, bool addValueRefElemet);
    static void streamArray(std::ostream& ostr, const VELSmrPtr<IVelaValue::ValueList>& array,
                            const VELSmrPtr<IVelaType>& type, bool continueOnException,
                            bool inEmbeddedObjectStyle, bool forceEmptyValueTags);
    // The CLASSORIGIN and PROPAGATED attributes; nothing without a dictionary.
    static void streamPropertyOrigin(std::ostream& ostr, const VELString& propertyName,
                                     const ClassOriginDictionary* classOriginDictionary,
                                     bool inEmbeddedObjectStyle);
    // PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE; nothing when the
    // property has no value object.
    static void streamProperty(std::ostream& ostr, const IVelaObject& object,
                               const VELSmrPtr<IVelaProperty>& property, bool continueOnException,
                               const ClassOriginDictionary* classOriginDictionary,
                               const VELSmrPtr<IVelaClass>& objectClass,
                               bool inEmbeddedObjectStyle);
    // The property at index, or, with index BY_NAME, the property named
    // exactly propertyName. A failure is written as a substitute PROPERTY
    // when continueOnException is set.
    static void streamPropertyByIndexOrName(std::ostream& ostr, const IVelaObject& object,
                                            const VELString& propertyName, std::size_t index,
                                            bool continueOnException,
                                            const ClassOriginDictionary* classOriginDictionary,
                                            const VELSmrPtr<IVelaClass>& objectClass,
                                            bool inEmbeddedObjectStyle);
    // INSTANCE with all properties, or those of the list in list order.
    // Class origins are written when includeClassOrigin is set and the class
    // is given.
    static void streamInstance(std::ostream& ostr, const VELSmrPtr<IVelaObject>& object,
                               const VELSmrPtr<PropertyList>& propertyList,
                               bool continueOnException, const VELSmrPtr<IVelaClass>& objectClass,
                               bool includeClassOrigin, bool inEmbeddedObjectStyle);
    static void streamValueNamedInstance(std::ostream& ostr, const VELSmrPtr<IVelaObject>& object,
                                         const VELSmrPtr<PropertyList>& propertyList,
                                         bool continueOnException,
                                         const VELSmrPtr<IVelaClass>& objectClass,
                                         bool includeClassOrigin);
    static void streamInstanceWithPath(std::ostream& ostr, const VELSmrPtr<IVelaObject>& object,
                                       const VELSmrPtr<PropertyList>& propertyList,
                                       bool continueOnException,
                                       const VELSmrPtr<IVelaClass>& objectClass,
                                       bool includeClassOrigin);
    static void streamValueObjectWithPath(std::ostream& ostr, const VELSmrPtr<IVelaObject>& object,
                                          const VELSmrPtr<PropertyList>& propertyList,
                                          bool continueOnException,
                                          const VELSmrPtr<IVelaClass>& objectClass,
                                          bool includeClassOrigin);
    // VALUE.OBJECTWITHPATH for an instance with a namespace, else
    // "VALUE.OBECT"; the property list is not applied.
    static void streamObject(std::ostream& ostr, const VELSmrPtr<IVelaObject>& obj,
                             const VELSmrPtr<PropertyList>& propertyList, bool continueOnException,
                             const VELSmrPtr<IVelaClass>& objectClass, bool includeClassOrigin,
                             bool inEmbeddedObjectStyle);

    // ---- Class schema (plain style only) ----

    static void streamQualifierDef(std::ostream& ostr, const VELSmrPtr<tarn::IQualifierDef>& def);
    static void streamQualifier(std::ostream& ostr, const VELSmrPtr<tarn::IQualifier>& qualifier,
                                const VELSmrPtr<IVelaClass>& objectclass);
    static void streamPropertyDef(std::ostream& ostr, const VELSmrPtr<tarn::IPropertyDef>& prop,
                                  const VELSmrPtr<IVelaClass>& objectclass, bool includeQualifiers,
                                  bool localOnly, bool includeClassOrigin);
    static void streamParameterDef(std::ostream& ostr,
                                   const VELSmrPtr<tarn::IParameterDef>& parameter,
                                   const VELSmrPtr<IVelaClass>& objectclass, bool includeQualifiers,
                                   bool localOnly);
    static void streamMethod(std::ostream& ostr, const VELSmrPtr<tarn::IMethodDef>& method,
                             const VELSmrPtr<IVelaClass>& objectclass, bool includeQualifiers,
                             bool localOnly, bool includeClassOrigin);
    // CLASS; the property list selects properties without regard to case.
    static void streamClass(std::ostream& ostr, const VELSmrPtr<IVelaClass>& objectclass,
                            const VELSmrPtr<PropertyList>& propertyList, bool includeQualifiers,
                            bool includeClassOrigin, bool localOnly);
    static void streamValueClassObjectWithPath(std::ostream& ostr,
                                               const VELSmrPtr<IVelaClass>& object,
                                               const VELSmrPtr<IVelaNameSpacePath>& nameSpacePath,
                                               const VELSmrPtr<PropertyList>& propertyList,
                                               bool continueOnException, bool includeQualifiers,
                                               bool includeClassOrigin, bool localOnly);
    static void streamIParamQueryResultClass(std::ostream& ostr,
                                             const VELSmrPtr<IVelaClass>& outClass);

    // ---- Parameters, query tables, request validation ----

    // True when every parameter is in one of the sets, none is given twice
    // and every required one is present; each problem is logged.
    static bool validateParameterNames(const VELCIMMethodCall& methodCall,
                                       const ParamNameSet& requiredParamNames,
                                       const ParamNameSet& otherParamNames);
    // IPARAMVALUE (intrinsic) or PARAMVALUE, preceded by a line feed.
    static void streamParameter(std::ostream& ostr, const VELSmrPtr<IVelaActualParameter>& param,
                                bool isIntrinsic, bool continueOnException);

  private:
    static void _streamInstance(std::ostream& ostr, const IVelaObject& object,
                                const PropertyList* propertyList, bool continueOnException,
                                const VELSmrPtr<IVelaClass>& objectClass, bool includeClassOrigin,
                                bool inEmbeddedObjectStyle);
    static void _streamKeyBinding(std::ostream& ostr, const IVelaInstanceName& instanceName,
                                  std::size_t index, bool continueOnException,
                                  bool inEmbeddedObjectStyle);
    static void _streamCimError(std::ostream& ostr, std::uint16_t sourceFormat,
                                const VELString& propertyName, const VELString& text);

    static std::unique_ptr<StatusCodeMap> statusCodeTranslationMap;
    static std::unique_ptr<StatusDescriptionMap> statusCodeDescriptionMap;
};

}  // namespace cimxmlpa
