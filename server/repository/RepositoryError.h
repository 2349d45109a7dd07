// tarn::RepositoryError: the exception the repository raises: a
// VelaBaseException whose code is a tarn::CIMStatus, whose type names the
// status and whose component is "tarn::Repository".
#pragma once

#include "tarn/CIMStatus.h"
#include "vela/VelaBaseException.h"

namespace tarn {

struct RepositoryError {
    [[noreturn]] static void raise(CIMStatus code, const char* where, const VELString& message);
};

}  // namespace tarn
