// cimxmlpa::CIMIndicationDeliveryService: the adapter's export of indications
// to CIM-XML listener destinations. One exists per adapter, made from the
// object manager's context; it reads its outbound local ports once, when it
// is made.
//
// A delivery is synchronous on the caller's thread: the indication is
// written as an ExportIndication export request and POSTed to the
// destination's URL; a failed attempt (no connection, time-out, a status
// other than 200 OK) is tried again DeliveryRetryAttempts more times,
// DeliveryRetryInterval seconds apart, the two taken once per process from
// the CIM_IndicationService instance of the interop namespace. Each attempt
// is bounded by [Indication] DeliveryAttemptTimeout.
//
// Concurrent deliveries share nothing but the retry options (set once,
// then only read) and the binding of local ports, which the service's lock
// serialises so that two deliveries never take the same port.
#pragma once

#include <pthread.h>

#include <cstdint>
#include <istream>
#include <ostream>

#include "vela/IVelaClass.h"
#include "vela/IVelaObject.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/SparseIntegerList.h"
#include "vela/VELCriticalSection.h"
#include "vela/VELHTTPClient.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

namespace cimxmlpa {

class CIMIndicationDeliveryService {
  public:
    using PropertyList = VELValSlist<VELString>;

    // Headers of every export request, in this order.
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
    // Seconds are turned into milliseconds in 32 bits: no time-out or
    // interval may exceed this.
    static constexpr std::uint32_t MAX_SECONDS = 4294967;

    // Process-wide retry options: attempts after the first, and seconds
    // between attempts. Set once, by the first delivery of the process.
    static std::uint32_t deliveryRetryAttempts;
    static std::uint32_t deliveryRetryInterval;

    explicit CIMIndicationDeliveryService(IVelaOperationHandlerContext& context);
    CIMIndicationDeliveryService(const CIMIndicationDeliveryService&) = delete;
    CIMIndicationDeliveryService& operator=(const CIMIndicationDeliveryService&) = delete;

    // Delivers the indication (an instance of nameSpace) to the listener
    // destination handler, with the properties of propertyList (null: all).
    // True when the listener answered 200 OK. Never throws.
    bool deliverIndication(const VELString& nameSpace, const VELSmrPtr<IVelaObject>& indication,
                           const VELSmrPtr<IVelaObject>& handler,
                           const VELSmrPtr<PropertyList>& propertyList);

    // Writes the export request body of the indication.
    static void streamIndicationDelivery(std::ostream& out,
                                         const VELSmrPtr<IVelaObject>& indication,
                                         const VELSmrPtr<PropertyList>& propertyList,
                                         const VELSmrPtr<IVelaClass>& indicationClass);

    // Splits a destination into scheme and authority ("http://host:port")
    // and path ("/..."); a destination without scheme is taken as http.
    // False for any scheme but http and https.
    static bool processURL(const VELString& destination, VELString& baseURL, VELString& path);

    // Binds the client to the first free configured outbound port (under
    // the service's lock); nothing when none are configured. Throws
    // VelaBaseException "Error binding to local port." when none is free.
    void setLocalPort(VELSmrPtr<VELHTTPClient>& client);

    // Reads the local ports outbound connections are bound to ([Indication]
    // OutboundConnectionPorts, single ports and ranges) into the port list.
    // False when the key is absent or its value is not a port list (logged).
    bool loadOutboundConnectionConfiguration();

    // Reads the retry options from the CIM_IndicationService instance.
    // Called once per process by the first delivery.
    void setupDeliveryRetryOptions();

    // True when the first line of the response contains "200 OK".
    static bool parseResponse(std::istream* response);

    // [Log] TraceIndications and TraceIndicationsBufSize.
    static bool getTraceIndications();
    static std::uint32_t getTraceIndicationsMaxSize();

    // The context deliveries look classes up through.
    IVelaOperationHandlerContext& getContext() const { return context; }

  private:
    static pthread_once_t deliveryRetryOptionsFlag;

    IVelaOperationHandlerContext& context;
    // Serialises binding outbound connections to the configured local ports.
    VELCriticalSection localPortLock;
    SparseIntegerList outboundPorts;
};

}  // namespace cimxmlpa
