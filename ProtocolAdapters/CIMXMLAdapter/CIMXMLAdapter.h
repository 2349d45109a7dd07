// cimxmlpa::CIMXMLAdapter: the CIM-XML protocol adapter. The object manager
// makes its one instance through the exported getVelaProtocolAdapter and
// hands it every request that carries a CIMOperation header. The adapter
// checks the HTTP method, the content negotiation and the CIM extension
// headers, reads and parses the body, runs each method call of the message
// as an operation object and frames the answers as one CIM-XML message.
//
// It holds no state between requests: everything a request needs lives on
// the stack of the server thread that processes it, so one adapter object
// serves all worker threads at once.
//
// A request that fails before the response head is written is rejected: the
// status, reason phrase and CIMError/TARNErrorDetail headers are set, the
// head goes out with an empty body, and a VELHTTPException tells the server
// to close the connection without reading the rest of the body. After the
// head, a failure becomes an ERROR element of the method call concerned.
#pragma once

#include <cstdint>
#include <ostream>

#include "CIMIndicationDeliveryService.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/IVelaProtocolAdapter.h"
#include "vela/VELCIMMessage.h"
#include "vela/VELGenericHTTPIStream.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPExtHeaderGroup.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

namespace cimxmlpa {

class CIMXMLAdapter : public IVelaProtocolAdapter {
  public:
    using MethodCallList = VELValSlist<VELSmrPtr<VELCIMMethodCall>>;
    using URLList = VELValSlist<VELSmrPtr<VelaURL>>;

    // Bodies announced with a Content-Length are read up to this size.
    static constexpr std::int64_t MAX_REQUEST_SIZE = 52428800;
    // The namespace of the CIM extension headers in M-POST requests.
    static const VELString CIM_MAPPING_NAMESPACE;

    explicit CIMXMLAdapter(IVelaOperationHandlerContext& context);
    ~CIMXMLAdapter() override;
    CIMXMLAdapter(const CIMXMLAdapter&) = delete;
    CIMXMLAdapter& operator=(const CIMXMLAdapter&) = delete;

