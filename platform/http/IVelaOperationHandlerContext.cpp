#include "vela/IVelaOperationHandlerContext.h"

IVelaOperationHandlerContext::~IVelaOperationHandlerContext() = default;

const char* IVelaOperationHandlerContext::stateName(CIMOMState state) {
    switch (state) {
        case STARTING:
            return "STARTING";
        case STARTED:
            return "STARTED";
        case SHUTTING_DOWN:
            return "SHUTTING_DOWN";
        case SHUT_DOWN:
            return "SHUT_DOWN";
    }
    return "UNKNOWN";
}
