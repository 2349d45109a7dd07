#include "CIMXMLAdapter.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>

#include "CIMXMLUtil.h"
#include "OperationFactory.h"
#include "tarn/PortInfo.h"
#include "vela/AdapterUtils.h"
#include "vela/AuthenticationHelper.h"
#include "vela/CIMUtil.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaNameSpacePath.h"
#include "vela/TARNClientInfo.h"
#include "vela/TARNConfigManager.h"
#include "vela/VELCIMStrings.h"
#include "vela/VELHTTPException.h"
#include "vela/VelaBaseException.h"

namespace cimxmlpa {

const VELString CIMXMLAdapter::CIM_MAPPING_NAMESPACE = "http://www.dmtf.org/cim/mapping/http/v1.0";

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kAdapter = "cimxmlpa::CIMXMLAdapter";
constexpr std::string_view kProcessInput = "cimxmlpa::CIMXMLAdapter::processInput";
constexpr std::string_view kProcessOperation = "cimxmlpa::CIMXMLAdapter::processOperation";
constexpr std::string_view kBuildVelaURL = "cimxmlpa::CIMXMLAdapter::buildVelaURL";
constexpr std::string_view kRejectConnection = "cimxmlpa::CIMXMLAdapter::rejectConnection";

const VELString kInputRemaining = "Input stream may have data remaining";

// The close option (seconds) of connections whose response is not chunked.
constexpr int kCloseOption = 30;
// A chunk-size line is read up to this many characters.
constexpr std::size_t kMaxChunkLine = 128;
// Bodies are read in pieces of this size, straight into the body string, so
// that memory grows only as fast as data arrives.
constexpr std::size_t kReadPiece = 1u << 20;

void log(std::string_view source, std::string_view message, int severity) {
    AdapterUtils::log(source, message, severity);
}

bool containsAny(const VELString& value, std::initializer_list<std::string_view> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [&](std::string_view p) { return value.contains(p); });
}

// Appends up to count bytes of in to body and returns how many arrived
// before the stream ended. Large reads go from the socket straight into the
// string, so the body is copied once.
std::size_t appendFrom(std::istream& in, std::string& body, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const std::size_t piece = std::min(kReadPiece, count - done);
        const std::size_t at = body.size();
        if (body.capacity() < at + piece + 1) {
            body.reserve(std::max(at + piece + 1, body.capacity() * 2));
        }
        body.resize(at + piece);
        in.read(body.data() + at, static_cast<std::streamsize>(piece));
        const std::size_t got = static_cast<std::size_t>(in.gcount());
        body.resize(at + got);
        done += got;
        if (got < piece) {
            break;
        }
    }
    return done;
}