    // Not used: this adapter needs the response the server prepares.
    void processInput(VELHTTPRequest& request, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out,
                      VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    // Authenticates, validates and frames one request, then processes it
    // when the object manager accepts requests.
    void processInput(VELHTTPRequest& request, VELHTTPResponse& response, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out,
                      VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                      bool& persistConnection, bool& clientStreamsImported) override;
    // True when the request has a CIMOperation header (plain or in the
    // M-POST group of the CIM mapping).
    bool canProcess(const VELHTTPRequest& request) const override;

    VELString getProtocol() const override;
    VELString getAdapterName() const override;
    VELString getVersion() const override;
    bool getValidated() const override;
    std::uint16_t getStatus() const override;
    std::uint16_t getCommunicationMechanism() const override;
    VELString getCommunicationMechanismDescription() const override;
    bool isManagementCommunicationMechanism() const override;
    VELSmrPtr<VELValSlist<std::uint16_t>> getFunctionalProfilesSupported() const override;
    VELSmrPtr<VELValSlist<VELString>> getFunctionalProfileDescriptions() const override;
    VELSmrPtr<VELValSlist<std::uint16_t>> getAuthenticationMechanismsSupported() const override;
    VELSmrPtr<VELValSlist<VELString>> getAuthenticationMechanismDescriptions() const override;
    std::uint16_t getAdvertisedType() const override;
    VELSmrPtr<URLList> getURL() const override;

    // True when handler is an instance of CIM_ListenerDestinationCIMXML or
    // of a subclass (its class looked up in the namespace of its path).
    bool canDeliverIndication(const VELSmrPtr<IVelaObject>& handler) override;
    // Exports the indication (an instance of nameSpace) to the destination
    // handler with the properties of propertyList (null: all), retrying as
    // configured, on the calling thread; true when the listener took it.
    // False at once for a destination this adapter cannot deliver to.
    bool deliverIndication(const VELString& nameSpace, const VELSmrPtr<IVelaObject>& indication,
                           const VELSmrPtr<IVelaObject>& handler,
                           const VELSmrPtr<VELValSlist<VELString>>& propertyList) override;
    // Writes the export request body of the indication to out.
    void encodeIndication(std::ostream& out, const VELString& nameSpace,
                          const VELSmrPtr<IVelaObject>& indication,
                          const VELSmrPtr<VELValSlist<VELString>>& propertyList) override;
    void streamIndicationDelivery(std::ostream& out, const VELSmrPtr<IVelaObject>& indication,
                                  const VELSmrPtr<VELValSlist<VELString>>& propertyList,
                                  const VELSmrPtr<IVelaClass>& indicationClass);

    // The URLs of the advertised ports, one per port, or one per interface
    // of the IPv4 interface filter that the port accepts.
    VELSmrPtr<URLList> buildVelaURL() const;

    // Reads, validates and runs the message of an accepted request.
    void processOperation(VELHTTPRequest& request, VELHTTPResponse& response,
                          VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                          VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                          bool& persistConnection, bool& clientStreamsImported);
    // The method calls of the message: those of its operation requests
    // (isSimpleRequest set), else those of its export requests
    // (isSimpleExpRequest set). Neither flag is cleared.
    VELSmrPtr<MethodCallList> getMethodCalls(VELCIMMessage& message, bool& isSimpleRequest,
                                             bool& isSimpleExpRequest);

    // The CIM extension headers (CIMOperation, CIMExport and their companions).
    void validateHTTPHeaders(VELHTTPRequest& request, VELHTTPResponse& response,
                             VELGenericHTTPOStream& out);
    // The same rules on the headers of one M-POST extension-header group.
    void validateHTTPExtHeaders(VELHTTPRequest& request, VELHTTPResponse& response,
                                VELGenericHTTPOStream& out,
                                VELSmrPtr<VELHTTPExtHeaderGroup> extHeaderGroup);
    // The request method and the content negotiation headers.
    void validateCIMHTTPHeaders(VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                                VELHTTPRequest& request, VELHTTPResponse& response);

    // Writes the response head as set, with an empty body, and throws
    // VELHTTPException.
    [[noreturn]] void rejectConnection(VELHTTPRequest& request, VELHTTPResponse& response,
                                       VELGenericHTTPOStream& out);
    [[noreturn]] void rejectConnection(VELHTTPRequest& request, VELHTTPResponse& response,
                                       VELGenericHTTPOStream& out, const VELString& httpCode,
                                       const VELString& httpMessage);

  private:
    // The CIM header of this name: in the M-POST group of the CIM mapping,
    // else the plain header; null when absent.
    const VELString* _getCIMRequestHeader(const VELHTTPRequest& request,
                                          const VELString& cimHeader) const;
    void _validateHTTPHeadersAux(VELHTTPRequest& request, VELHTTPResponse& response,
                                 VELGenericHTTPOStream& out);
    // CIMMethod and CIMObject against the parsed message; false with errMsg
    // set when they do not fit.
    bool _validateCIMMethodAndCIMObject(const VELHTTPRequest& request, VELCIMMessage& message,
                                        const VELSmrPtr<MethodCallList>& methodList,
                                        VELString& errMsg) const;

    // Chooses how the response body is framed on the wire.
    void _chooseFraming(VELHTTPRequest& request, VELGenericHTTPOStream& out,
                        bool persistConnection) const;
    // Reads the body into body (rejecting what cannot be read).
    void _readBody(VELHTTPRequest& request, VELHTTPResponse& response, VELGenericHTTPIStream& in,
                   VELGenericHTTPOStream& out, std::string& body);
    // Writes the response element of one method call.
    void _processMethodCall(VELSmrPtr<VELCIMMethodCall>& call, VELGenericHTTPOStream& out,
                            const VELSmrPtr<tarn::security::ISecurityToken>& securityToken,
                            bool clientStreamsImported);

    IVelaOperationHandlerContext& context;
    CIMIndicationDeliveryService indicationDeliveryService;
};

}  // namespace cimxmlpa

extern "C" IVelaProtocolAdapter* getVelaProtocolAdapter(IVelaOperationHandlerContext& context);
