// IVelaOperation: one CIM operation as the object manager's handler sees it:
// where it applies, who asks, how it ended.
#pragma once

#include <cstdint>
#include <memory>

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VelaBaseException.h"

class TARNClientInfo;
namespace tarn::security {
class ISecurityToken;
}

class IVelaOperation {
  public:
    virtual const VELString& getNameSpace() const = 0;
    virtual const VELString& getClassName() const = 0;
    // A CIM status code; 0 is success.
    virtual void setErrorCode(int code) = 0;
    // The failure in words (and CIM_Error instances) for the ERROR element.
    virtual void setErrorContext(const VELSmrPtr<VelaBaseException>& error) = 0;
    virtual VELSmrPtr<tarn::security::ISecurityToken> getAuthorization() const = 0;
    // Opaque state the handler may attach to the operation for its own use.
    virtual std::shared_ptr<void> getContext() const = 0;
    virtual void setContext(std::shared_ptr<void> context) = 0;
    virtual const VELString& getOperationName() const = 0;
    virtual VELSmrPtr<TARNClientInfo> getClientInfo() const = 0;
    // The consumer of the operation's results is done with it.
    virtual void signalProcessCompletion() = 0;
    // Waits until signalProcessCompletion (at most the time given, in
    // seconds); true when it came.
    virtual bool waitForProcessCompletion(std::uint32_t seconds) = 0;
    virtual ~IVelaOperation() = default;
    // How long a provider may take, in seconds.
    virtual std::uint32_t getProviderTimeout() const = 0;
};