// One line of a chunked body without its line end, at most kMaxChunkLine
// characters of it.
std::string readChunkLine(std::istream& in) {
    std::string line;
    char c;
    while (line.size() < kMaxChunkLine && in.get(c)) {
        if (c == '\n') {
            break;
        }
        line.push_back(c);
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line;
}

// The hexadecimal number at the start of a chunk-size line (leading blanks
// and a "0x" are allowed, anything after the digits is ignored). False when
// there is none or it does not fit 32 bits.
bool parseChunkSize(std::string_view line, std::uint32_t& size) {
    std::size_t i = line.find_first_not_of(" \t");
    if (i == std::string_view::npos) {
        return false;
    }
    if (line.size() > i + 2 && line[i] == '0' && (line[i + 1] == 'x' || line[i + 1] == 'X') &&
        std::isxdigit(static_cast<unsigned char>(line[i + 2]))) {
        i += 2;
    }
    std::uint64_t value = 0;
    std::size_t digits = 0;
    for (; i < line.size() && std::isxdigit(static_cast<unsigned char>(line[i])); ++i, ++digits) {
        const char c = line[i];
        const int d = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
        value = value * 16 + static_cast<std::uint64_t>(d);
        if (value > 0xFFFFFFFFu) {
            return false;
        }
    }
    size = static_cast<std::uint32_t>(value);
    return digits > 0;
}

// Reads a chunked body: chunk after chunk until the last (size 0) or until
// a size line cannot be read. Trailer fields stay unread.
void readChunkedBody(std::istream& in, std::string& body) {
    for (;;) {
        std::uint32_t size = 0;
        if (!parseChunkSize(readChunkLine(in), size) || size == 0) {
            return;
        }
        if (appendFrom(in, body, size) < size) {
            return;
        }
        in.ignore(2);  // the CRLF after the chunk data
    }
}

// The outcome of checking the CIM extension headers.
struct ExtensionHeaderCheck {
    VELString error;
    VELString cimError = "header-mismatch";
    VELString reason = "Bad Request";
    VELString status = "400";
};

// The rules shared by plain POST requests and the groups of M-POST requests;
// header(name) gives the value of a header or null.
template <class Lookup>
ExtensionHeaderCheck checkExtensionHeaders(Lookup header, bool extended) {
    ExtensionHeaderCheck c;
    const VELString* operation = header("CIMOperation");
    const VELString* exportHeader = header("CIMExport");
    const bool isOperation = operation && operation->equalsIgnoreCase("MethodCall");
    const bool isExport = exportHeader && exportHeader->equalsIgnoreCase("MethodRequest");
    auto present = [](const VELString* v) { return v && !v->isNull(); };
    if (isOperation && isExport) {
        c.error = "Can not have CIMOperation AND CIMExport headers at the same time.";
    } else if (isOperation) {
        const bool method = present(header("CIMMethod"));
        const bool object = present(header("CIMObject"));
        const VELString* batchHeader = header("CIMBatch");
        const bool batch = batchHeader && batchHeader->equalsIgnoreCase("CIMBatch");
        if (method && batch) {
            c.error = "Can not have CIMMethod and CIMBatch headers at the same time.";
        } else if (!(method && object) && !batch) {
            c.error =
                "CIMMethod and CIMObject or CIMBatch header need to be present for CIMOperation";
        }
    } else if (isExport) {
        const bool method = present(header("CIMExportMethod"));
        const bool batch = present(header("CIMExportBatch"));
        if (method && batch) {
            c.error = "Can not have CIMExportMethod AND CIMExportBatch headers with CIMExport";
        } else if (!method && !batch) {
            c.error = "Need to have CIMExportMethod OR CIMExportBatch headers with CIMExport";
        }
    } else {
        c.error = extended ? "No valid extended header(s) are present in the request"
                           : "No valid header(s) are present in the request";
    }
    const VELString* version = header("CIMProtocolVersion");
    if (version && version->atoi() < 1) {
        c.error = "TARN does not support CIM protocol version less than 1.0";
        c.cimError = "unsupported-protocol-version";
        c.reason = "Not Implemented";
        c.status = "501";
    }
    return c;
}

// The answer to a call no operation serves: its response element with the
// "not supported" ERROR.
void streamNotSupported(std::ostream& out, const VELString& methodName, bool intrinsic) {
    const std::string_view element = intrinsic ? "IMETHODRESPONSE"sv : "METHODRESPONSE"sv;
    out << "<SIMPLERSP><" << element << " NAME=\"" << methodName.view() << "\">";
    CIMXMLUtil::streamError(out, 7, VELString());
    out << "</" << element << "></SIMPLERSP>";
}

}  // namespace

// ------------------------------------------------------------ adapter object

CIMXMLAdapter::CIMXMLAdapter(IVelaOperationHandlerContext& context)
    : context(context), indicationDeliveryService(context) {
    CIMXMLUtil::initializeAdvertisedHostName(context.getPortInfo()->getHostName());
    log(kAdapter,
        "Adapter initialized: Name='" + getAdapterName() + "'; Protocol='" + getProtocol() + "'",
        3);
}

CIMXMLAdapter::~CIMXMLAdapter() = default;

VELString CIMXMLAdapter::getProtocol() const {
    return "cim-xml";
}

VELString CIMXMLAdapter::getAdapterName() const {
    return "cim-xml Adapter";
}

VELString CIMXMLAdapter::getVersion() const {
    return "1.0";
}

bool CIMXMLAdapter::getValidated() const {
    return false;
}

std::uint16_t CIMXMLAdapter::getStatus() const {
    return 1;
}

std::uint16_t CIMXMLAdapter::getCommunicationMechanism() const {
    return 2;  // CIM-XML
}

VELString CIMXMLAdapter::getCommunicationMechanismDescription() const {
    return "CIM-XML";
}

bool CIMXMLAdapter::isManagementCommunicationMechanism() const {
    return true;
}

