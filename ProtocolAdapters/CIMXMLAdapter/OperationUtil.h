// cimxmlpa::OperationUtil: the steps that every operation class repeats:
// reading boolean and PropertyList parameters, logging a caught library
// exception, and framing the response element, single-result or streamed.
#pragma once

#include <ostream>
#include <string_view>

#include "CIMXMLUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/IPullOperation.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/IVelaValue.h"
#include "vela/VELCIMMethodCall.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"
#include "vela/VelaBaseException.h"
#include "vela/VelaMultiResponseOperationBase.h"

class IMaxObjectCount;
class IOpenOperation;
class IVelaOperationHandlerContext;

namespace cimxmlpa {

class OperationUtil {
  public:
    // Builds Op's required and optional parameter-name sets when a static
    // instance is constructed, that is while the library loads, before any
    // request can need them.
    template <class Op>
    struct ParamSetsAtLoad {
        ParamSetsAtLoad() {
            Op::buildReqParamSet();
            Op::buildOptParamSet();
        }
    };

    // A boolean parameter. An absent or empty value gives defaultValue; else
    // the text must be "true" or "false" in any mixture of case. Any other
    // text is logged under who as "Invalid value for <label>: <text>" and the
    // result is false (value untouched).
    static bool readBoolean(const VELCIMMethodCall& call, const VELString& parameter,
                            bool defaultValue, std::string_view label, std::string_view who,
                            bool& value);

    // The PropertyList parameter: null when it is absent (all properties),
    // else its names; an empty list asks for no properties.
    static VELSmrPtr<VELValSlist<VELString>> readPropertyList(const VELCIMMethodCall& call);

    // MaxObjectCount of an open or pull: absent or empty keeps the default;
    // else it must be a number that is not negative ("Invalid value for
    // maxObjectCount: <text>" under who otherwise). Returns 0 or the error code.
    static int readMaxObjectCount(const VELCIMMethodCall& call, IMaxObjectCount& op,
                                  std::string_view who);
    // EnumerationContext and MaxObjectCount of a pull, in that order, logged
    // under who ("Missing EnumerationContext parameter." when there is no
    // context). Returns 0 or the error code of the first bad one.
    static int readPullParameters(const VELCIMMethodCall& call, IPullOperation& pull,
                                  std::string_view who);
    // FilterQueryLanguage, FilterQuery (any given one is refused unless
    // filters is false, for an open whose filter is its query),
    // MaxObjectCount, OperationTimeout and ContinueOnError of an open, in that
    // order, logged under who (a bad MaxObjectCount under maxObjectCountWho).
    // Returns 0 or the error code of the first bad one.
    static int readOpenParameters(const VELCIMMethodCall& call, IOpenOperation& open,
                                  IMaxObjectCount& count, std::string_view who,
                                  std::string_view maxObjectCountWho, bool filters = true);

    // The class whose definition governs how an enumerated instance is
    // written: its own class, or without deepInheritance the requested class
    // found (by exact name) among its ancestors. Null, logged under who, when
    // there is no metadata or no such ancestor.
    static VELSmrPtr<IVelaClass> findOriginClass(IVelaOperationHandlerContext* context,
                                                 const VELString& nameSpace,
                                                 const IVelaObject& instance,
                                                 const VELString& requestedClass,
                                                 bool deepInheritance, std::string_view who);
    // The properties of originClass and its ancestors that the instance has,
    // each once, from originClass upward, limited by the requested list.
    static VELSmrPtr<VELValSlist<VELString>> buildDeepInheritancePropertyList(
        const IVelaObject& instance, const VELSmrPtr<IVelaClass>& originClass,
        const VELSmrPtr<VELValSlist<VELString>>& requested);

    // The ObjectName parameter of the association operations: false, with
    // absentMessage (when not empty) or invalidMessage logged at severity 1
    // under who, when it is absent, or when it has no value or a value that
    // is not a reference. Else the name is logged at severity 4.
    static bool readObjectName(const VELCIMMethodCall& call, std::string_view who,
                               std::string_view absentMessage, std::string_view invalidMessage,
                               VELSmrPtr<IVelaInstanceName>& name);
    // A filter parameter as received (empty when absent), logged at severity 4.
    static VELString readFilter(const VELCIMMethodCall& call, const VELString& parameter,
                                std::string_view who);

    // One result of Associators or References: a class with its path, always
    // without qualifiers and with its local elements only; or an instance as
    // VALUE.OBJECTWITHPATH, with class origins when includeClassOrigin is set
    // and its class is found (what keeps it from being found is logged under
    // who).
    static void streamAssociationResult(std::ostream& out, const VELSmrPtr<IVelaValue>& value,
                                        IVelaOperationHandlerContext* context,
                                        const VELSmrPtr<VELValSlist<VELString>>& propertyList,
                                        bool includeClassOrigin, std::string_view who);

    // "Caught <who>; Code: <code>; Msg: <message>" at severity 1 under source.
    static void logCaught(std::string_view source, const VelaBaseException& e);

    // "<SIMPLERSP><IMETHODRESPONSE NAME="<name>">" and its end.
    static void beginResponse(std::ostream& out, const VELString& operationName);
    static void endResponse(std::ostream& out);

    // The response of a streaming operation: ERROR when the operation failed
    // before its first result, else IRETURNVALUE with each result written by
    // encode as soon as it arrives. A failure while writing ends the results
    // (those already sent stand), is recorded on the operation and logged
    // under who; the elements are closed in every case.
    // trailer writes what follows IRETURNVALUE (the parameters of pulled
    // enumerations); it is not called when the operation failed before.
    template <class T, class Encode, class Trailer = void (*)()>
    static void writeStreamingResponse(
        VELGenericHTTPOStream& out, VelaMultiResponseOperationBase<T>& operation,
        std::string_view who, Encode&& encode, Trailer&& trailer = [] {}) {
        beginResponse(out, operation.getOperationName());
        const int code = operation.response->waitForResponse();
        if (code != 0) {
            CIMXMLUtil::streamError(out, code, operation.getErrorContext());
            endResponse(out);
            return;
        }
        out << "<IRETURNVALUE>";
        int failure = 0;
        try {
            bool first = true;
            while (operation.hasNext()) {
                encode(operation.next());
                if (first) {
                    // The client has the first result at once, not when a
                    // buffer's worth of them has been found.
                    out.flush();
                    first = false;
                }
            }
        } catch (const VelaBaseException& e) {
            failure = e.getCode();
        } catch (...) {
            failure = 1;
        }
        if (failure != 0) {
            operation.setErrorCode(failure);
            AdapterUtils::log(
                who, "Exception while writing response. err=" + VELString::valueOf(failure), 1);
        }
        out << "</IRETURNVALUE>";
        trailer();
        endResponse(out);
    }
};

}  // namespace cimxmlpa
