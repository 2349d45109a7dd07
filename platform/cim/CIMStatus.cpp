#include "tarn/CIMStatus.h"

namespace tarn {

const char* cimStatusName(int code) {
    switch (code) {
        case CIM_SUCCESS:
            return "CIM_SUCCESS";
        case CIM_ERR_FAILED:
            return "CIM_ERR_FAILED";
        case CIM_ERR_ACCESS_DENIED:
            return "CIM_ERR_ACCESS_DENIED";
        case CIM_ERR_INVALID_NAMESPACE:
            return "CIM_ERR_INVALID_NAMESPACE";
        case CIM_ERR_INVALID_PARAMETER:
            return "CIM_ERR_INVALID_PARAMETER";
        case CIM_ERR_INVALID_CLASS:
            return "CIM_ERR_INVALID_CLASS";
        case CIM_ERR_NOT_FOUND:
            return "CIM_ERR_NOT_FOUND";
        case CIM_ERR_NOT_SUPPORTED:
            return "CIM_ERR_NOT_SUPPORTED";
        case CIM_ERR_CLASS_HAS_CHILDREN:
            return "CIM_ERR_CLASS_HAS_CHILDREN";
        case CIM_ERR_CLASS_HAS_INSTANCES:
            return "CIM_ERR_CLASS_HAS_INSTANCES";
        case CIM_ERR_INVALID_SUPERCLASS:
            return "CIM_ERR_INVALID_SUPERCLASS";
        case CIM_ERR_ALREADY_EXISTS:
            return "CIM_ERR_ALREADY_EXISTS";
        case CIM_ERR_NO_SUCH_PROPERTY:
            return "CIM_ERR_NO_SUCH_PROPERTY";
        case CIM_ERR_TYPE_MISMATCH:
            return "CIM_ERR_TYPE_MISMATCH";
        case CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED:
            return "CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED";
        case CIM_ERR_INVALID_QUERY:
            return "CIM_ERR_INVALID_QUERY";
        case CIM_ERR_METHOD_NOT_AVAILABLE:
            return "CIM_ERR_METHOD_NOT_AVAILABLE";
        case CIM_ERR_METHOD_NOT_FOUND:
            return "CIM_ERR_METHOD_NOT_FOUND";
        case CIM_ERR_NAMESPACE_NOT_EMPTY:
            return "CIM_ERR_NAMESPACE_NOT_EMPTY";
        case CIM_ERR_INVALID_ENUMERATION_CONTEXT:
            return "CIM_ERR_INVALID_ENUMERATION_CONTEXT";
        case CIM_ERR_INVALID_OPERATION_TIMEOUT:
            return "CIM_ERR_INVALID_OPERATION_TIMEOUT";
        case CIM_ERR_PULL_HAS_BEEN_ABANDONED:
            return "CIM_ERR_PULL_HAS_BEEN_ABANDONED";
        case CIM_ERR_PULL_CANNOT_BE_ABANDONED:
            return "CIM_ERR_PULL_CANNOT_BE_ABANDONED";
        case CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED:
            return "CIM_ERR_FILTERED_ENUMERATION_NOT_SUPPORTED";
        case CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED:
            return "CIM_ERR_CONTINUATION_ON_ERROR_NOT_SUPPORTED";
        case CIM_ERR_SERVER_LIMITS_EXCEEDED:
            return "CIM_ERR_SERVER_LIMITS_EXCEEDED";
        case CIM_ERR_SERVER_IS_SHUTTING_DOWN:
            return "CIM_ERR_SERVER_IS_SHUTTING_DOWN";
        default:
            return "CIM_ERR_UNKNOWN";
    }
}

int handlerStatusOf(int code) {
    switch (code) {
        case CIM_ERR_INVALID_QUERY:
            return 16;  // the adapter's table maps handler status 16 to 15
        case CIM_ERR_METHOD_NOT_AVAILABLE:
            return CIM_ERR_NOT_SUPPORTED;
        default:
            break;
    }
    if ((code >= CIM_SUCCESS && code <= CIM_ERR_METHOD_NOT_FOUND && code != 15 && code != 16) ||
        (code >= CIM_ERR_INVALID_ENUMERATION_CONTEXT && code <= CIM_ERR_SERVER_IS_SHUTTING_DOWN)) {
        return code;
    }
    return CIM_ERR_FAILED;
}

}  // namespace tarn