VELSmrPtr<VELValSlist<std::uint16_t>> CIMXMLAdapter::getFunctionalProfilesSupported() const {
    return makeVELSmrPtr<VELValSlist<std::uint16_t>>(
        VELValSlist<std::uint16_t>{2, 3, 5, 6, 7, 9, 10, 11, 12});
}

VELSmrPtr<VELValSlist<VELString>> CIMXMLAdapter::getFunctionalProfileDescriptions() const {
    return makeVELSmrPtr<VELValSlist<VELString>>(
        VELValSlist<VELString>{"Basic Read", "Basic Write", "Instance Manipulation",
                               "Association Traversal", "Query Execution", "Indications",
                               "Pulled Read", "Pulled Read Count", "Pulled Query Execution"});
}

VELSmrPtr<VELValSlist<std::uint16_t>> CIMXMLAdapter::getAuthenticationMechanismsSupported() const {
    return makeVELSmrPtr<VELValSlist<std::uint16_t>>(VELValSlist<std::uint16_t>{3});  // Basic
}

VELSmrPtr<VELValSlist<VELString>> CIMXMLAdapter::getAuthenticationMechanismDescriptions() const {
    return makeVELSmrPtr<VELValSlist<VELString>>(VELValSlist<VELString>{"Basic"});
}

std::uint16_t CIMXMLAdapter::getAdvertisedType() const {
    return 3;  // SLP
}

VELSmrPtr<CIMXMLAdapter::URLList> CIMXMLAdapter::getURL() const {
    return buildVelaURL();
}

VELSmrPtr<CIMXMLAdapter::URLList> CIMXMLAdapter::buildVelaURL() const {
    VELSmrPtr<tarn::PortInfo> info = context.getPortInfo();
    // Held for the loop: the port data are a copy made for this call.
    VELSmrPtr<tarn::PortInfo::PortDataList> ports = info->getPortData();
    VELSmrPtr<VELValSlist<VELString>> interfaces = info->getIpV4InterfaceList();
    const bool filtered = !interfaces.isNull() && !interfaces->isEmpty();
    const VELString host = info->getHostName();
    const VELString interop = info->getInteropNamespace();

    auto urls = makeVELSmrPtr<URLList>();
    for (const tarn::PortData& port : *ports) {
        if (!port.isSLPAdvertised()) {
            continue;
        }
        const VELString number = VELString::valueOf(port.getPort());
        log(kBuildVelaURL,
            "PortInfo Hostname-" + host + ", Port-" + number + ", visibility-" +
                (port.isSLPAdvertised() ? "1" : "0") + ", isSecure-" +
                (port.isSecure() ? "1" : "0"),
            4);
        const VELString scheme = port.isSecure() ? "https" : "http";
        if (!filtered) {
            urls->append(makeVELSmrPtr<VelaURL>(scheme, host, interop, port.getPort()));
            continue;
        }
        const tarn::PortData::InterfaceList& own = port.getInterfaceList();
        for (const VELString& name : *interfaces) {
            const bool listed =
                own.empty() || std::any_of(own.begin(), own.end(), [&](const auto& i) {
                    return !i.isNull() && i->getInterfaceName().equalsIgnoreCase(name);
                });
            if (!listed) {
                log(kBuildVelaURL,
                    "NOT adding Interface-" + name + " for Port-" + number +
                        ", because it is not listed on the <interfaces> array from "
                        "Port_settings.xml",
                    4);
                continue;
            }
            urls->append(makeVELSmrPtr<VelaURL>(scheme, name, interop, port.getPort()));
        }
    }
    return urls;
}

// -------------------------------------------------------- indication export

bool CIMXMLAdapter::canDeliverIndication(const VELSmrPtr<IVelaObject>& handler) {
    if (handler.isNull()) {
        return false;
    }
    const VELSmrPtr<IVelaInstanceName>& path = handler->getPath();
    const VELString nameSpace = path.isNull() || path->getNameSpacePath().isNull()
                                    ? VELString()
                                    : path->getNameSpacePath()->getNameSpace();
    for (VELSmrPtr<IVelaClass> cls = context.getClass(nameSpace, handler->getClassName());
         !cls.isNull(); cls = cls->getSuperClass()) {
        if (cls->getName().equalsIgnoreCase("CIM_ListenerDestinationCIMXML")) {
            return true;
        }
    }
    return false;
}

