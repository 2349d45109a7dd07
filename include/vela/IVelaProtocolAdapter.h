// IVelaProtocolAdapter: a protocol adapter plug-in. The object manager loads
// each adapter library with dlopen and creates its one adapter object through
// the exported C function getVelaProtocolAdapter; it owns the object for the
// life of the process and deletes it through the virtual destructor before
// unloading the library.
//
// The HTTP server offers each request to the adapters in load order; the
// first whose canProcess is true gets it through processInput, on the
// server's worker thread. The adapter object is shared by all workers.
//
// On return from processInput the server ends the response as framed by the
// output stream (see VELGenericHTTPOStream) and keeps the connection when
// persistConnection is still true and the framing allows it. A
// VELHTTPException out of processInput makes the server close the connection
// without reading further; any other exception closes it as well, after a
// 500 response when no byte of the response was sent.
//
// The virtual operations are declared in slot order.
#pragma once

#include <cstdint>
#include <ostream>

#include "tarn/security/ISecurityToken.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"
#include "vela/VelaURL.h"

class IVelaObject;
class IVelaOperationHandlerContext;
class VELHTTPRequest;
class VELHTTPResponse;
class VELGenericHTTPIStream;
class VELGenericHTTPOStream;

class IVelaProtocolAdapter {
  public:
    virtual ~IVelaProtocolAdapter();

    // Slot 0: a request without a response object (adapters that write their
    // own head). persistConnection: whether the connection is kept after this
    // request; clientStreamsImported: set by an adapter that has finished the
    // exchange itself; the server then writes nothing more and closes.
    virtual void processInput(VELHTTPRequest& request, VELGenericHTTPIStream& in,
                              VELGenericHTTPOStream& out,
                              VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                              bool& persistConnection, bool& clientStreamsImported) = 0;
    // Slot 1: a request with the response the server prepared (status 200,
    // the request's protocol version). tarnd always calls this one.
    virtual void processInput(VELHTTPRequest& request, VELHTTPResponse& response,
                              VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                              VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                              bool& persistConnection, bool& clientStreamsImported) = 0;
    // Slot 2: whether this adapter serves the request.
    virtual bool canProcess(const VELHTTPRequest& request) const = 0;

    // Slots 3-16: the adapter's identity, published as the object manager's
    // communication mechanism. Lists are built anew for each call.
    virtual VELString getProtocol() const = 0;
    virtual VELString getAdapterName() const = 0;
    virtual VELString getVersion() const = 0;
    virtual bool getValidated() const = 0;
    virtual std::uint16_t getStatus() const = 0;
    virtual std::uint16_t getCommunicationMechanism() const = 0;
    virtual VELString getCommunicationMechanismDescription() const = 0;
    virtual bool isManagementCommunicationMechanism() const = 0;
    virtual VELSmrPtr<VELValSlist<std::uint16_t>> getFunctionalProfilesSupported() const = 0;
    virtual VELSmrPtr<VELValSlist<VELString>> getFunctionalProfileDescriptions() const = 0;
    virtual VELSmrPtr<VELValSlist<std::uint16_t>> getAuthenticationMechanismsSupported() const = 0;
    virtual VELSmrPtr<VELValSlist<VELString>> getAuthenticationMechanismDescriptions() const = 0;
    virtual std::uint16_t getAdvertisedType() const = 0;
    virtual VELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>> getURL() const = 0;

    // Slots 17-19: indication export. An adapter that does not deliver
    // indications keeps these: it can deliver to no destination.
    // Whether this adapter can deliver to the destination instance handler.
    virtual bool canDeliverIndication(const VELSmrPtr<IVelaObject>& handler);
    // Delivers the indication (an instance in nameSpace) to handler, with the
    // properties of propertyList (null: all); true when the listener accepted it.
    virtual bool deliverIndication(const VELString& nameSpace,
                                   const VELSmrPtr<IVelaObject>& indication,
                                   const VELSmrPtr<IVelaObject>& handler,
                                   const VELSmrPtr<VELValSlist<VELString>>& propertyList);
    // Writes the export message of the indication to out.
    virtual void encodeIndication(std::ostream& out, const VELString& nameSpace,
                                  const VELSmrPtr<IVelaObject>& indication,
                                  const VELSmrPtr<VELValSlist<VELString>>& propertyList);

    // Slot 20: whether the adapter speaks SOAP (WS-Management and the like).
    virtual bool isSOAPAdapter() const { return false; }
};

// The plug-in entry point, exported under this plain name (extern "C"):
//   extern "C" IVelaProtocolAdapter* getVelaProtocolAdapter(IVelaOperationHandlerContext&);
// It returns a new adapter object; the object manager owns it.
extern "C" {
typedef IVelaProtocolAdapter* (*GetVelaProtocolAdapterFunction)(IVelaOperationHandlerContext&);
}
inline constexpr const char* VELA_PROTOCOL_ADAPTER_ENTRY_POINT = "getVelaProtocolAdapter";
