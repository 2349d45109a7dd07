// cimxmlpa::CIMIndicationDeliveryService: the adapter's export of indications
// to CIM-XML listener destinations. One exists per adapter, made from the
// object manager's context; it reads its outbound connection settings once,
// when it is made.
//
// Only the configuration is in place so far: this service does not post
// export requests yet, and the adapter answers every delivery question with
// "cannot deliver".
#pragma once

#include <cstdint>

#include "vela/IVelaOperationHandlerContext.h"
#include "vela/SparseIntegerList.h"
#include "vela/VELCriticalSection.h"
#include "vela/VELString.h"

namespace cimxmlpa {

class CIMIndicationDeliveryService {
  public:
    // Headers of every export request.
    static const VELString CONTENT_TYPE;       // Content-Type: application/xml; charset="utf-8"
    static const VELString CIM_EXPORT;         // CIMExport: MethodRequest
    static const VELString CIM_EXPORT_METHOD;  // CIMExportMethod: ExportIndication
    // Configuration section and keys of delivery.
    static const VELString INDICATION_SETTINGS;                         // "Indication"
    static const VELString DELIVERY_ATTEMPT_TIMEOUT_PROPERTY;           // "DeliveryAttemptTimeout"
    static constexpr std::uint32_t DELIVERY_ATTEMPT_TIMEOUT_VALUE = 2;  // seconds
    static const VELString OUTBOUND_CONNECTION_PORTS_PROPERTY;          // "OutboundConnectionPorts"
    // Where the retry options live.
    static const VELString INTEROP;                           // "interop"
    static const VELString CIM_INDICATION_SERVICE;            // "CIM_IndicationService"
    static const VELString DELIVERY_RETRY_ATTEMPTS_PROPERTY;  // "DeliveryRetryAttempts"
    static const VELString DELIVERY_RETRY_INTERVAL_PROPERTY;  // "DeliveryRetryInterval"

    explicit CIMIndicationDeliveryService(IVelaOperationHandlerContext& context);
    CIMIndicationDeliveryService(const CIMIndicationDeliveryService&) = delete;
    CIMIndicationDeliveryService& operator=(const CIMIndicationDeliveryService&) = delete;

    // Reads the local ports outbound connections are bound to ([Indication]
    // OutboundConnectionPorts, single ports and ranges) into the port list.
    // False when the key is absent or its value is not a port list (logged).
    bool loadOutboundConnectionConfiguration();

    // The configured local ports, in the order of the configuration.
    const SparseIntegerList& getOutboundPorts() const { return outboundPorts; }
    // The context deliveries look classes up through.
    IVelaOperationHandlerContext& getContext() const { return context; }

  private:
    IVelaOperationHandlerContext& context;
    // Serialises binding outbound connections to the configured local ports.
    VELCriticalSection localPortLock;
    SparseIntegerList outboundPorts;
};

}  // namespace cimxmlpa