bool CIMXMLAdapter::deliverIndication(const VELString& nameSpace,
                                      const VELSmrPtr<IVelaObject>& indication,
                                      const VELSmrPtr<IVelaObject>& handler,
                                      const VELSmrPtr<VELValSlist<VELString>>& propertyList) {
    if (!canDeliverIndication(handler)) {
        return false;
    }
    return indicationDeliveryService.deliverIndication(nameSpace, indication, handler,
                                                       propertyList);
}

void CIMXMLAdapter::encodeIndication(std::ostream& out, const VELString& nameSpace,
                                     const VELSmrPtr<IVelaObject>& indication,
                                     const VELSmrPtr<VELValSlist<VELString>>& propertyList) {
    if (indication.isNull()) {
        log("CIMIndicationDeliveryService::deliverIndication",
            "Indication Delivery failed due to null indication", 1);
        return;
    }
    streamIndicationDelivery(out, indication, propertyList,
                             context.getClass(nameSpace, indication->getClassName()));
}

void CIMXMLAdapter::streamIndicationDelivery(std::ostream& out,
                                             const VELSmrPtr<IVelaObject>& indication,
                                             const VELSmrPtr<VELValSlist<VELString>>& propertyList,
                                             const VELSmrPtr<IVelaClass>& indicationClass) {
    CIMIndicationDeliveryService::streamIndicationDelivery(out, indication, propertyList,
                                                           indicationClass);
}

// --------------------------------------------------------- header validation

const VELString* CIMXMLAdapter::_getCIMRequestHeader(const VELHTTPRequest& request,
                                                     const VELString& cimHeader) const {
    if (request.getMethod().beginsWith("M-")) {
        VELSmrPtr<VELHTTPExtHeaderGroup> group = request.getExtHeaderGroup(CIM_MAPPING_NAMESPACE);
        // The group belongs to the request, so the value outlives this call.
        if (!group.isNull()) {
            if (const VELString* value = group->getHeaderField(cimHeader)) {
                return value;
            }
        }
    }
    return request.getHeaderField(cimHeader);
}

bool CIMXMLAdapter::canProcess(const VELHTTPRequest& request) const {
    return _getCIMRequestHeader(request, "CIMOperation") != nullptr;
}

void CIMXMLAdapter::validateHTTPHeaders(VELHTTPRequest& request, VELHTTPResponse& response,
                                        VELGenericHTTPOStream& out) {
    if (!request.getMethod().beginsWith("M-")) {
        _validateHTTPHeadersAux(request, response, out);
        return;
    }
    VELSmrPtr<VELHTTPOperation::ExtHeaderGroupList> groups = request.findExtHeaderGroups();
    if (!groups->isEmpty()) {
        for (const VELSmrPtr<VELHTTPExtHeaderGroup>& group : *groups) {
            validateHTTPExtHeaders(request, response, out, group);
        }
        return;
    }
    rejectConnection(request, response, out, "510", "Not Extended");
}

void CIMXMLAdapter::_validateHTTPHeadersAux(VELHTTPRequest& request, VELHTTPResponse& response,
                                            VELGenericHTTPOStream& out) {
    ExtensionHeaderCheck c = checkExtensionHeaders(
        [&](const char* name) { return request.getHeaderField(name); }, false);
    if (c.error.isNull()) {
        return;
    }
    log("cimxmlpa::CIMXMLAdapter::_validateHTTPHeadersAux", "Rejecting request due to:  " + c.error,
        1);
    response.setReasonPhrase(c.reason);
    response.setStatus(c.status);
    response.setHeaderField("CIMError", c.cimError);
    response.setHeaderField("TARNErrorDetail", c.error);
    rejectConnection(request, response, out);
}

void CIMXMLAdapter::validateHTTPExtHeaders(VELHTTPRequest& request, VELHTTPResponse& response,
                                           VELGenericHTTPOStream& out,
                                           VELSmrPtr<VELHTTPExtHeaderGroup> extHeaderGroup) {
    const VELHTTPExtHeaderGroup& group = *extHeaderGroup;
    ExtensionHeaderCheck c =
        checkExtensionHeaders([&](const char* name) { return group.getHeaderField(name); }, true);
    if (c.error.isNull()) {
        return;
    }
    log("cimxmlpa::CIMXMLAdapter::validateHTTPExtHeaders", "Rejecting request due to:  " + c.error,
        1);
    response.setReasonPhrase(c.reason);
    response.setStatus(c.status);
    response.setHeaderField("CIMError", c.cimError);
    response.setHeaderField("TARNErrorDetail", c.error);
    rejectConnection(request, response, out);
}

