#include "repository/RepositoryError.h"

namespace tarn {

const char* RepositoryError::typeOf(int code) {
    switch (code) {
        case INVALID_NAMESPACE:
            return "InvalidNamespace";
        case INVALID_PARAMETER:
            return "InvalidParameter";
        case INVALID_CLASS:
            return "InvalidClass";
        case NOT_FOUND:
            return "NotFound";
        case NOT_SUPPORTED:
            return "NotSupported";
        case INVALID_SUPERCLASS:
            return "InvalidSuperclass";
        case ALREADY_EXISTS:
            return "AlreadyExists";
        case TYPE_MISMATCH:
            return "TypeMismatch";
        default:
            return "Repository";
    }
}

void RepositoryError::raise(int code, const char* where, const VELString& message) {
    throw VelaBaseException(typeOf(code), "tarn::Repository", where, message, code);
}

}  // namespace tarn
