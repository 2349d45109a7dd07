// consolepa::ConsoleAdapter: the web console. It answers GET requests under
// /console/ with the console's pages (compiled into the module), after
// checking the request's HTTP Basic credentials like every other request:
// without them the browser gets 401 with a Basic challenge and asks its user.
// The pages then speak CIM-XML to the object manager at /cimom with the
// credentials the browser keeps, so the console has no interface of its own
// and can do only what its user may do.
//
// Like the CIM-XML adapter it holds no state between requests.
#pragma once

#include "vela/IVelaOperationHandlerContext.h"
#include "vela/VelaWebAdapterBase.h"

namespace consolepa {

class ConsoleAdapter : public VelaWebAdapterBase {
  public:
    static constexpr const char* PREFIX = "/console";

    // The pages need nothing of the object manager beyond its CIM-XML adapter.
    explicit ConsoleAdapter(IVelaOperationHandlerContext& /*context*/)
        : VelaWebAdapterBase("TARN web console", "Web console") {}

    void processInput(VELHTTPRequest& request, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out,
                      VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    void processInput(VELHTTPRequest& request, VELHTTPResponse& response, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out,
                      VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    // GET of /console or of a path under /console/.
    bool canProcess(const VELHTTPRequest& request) const override;
};

}  // namespace consolepa