void CIMXMLAdapter::validateCIMHTTPHeaders(VELGenericHTTPIStream&, VELGenericHTTPOStream& out,
                                           VELHTTPRequest& request, VELHTTPResponse& response) {
    const VELHTTPRequest::MethodEnum method = request.getMethodEnum();
    if (method != VELHTTPRequest::METHOD_POST && method != VELHTTPRequest::METHOD_MPOST) {
        response.setAllow("M-POST, POST");
        rejectConnection(request, response, out, "405", "Method Not Allowed");
    }
    // Substring tests on the raw values: quality values are not parsed.
    const VELString* accept = request.getAccept();
    if (accept &&
        !containsAny(*accept, {"*/*", "text/*", "text/xml", "application/*", "application/xml"})) {
        rejectConnection(request, response, out, "406", "Not Acceptable");
    }
    const VELString* charset = request.getAcceptCharset();
    if (charset && !charset->contains("utf-8")) {
        rejectConnection(request, response, out, "406", "Not Acceptable");
    }
    const VELString* encoding = request.getAcceptEncoding();
    if (encoding && (encoding->isNull() || encoding->contains("identity; q=0"))) {
        rejectConnection(request, response, out, "406", "Not Acceptable");
    }
    const VELString* language = request.getAcceptLanguage();
    if (language && !containsAny(*language, {"en-us", "*"})) {
        rejectConnection(request, response, out, "406", "Not Acceptable");
    }
    if (request.hasHeaderField("Accept-Ranges")) {
        rejectConnection(request, response, out, "406", "Not Acceptable");
    }
    if (request.hasHeaderField("If-Range")) {
        rejectConnection(request, response, out, "400", "Bad Request");
    }
    const VELString* contentType = request.getContentType();
    if (contentType && !containsAny(*contentType, {"text/xml", "application/xml"})) {
        rejectConnection(request, response, out, "400", "Bad Request");
    }
    if (contentType && contentType->contains("charset=") &&
        !containsAny(*contentType, {"charset=utf-8", "charset=\"utf-8\""})) {
        rejectConnection(request, response, out, "400", "Bad Request");
    }
}

bool CIMXMLAdapter::_validateCIMMethodAndCIMObject(const VELHTTPRequest& request,
                                                   VELCIMMessage& message,
                                                   const VELSmrPtr<MethodCallList>& methodList,
                                                   VELString& errMsg) const {
    const VELString* method = _getCIMRequestHeader(request, "CIMMethod");
    const VELString* object = _getCIMRequestHeader(request, "CIMObject");
    const bool multi = message.isMultiRequest();
    if (!multi && (!method || !object)) {
        errMsg = "CIMMethod and CIMObject must be present for a simple operation request";
        return false;
    }
    if (multi && (method || object)) {
        errMsg = "CIMMethod and CIMObject must not be present for a multi operation request";
        return false;
    }
    if (multi || methodList.isNull()) {
        return true;
    }
    for (const VELSmrPtr<VELCIMMethodCall>& call : *methodList) {
        if (!call.isNull() && !call->getMethodName().equalsIgnoreCase(*method)) {
            errMsg = "CIM request method (" + call->getMethodName() +
                     ") does not match CIMMethod value (" + *method + ")";
            return false;
        }
    }
    return true;
}

void CIMXMLAdapter::rejectConnection(VELHTTPRequest& request, VELHTTPResponse& response,
                                     VELGenericHTTPOStream& out, const VELString& httpCode,
                                     const VELString& httpMessage) {
    response.setReasonPhrase(httpMessage);
    response.setStatus(httpCode);
    rejectConnection(request, response, out);
}

void CIMXMLAdapter::rejectConnection(VELHTTPRequest& request, VELHTTPResponse& response,
                                     VELGenericHTTPOStream& out) {
    out.setStreamType(VELGenericHTTPOStream::NotEncoded);
    response.setContentLength(0);
    if (request.getProtocolEnum() == VELHTTPOperation::HTTP_1_0 &&
        response.getStatus().equals("405")) {
        response.setStatus("403");
        response.setReasonPhrase("Forbidden");
    } else if (request.getProtocolEnum() == VELHTTPOperation::HTTP_1_1) {
        response.setConnection("close");
    }
    response.writeResponseTo(out);
    out.flush();
    throw VELHTTPException(VELString(kRejectConnection), kInputRemaining, 4);
}

