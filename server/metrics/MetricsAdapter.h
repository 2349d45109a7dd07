// tarn::MetricsAdapter: the built-in adapter that answers GET /metrics with
// the registry's exposition in the Prometheus text format. Credentials are
// checked as for every request (HTTP Basic); any role may read the metrics.
// It is not a management communication mechanism: the interop namespace
// does not list it.
#pragma once

#include "metrics/Metrics.h"
#include "vela/IVelaProtocolAdapter.h"

namespace tarn {

class MetricsAdapter : public IVelaProtocolAdapter {
  public:
    static constexpr const char* PATH = "/metrics";
    static constexpr const char* CONTENT_TYPE = "text/plain; version=0.0.4; charset=utf-8";

    explicit MetricsAdapter(const Metrics& metrics) : _metrics(metrics) {}

    void processInput(VELHTTPRequest& request, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out, VELSmrPtr<security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    void processInput(VELHTTPRequest& request, VELHTTPResponse& response, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out, VELSmrPtr<security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    // GET of /metrics (with or without a query).
    bool canProcess(const VELHTTPRequest& request) const override;

    VELString getProtocol() const override { return "http"; }
    VELString getAdapterName() const override { return "TARN metrics"; }
    VELString getVersion() const override { return "1.0"; }
    bool getValidated() const override { return false; }
    std::uint16_t getStatus() const override { return 1; }
    std::uint16_t getCommunicationMechanism() const override { return 1; }  // Other
    VELString getCommunicationMechanismDescription() const override { return "Prometheus metrics"; }
    bool isManagementCommunicationMechanism() const override { return false; }
    VELSmrPtr<VELValSlist<std::uint16_t>> getFunctionalProfilesSupported() const override;
    VELSmrPtr<VELValSlist<VELString>> getFunctionalProfileDescriptions() const override;
    VELSmrPtr<VELValSlist<std::uint16_t>> getAuthenticationMechanismsSupported() const override;
    VELSmrPtr<VELValSlist<VELString>> getAuthenticationMechanismDescriptions() const override;
    std::uint16_t getAdvertisedType() const override { return 1; }  // not advertised
    VELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>> getURL() const override;

  private:
    const Metrics& _metrics;
};

}  // namespace tarn
