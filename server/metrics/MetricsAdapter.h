// tarn::MetricsAdapter: the built-in adapter that answers GET /metrics with
// the registry's exposition in the Prometheus text format. Credentials are
// checked as for every request (HTTP Basic); any role may read the metrics.
// It is not a management communication mechanism: the interop namespace
// does not list it.
#pragma once

#include "metrics/Metrics.h"
#include "vela/VelaWebAdapterBase.h"

namespace tarn {

class MetricsAdapter : public VelaWebAdapterBase {
  public:
    static constexpr const char* PATH = "/metrics";
    static constexpr const char* CONTENT_TYPE = "text/plain; version=0.0.4; charset=utf-8";

    explicit MetricsAdapter(const Metrics& metrics)
        : VelaWebAdapterBase("TARN metrics", "Prometheus metrics"), _metrics(metrics) {}

    void processInput(VELHTTPRequest& request, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out, VELSmrPtr<security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    void processInput(VELHTTPRequest& request, VELHTTPResponse& response, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out, VELSmrPtr<security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    // GET of /metrics (with or without a query).
    bool canProcess(const VELHTTPRequest& request) const override;

  private:
    const Metrics& _metrics;
};

}  // namespace tarn