// -------------------------------------------------------- request processing

void CIMXMLAdapter::processInput(VELHTTPRequest&, VELGenericHTTPIStream&, VELGenericHTTPOStream&,
                                 VELSmrPtr<tarn::security::ISecurityToken>, bool&, bool&) {}

void CIMXMLAdapter::processInput(VELHTTPRequest& request, VELHTTPResponse& response,
                                 VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                                 VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                                 bool& persistConnection, bool& clientStreamsImported) {
    log(kProcessInput, "Request received", 4);
    if (!canProcess(request)) {
        log(kProcessInput,
            "Adapter Invocation Error: processInput() invoked for request which fails "
            "canProcess()",
            1);
        throw VELHTTPException(VELString(kProcessInput), kInputRemaining, 4);
    }
    if (!AuthenticationHelper::authenticateRequest(request, response, in, out, securityToken)) {
        return;  // already answered
    }
    validateHTTPHeaders(request, response, out);
    validateCIMHTTPHeaders(in, out, request, response);
    _chooseFraming(request, out, persistConnection);

    context.registerRequest(request);
    const IVelaOperationHandlerContext::CIMOMState state = context.getCurrentState();
    // A local client may be served while the object manager is still starting.
    const bool localOrStarted = in.isLoopback() || state == IVelaOperationHandlerContext::STARTED;
    const bool stopping = state == IVelaOperationHandlerContext::SHUTTING_DOWN ||
                          state == IVelaOperationHandlerContext::SHUT_DOWN;
    if (localOrStarted && !stopping) {
        processOperation(request, response, in, out, securityToken, persistConnection,
                         clientStreamsImported);
        log(kProcessInput, "Request processing completed normally", 4);
        return;
    }
    log(kProcessInput,
        localOrStarted ? "A request was thrown out, the CIMOM is shutting down."
                       : "A non loopback request was thrown out, the CIMOM is not started.",
        4);
    throw VELHTTPException(VELString(kProcessInput),
                           "The CIMOM is not fully initialized or shutting down.");
}

void CIMXMLAdapter::_chooseFraming(VELHTTPRequest& request, VELGenericHTTPOStream& out,
                                   bool persistConnection) const {
    switch (request.getProtocolEnum()) {
        case VELHTTPOperation::HTTP_1_1: {
            // The values are compared exactly: any other spelling, "chunked"
            // included, means not chunked.
            VELString setting;
            bool chunked = true;
            if (TARNConfigManager::getInstance().getString("TARN", "HTTPTransferEncoding",
                                                           setting) &&
                !setting.isNull() && !setting.equals("Chunked") && !setting.equals("Auto")) {
                chunked =
                    setting.equals("ConditionalChunked") &&
                    (request.hasHeaderField("TE") || request.hasHeaderField("Transfer-Encoding"));
            }
            if (chunked) {
                out.setStreamType(VELGenericHTTPOStream::Chunked);
            } else {
                out.setStreamType(persistConnection || request.isKeepAlive()
                                      ? VELGenericHTTPOStream::Full
                                      : VELGenericHTTPOStream::NotEncoded);
                out.setCloseOption(kCloseOption);
            }
            break;
        }
        case VELHTTPOperation::HTTP_1_0:
            out.setStreamType(VELGenericHTTPOStream::NotEncoded);
            out.setCloseOption(kCloseOption);
            break;
        default:
            break;
    }
}

