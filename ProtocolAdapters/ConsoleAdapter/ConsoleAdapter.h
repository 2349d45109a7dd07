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
#include "vela/IVelaProtocolAdapter.h"

namespace consolepa {

class ConsoleAdapter : public IVelaProtocolAdapter {
  public:
    static constexpr const char* PREFIX = "/console";

    // The pages need nothing of the object manager beyond its CIM-XML adapter.
    explicit ConsoleAdapter(IVelaOperationHandlerContext& /*context*/) {}

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

    VELString getProtocol() const override { return "http"; }
    VELString getAdapterName() const override { return "TARN web console"; }
    VELString getVersion() const override { return "1.0"; }
    bool getValidated() const override { return false; }
    std::uint16_t getStatus() const override { return 1; }
    std::uint16_t getCommunicationMechanism() const override { return 1; }  // Other
    VELString getCommunicationMechanismDescription() const override { return "Web console"; }
    bool isManagementCommunicationMechanism() const override { return false; }
    VELSmrPtr<VELValSlist<std::uint16_t>> getFunctionalProfilesSupported() const override;
    VELSmrPtr<VELValSlist<VELString>> getFunctionalProfileDescriptions() const override;
    VELSmrPtr<VELValSlist<std::uint16_t>> getAuthenticationMechanismsSupported() const override;
    VELSmrPtr<VELValSlist<VELString>> getAuthenticationMechanismDescriptions() const override;
    std::uint16_t getAdvertisedType() const override { return 1; }  // not advertised
    VELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>> getURL() const override;
};

}  // namespace consolepa
