// tarn::RepositoryError: the CIM status codes the repository raises, and the
// exception that carries them (VelaBaseException with the code, a type that
// names it, and "tarn::Repository" as the component).
#pragma once

#include "vela/VelaBaseException.h"

namespace tarn {

struct RepositoryError {
    static constexpr int FAILED = 1;
    static constexpr int INVALID_NAMESPACE = 3;
    static constexpr int INVALID_PARAMETER = 4;
    static constexpr int INVALID_CLASS = 5;
    static constexpr int NOT_FOUND = 6;
    static constexpr int NOT_SUPPORTED = 7;
    static constexpr int INVALID_SUPERCLASS = 10;
    static constexpr int ALREADY_EXISTS = 11;
    static constexpr int TYPE_MISMATCH = 13;

    // "InvalidNamespace", "NotFound" and so on; "Repository" for others.
    static const char* typeOf(int code);
    [[noreturn]] static void raise(int code, const char* where, const VELString& message);
};

}  // namespace tarn