void CIMXMLAdapter::_readBody(VELHTTPRequest& request, VELHTTPResponse& response,
                              VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                              std::string& body) {
    // Read as a signed 32-bit number: a length of 2 GiB or more wraps, and
    // is then refused as invalid (negative) or read as the length it wraps to.
    const std::int32_t contentLength = static_cast<std::int32_t>(request.getContentLength());
    if (request.getTransferEncoding() && contentLength < 1) {
        readChunkedBody(in, body);
        return;
    }
    const VELString announced = VELString::valueOf(static_cast<long long>(contentLength));
    if (contentLength <= 0) {
        log(kProcessOperation, "Rejecting request due to invalid Content-Length: " + announced, 1);
        rejectConnection(request, response, out, "400", "Bad Request");
    }
    if (contentLength > MAX_REQUEST_SIZE) {
        log(kProcessOperation,
            "Rejecting request that exceeds maximum supported size. Max = " +
                VELString::valueOf(static_cast<long long>(MAX_REQUEST_SIZE)) +
                "; Request = " + announced,
            1);
        rejectConnection(request, response, out, "413", "Request Entity Too Large");
    }
    const std::size_t expected = static_cast<std::size_t>(contentLength);
    body.reserve(expected + 1);  // room for the terminating NUL as well
    const std::size_t received = appendFrom(in, body, expected);
    if (received < expected) {
        log(kProcessOperation,
            "Content Length mismatch:  Expected " + announced + " bytes; Received " +
                VELString::valueOf(static_cast<unsigned long long>(received)),
            2);
        rejectConnection(request, response, out, "400", "Bad Request");
    }
}

VELSmrPtr<CIMXMLAdapter::MethodCallList> CIMXMLAdapter::getMethodCalls(VELCIMMessage& message,
                                                                       bool& isSimpleRequest,
                                                                       bool& isSimpleExpRequest) {
    auto calls = makeVELSmrPtr<MethodCallList>();
    const VELSmrPtr<MethodCallList>& requests = message.getSimpleRequestList();
    const VELSmrPtr<MethodCallList>& exports = message.getSimpleExportRequestList();
    if (!requests.isNull()) {
        isSimpleRequest = true;
        calls->reserve(requests->size());
        for (const VELSmrPtr<VELCIMMethodCall>& call : *requests) {
            calls->append(call);
        }
    } else if (!exports.isNull()) {
        isSimpleExpRequest = true;
        calls->reserve(exports->size());
        for (const VELSmrPtr<VELCIMMethodCall>& call : *exports) {
            calls->append(call);
        }
    }
    return calls;
}

