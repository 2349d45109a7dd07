#include "vela/VelaOperationBase.h"

#include <chrono>

#include "tarn/CIMStatus.h"
#include "tarn/IOperationHandler.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/AdapterUtils.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/TARNClientInfo.h"
#include "vela/TARNConfigManager.h"
#include "vela/VELGenericHTTPOStream.h"

namespace {

std::uint32_t configuredProviderTimeout() {
    std::uint32_t seconds = VelaOperationBase::DEFAULT_PROVIDER_TIMEOUT;
    TARNConfigManager::getInstance().getUint32("TARN", "ProviderTimeout", seconds);
    return seconds == 0 ? VelaOperationBase::DEFAULT_PROVIDER_TIMEOUT : seconds;
}

}  // namespace

namespace vela_detail {

std::uint32_t responseQueueCapacity() {
    std::uint32_t capacity = 1000;
    TARNConfigManager::getInstance().getUint32("TARN", "ResponseQueueCapacity", capacity);
    return capacity;
}

}  // namespace vela_detail

VelaOperationBase::VelaOperationBase(IVelaOperationHandlerContext* context, VELString operationName)
    : _handlerContext(context),
      _operationName(std::move(operationName)),
      _providerTimeout(configuredProviderTimeout()) {}

VelaOperationBase::~VelaOperationBase() = default;

void VelaOperationBase::setErrorCode(int code) {
    std::lock_guard<std::mutex> lock(_m);
    _errorCode = code;
    if (code != 0 && (_errorContext.isNull() || _errorContext->getCode() != code)) {
        VELString message = _errorContext.isNull() ? VELString() : _errorContext->getMessage();
        auto instances = _errorContext.isNull() ? nullptr : _errorContext->getInstances();
        _errorContext = VELSmrPtr<VelaBaseException>(
            new VelaBaseException("CIM", _operationName, "", message, code, instances));
    }
}

void VelaOperationBase::setErrorContext(const VELSmrPtr<VelaBaseException>& error) {
    std::lock_guard<std::mutex> lock(_m);
    _errorContext = error;
}

int VelaOperationBase::getErrorCode() const {
    std::lock_guard<std::mutex> lock(_m);
    return _errorCode;
}

VELSmrPtr<VelaBaseException> VelaOperationBase::getErrorContext() const {
    std::lock_guard<std::mutex> lock(_m);
    return _errorContext;
}

VELSmrPtr<tarn::security::ISecurityToken> VelaOperationBase::getAuthorization() const {
    std::lock_guard<std::mutex> lock(_m);
    return _token;
}

void VelaOperationBase::setAuthorization(const VELSmrPtr<tarn::security::ISecurityToken>& token) {
    std::lock_guard<std::mutex> lock(_m);
    _token = token;
}

VELSmrPtr<TARNClientInfo> VelaOperationBase::getClientInfo() const {
    std::lock_guard<std::mutex> lock(_m);
    return _clientInfo;
}

void VelaOperationBase::setClientInfo(const VELSmrPtr<TARNClientInfo>& info) {
    std::lock_guard<std::mutex> lock(_m);
    _clientInfo = info;
}

std::shared_ptr<void> VelaOperationBase::getContext() const {
    std::lock_guard<std::mutex> lock(_m);
    return _context;
}

void VelaOperationBase::setContext(std::shared_ptr<void> context) {
    std::lock_guard<std::mutex> lock(_m);
    _context = std::move(context);
}

void VelaOperationBase::signalProcessCompletion() {
    {
        std::lock_guard<std::mutex> lock(_m);
        _completed = true;
    }
    _completion.notify_all();
}

bool VelaOperationBase::waitForProcessCompletion(std::uint32_t seconds) {
    std::unique_lock<std::mutex> lock(_m);
    return _completion.wait_for(lock, std::chrono::seconds(seconds), [this] { return _completed; });
}

void VelaOperationBase::process(VELGenericHTTPOStream& out, const VELSmrPtr<IVelaOperation>& self) {
    if (isValid()) {
        tarn::IOperationHandler* handler =
            _handlerContext ? _handlerContext->getOperationHandler() : nullptr;
        if (handler == nullptr) {
            setErrorContext(VELSmrPtr<VelaBaseException>(new VelaBaseException(
                "CIM", _operationName, "process", "no operation handler is available",
                tarn::CIM_ERR_NOT_SUPPORTED)));
            setErrorCode(tarn::CIM_ERR_NOT_SUPPORTED);
        } else {
            try {
                handler->processOperation(self);
            } catch (const VelaBaseException& e) {
                // The handler reports failures on the operation; this is a last guard.
                setErrorContext(VELSmrPtr<VelaBaseException>(new VelaBaseException(e)));
                setErrorCode(e.getCode() == 0 ? tarn::CIM_ERR_FAILED : e.getCode());
            } catch (const std::exception& e) {
                setErrorContext(VELSmrPtr<VelaBaseException>(new VelaBaseException(
                    "CIM", _operationName, "process", e.what(), tarn::CIM_ERR_FAILED)));
                setErrorCode(tarn::CIM_ERR_FAILED);
            }
        }
    }
    afterHandler();
    try {
        writeResponse(out);
    } catch (...) {
        signalProcessCompletion();
        throw;
    }
    signalProcessCompletion();
}
