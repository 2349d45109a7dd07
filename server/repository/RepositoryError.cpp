#include "repository/RepositoryError.h"

namespace tarn {

void RepositoryError::raise(CIMStatus code, const char* where, const VELString& message) {
    throw VelaBaseException(cimStatusName(code), "tarn::Repository", where, message, code);
}

}  // namespace tarn
