#include "CIMIndicationDeliveryService.h"

#include "vela/AdapterUtils.h"
#include "vela/TARNConfigManager.h"

namespace cimxmlpa {

const VELString CIMIndicationDeliveryService::CONTENT_TYPE =
    "Content-Type: application/xml; charset=\"utf-8\"";
const VELString CIMIndicationDeliveryService::CIM_EXPORT = "CIMExport: MethodRequest";
const VELString CIMIndicationDeliveryService::CIM_EXPORT_METHOD =
    "CIMExportMethod: ExportIndication";
const VELString CIMIndicationDeliveryService::INDICATION_SETTINGS = "Indication";
const VELString CIMIndicationDeliveryService::DELIVERY_ATTEMPT_TIMEOUT_PROPERTY =
    "DeliveryAttemptTimeout";
const VELString CIMIndicationDeliveryService::OUTBOUND_CONNECTION_PORTS_PROPERTY =
    "OutboundConnectionPorts";
const VELString CIMIndicationDeliveryService::INTEROP = "interop";
const VELString CIMIndicationDeliveryService::CIM_INDICATION_SERVICE = "CIM_IndicationService";
const VELString CIMIndicationDeliveryService::DELIVERY_RETRY_ATTEMPTS_PROPERTY =
    "DeliveryRetryAttempts";
const VELString CIMIndicationDeliveryService::DELIVERY_RETRY_INTERVAL_PROPERTY =
    "DeliveryRetryInterval";

CIMIndicationDeliveryService::CIMIndicationDeliveryService(IVelaOperationHandlerContext& context)
    : context(context) {
    loadOutboundConnectionConfiguration();
}

bool CIMIndicationDeliveryService::loadOutboundConnectionConfiguration() {
    VELString ports;
    if (!TARNConfigManager::getInstance().getString(INDICATION_SETTINGS,
                                                    OUTBOUND_CONNECTION_PORTS_PROPERTY, ports) ||
        ports.trim().isNull()) {
        return false;
    }
    VELString error;
    if (!outboundPorts.add(ports.trim(), &error)) {
        AdapterUtils::log("CIMIndicationDeliveryService::loadOutboundConnectionConfiguration",
                          "Ignoring " + INDICATION_SETTINGS + " " +
                              OUTBOUND_CONNECTION_PORTS_PROPERTY + " '" + ports + "': " + error,
                          2);
        return false;
    }
    return true;
}

}  // namespace cimxmlpa
