// VELCIMMessage: a parsed CIM-XML request message. The body is parsed in
// place (the message takes the buffer over), never expanding entities and
// never reading anything outside the body; a body that is not a well-formed
// CIM-XML message leaves isWellFormed() false with the reason kept.
#pragma once

#include <memory>
#include <string>

#include "vela/VELCIMMethodCall.h"

class VELCIMMessage {
  public:
    using MethodCallList = VELValSlist<VELSmrPtr<VELCIMMethodCall>>;

    // Parses the body; never throws for bad input.
    explicit VELCIMMessage(std::string body);
    ~VELCIMMessage();
    VELCIMMessage(const VELCIMMessage&) = delete;
    VELCIMMessage& operator=(const VELCIMMessage&) = delete;

    bool isWellFormed() const { return _wellFormed; }
    // Why the body was rejected (empty when it was accepted).
    const VELString& getErrorText() const { return _error; }

    const VELString& getCIMVersionId() const { return _cimVersion; }
    const VELString& getDTDVersionId() const { return _dtdVersion; }
    const VELString& getProtocolVersion() const { return _protocolVersion; }
    const VELString& getID() const { return _id; }
    // True for a MULTIREQ (or MULTIEXPREQ).
    bool isMultiRequest() const { return _multi; }
    // The method calls of the SIMPLEREQ, or of each SIMPLEREQ of a MULTIREQ,
    // in order; null when the message holds no operation request.
    const VELSmrPtr<MethodCallList>& getSimpleRequestList() const { return _simpleRequests; }
    // The same for SIMPLEEXPREQ (and MULTIEXPREQ) export requests.
    const VELSmrPtr<MethodCallList>& getSimpleExportRequestList() const { return _exportRequests; }

  private:
    struct Parser;
    bool _wellFormed = false;
    VELString _error;
    VELString _cimVersion;
    VELString _dtdVersion;
    VELString _protocolVersion;
    VELString _id;
    bool _multi = false;
    VELSmrPtr<MethodCallList> _simpleRequests;
    VELSmrPtr<MethodCallList> _exportRequests;
};
