// VelaOperationBase: the common state of every operation: names, the
// requester, the outcome (CIM status code and error context), and the run of
// the operation through the object manager's handler.
#pragma once

#include <condition_variable>
#include <mutex>

#include "vela/IVelaOperation.h"

class IVelaOperationHandlerContext;
class VELGenericHTTPOStream;

class VelaOperationBase : public virtual IVelaOperation {
  public:
    VelaOperationBase(IVelaOperationHandlerContext* context, VELString operationName);
    ~VelaOperationBase() override;

    const VELString& getNameSpace() const override { return _nameSpace; }
    const VELString& getClassName() const override { return _className; }
    // Records the code; without an error context of that code, one is made
    // (with no message), so that the ERROR element always carries the code.
    void setErrorCode(int code) override;
    void setErrorContext(const VELSmrPtr<VelaBaseException>& error) override;
    VELSmrPtr<tarn::security::ISecurityToken> getAuthorization() const override;
    std::shared_ptr<void> getContext() const override;
    void setContext(std::shared_ptr<void> context) override;
    const VELString& getOperationName() const override { return _operationName; }
    VELSmrPtr<TARNClientInfo> getClientInfo() const override;
    void signalProcessCompletion() override;
    bool waitForProcessCompletion(std::uint32_t seconds) override;
    std::uint32_t getProviderTimeout() const override { return _providerTimeout; }

    virtual int getErrorCode() const;
    virtual VELSmrPtr<VelaBaseException> getErrorContext() const;
    void setClassName(const VELString& name) { _className = name; }
    void setNameSpace(const VELString& name) { _nameSpace = name; }
    void setOperationName(const VELString& name) { _operationName = name; }
    void setAuthorization(const VELSmrPtr<tarn::security::ISecurityToken>& token);
    void setClientInfo(const VELSmrPtr<TARNClientInfo>& info);
    void setProviderTimeout(std::uint32_t seconds) { _providerTimeout = seconds; }
    IVelaOperationHandlerContext* getOperationHandlerContext() const { return _handlerContext; }

    // True when no error code is set (the request was read successfully).
    virtual bool isValid() const { return getErrorCode() == 0; }
    // Writes the operation's response element.
    virtual void writeResponse(VELGenericHTTPOStream& out) = 0;

    // Runs the operation: a valid one goes to the handler; then the
    // operation writes its response element to out, and the completion is
    // signalled. self is the shared handle of this very operation.
    void process(VELGenericHTTPOStream& out, const VELSmrPtr<IVelaOperation>& self);

    // Provider timeout when the configuration does not set one ([TARN]
    // ProviderTimeout, seconds).
    static constexpr std::uint32_t DEFAULT_PROVIDER_TIMEOUT = 300;

  protected:
    // Called by process() after the handler returned, before the response is
    // written (streaming bases hand over the completion hold here).
    virtual void afterHandler() {}

  private:
    IVelaOperationHandlerContext* _handlerContext;
    VELString _operationName;
    VELString _nameSpace;
    VELString _className;
    std::uint32_t _providerTimeout;

    mutable std::mutex _m;  // guards the outcome, which provider threads may set
    int _errorCode = 0;
    VELSmrPtr<VelaBaseException> _errorContext;
    VELSmrPtr<tarn::security::ISecurityToken> _token;
    VELSmrPtr<TARNClientInfo> _clientInfo;
    std::shared_ptr<void> _context;
    std::condition_variable _completion;
    bool _completed = false;
};