void CIMXMLAdapter::processOperation(VELHTTPRequest& request, VELHTTPResponse& response,
                                     VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                                     VELSmrPtr<tarn::security::ISecurityToken> securityToken, bool&,
                                     bool& clientStreamsImported) {
    try {
        std::string body;
        _readBody(request, response, in, out, body);
        body.push_back('\0');
        VELCIMMessage message(std::move(body));

        if (!message.isWellFormed()) {
            log(kProcessOperation,
                "Rejecting message which is not well-formed XML. Verify if content lenght is "
                "correct and the XML is well-formed.",
                1);
            response.setHeaderField("CIMError", "request-not-well-formed");
            rejectConnection(request, response, out, "400", "Bad Request");
        }
        if (!CIMXMLUtil::validateCIMVersion(message.getCIMVersionId())) {
            log(kProcessOperation, "Unsupported CIM Version: " + message.getCIMVersionId(), 1);
            response.setHeaderField("CIMError", VELCIMStrings::CIM_ERROR_UNSUPPORTED_CIM_VERSION);
            rejectConnection(request, response, out, "501", "Not Implemented");
        }
        if (!CIMXMLUtil::validateDTDVersion(message.getDTDVersionId())) {
            log(kProcessOperation, "Unsupported DTD Version: " + message.getDTDVersionId(), 1);
            response.setHeaderField("CIMError", VELCIMStrings::CIM_ERROR_UNSUPPORTED_DTD_VERSION);
            rejectConnection(request, response, out, "501", "Not Implemented");
        }
        const VELString* protocolVersion = _getCIMRequestHeader(request, "CIMProtocolVersion");
        if (protocolVersion && !protocolVersion->equalsIgnoreCase(message.getProtocolVersion())) {
            const VELString detail = "message PROTOCOLVERSION (" + message.getProtocolVersion() +
                                     ") does not match CIMProtocolVersion value (" +
                                     *protocolVersion + ")";
            log("processOperation",
                "Rejecting request due to failure in validating PROTOCOLVERSION : " + detail, 1);
            response.setHeaderField("CIMError", "header-mismatch");
            response.setHeaderField("TARNErrorDetail", detail);
            rejectConnection(request, response, out, "400", "Bad Request");
        }

        context.logRequest(request);

        const bool multi = message.isMultiRequest();
        bool isSimpleRequest = false;
        bool isSimpleExpRequest = false;
        VELSmrPtr<MethodCallList> calls =
            getMethodCalls(message, isSimpleRequest, isSimpleExpRequest);
        if (!isSimpleRequest && !isSimpleExpRequest) {
            log("cimxmlpa::CIMXMLAdapter::processOperation()",
                "Rejecting message which contains neither SIMPLEREQ or SIMPLEEXPREQ", 1);
            rejectConnection(request, response, out, "400", "Bad Request");
        }
        VELString error;
        if (!_validateCIMMethodAndCIMObject(request, message, calls, error)) {
            log("processOperation",
                "Rejecting request due to failure in validating CIMMethod : " + error, 1);
            response.setHeaderField("CIMError", "header-mismatch");
            response.setHeaderField("TARNErrorDetail", error);
            rejectConnection(request, response, out, "400", "Bad Request");
        }

        if (multi) {
            response.setStatus("207");
            response.setReasonPhrase("Multistatus");
        }
        response.setContentType("application/xml; charset=\"utf-8\"");
        if (request.getMethodEnum() == VELHTTPRequest::METHOD_MPOST) {
            response.setHeaderField("Ext", " ");
            VELSmrPtr<VELHTTPExtHeaderGroup> requestGroup =
                request.getExtHeaderGroup(CIM_MAPPING_NAMESPACE);
            const int prefix = requestGroup.isNull() ? 0 : requestGroup->getPrefixNumber();
            response.addExtHeaderGroup(CIM_MAPPING_NAMESPACE, prefix)
                ->setHeaderField("CIMOperation", "MethodResponse");
        } else {
            response.setHeaderField("CIMOperation", "MethodResponse");
        }
        response.setHeaderField("Cache-Control", "no-cache");
        response.writeResponseTo(out);

        // The ID is any text the client chose; escaped, it cannot break the
        // document (a plain ID is written as it is).
        CIMXMLUtil::streamMessageHeader(out, CIMUtil::xmlEncode(message.getID()),
                                        message.getCIMVersionId(), message.getDTDVersionId());
        if (multi) {
            out << "<MULTIRSP>";
        }
        for (VELSmrPtr<VELCIMMethodCall>& call : *calls) {
            if (!call.isNull()) {
                _processMethodCall(call, out, securityToken, clientStreamsImported);
            }
        }
        if (multi) {
            out << "</MULTIRSP>";
        }
        CIMXMLUtil::streamMessageTrailer(out);
    } catch (const VelaBaseException& e) {
        log(kProcessOperation, "Caught " + e.getType() + ": " + e.getMessage(), 1);
        throw;
    }
}

void CIMXMLAdapter::_processMethodCall(
    VELSmrPtr<VELCIMMethodCall>& call, VELGenericHTTPOStream& out,
    const VELSmrPtr<tarn::security::ISecurityToken>& securityToken, bool clientStreamsImported) {
    const VELString name = call->getMethodName();
    const bool intrinsic = call->isIntrinsic();
    log(kProcessOperation, "Processing " + name + " request", 4);
    if (call->isAsync()) {
        streamNotSupported(out, name, intrinsic);
        log(kProcessOperation, "Asynchronous operations are not supported", 1);
        return;
    }
    OperationFactory::Operation operation =
        intrinsic ? OperationFactory::createIntrinsic(name, &context, call, securityToken)
                  : OperationFactory::createExtrinsic(&context, call, securityToken);
    if (operation.isNull()) {
        streamNotSupported(out, name, intrinsic);
        log(kProcessOperation, "Unsupported method name: " + name, 1);
        return;
    }
    VELString userName;
    VELSmrPtr<VELValSlist<VELString>> roles;
    AuthenticationHelper::getUserNameRoles(securityToken, userName, roles);
    operation->setClientInfo(makeVELSmrPtr<TARNClientInfo>(
        out.getLocalAddress(), out.getLocalPort(), out.getPeerAddress(), out.getPeerPort(),
        out.isSecure(), out.isLoopback(), userName, roles, &out, clientStreamsImported));
    operation->process(out, VELSmrPtr<IVelaOperation>(operation));
}

}  // namespace cimxmlpa

extern "C" IVelaProtocolAdapter* getVelaProtocolAdapter(IVelaOperationHandlerContext& context) {
    return new cimxmlpa::CIMXMLAdapter(context);
}
