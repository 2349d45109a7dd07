// Fuzz target: request heads as the server parses them, the request object
// built from them (extension-header groups, credentials, framing) and the
// response head written back with the request's header values in it.
// Nothing may crash, and no value may break the response head's framing.
#include <boost/beast/http.hpp>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "FakeSocket.h"
#include "vela/AuthenticationHelper.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

namespace http = boost::beast::http;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    http::request_parser<http::empty_body> parser;
    parser.header_limit(16384);
    parser.body_limit(std::numeric_limits<std::uint64_t>::max());
    boost::system::error_code ec;
    parser.put(boost::asio::buffer(data, size), ec);
    if (ec || !parser.is_header_done()) {
        return 0;
    }
    auto& m = parser.get();
    VELHTTPRequest::Fields fields;
    for (const auto& f : m) {
        fields.emplace_back(
            VELString(std::string_view(f.name_string().data(), f.name_string().size())),
            VELString(std::string_view(f.value().data(), f.value().size())));
    }
    VELHTTPRequest request(
        VELString(std::string_view(m.method_string().data(), m.method_string().size())),
        VELString(std::string_view(m.target().data(), m.target().size())),
        m.version() == 10 ? VELHTTPOperation::HTTP_1_0 : VELHTTPOperation::HTTP_1_1, fields);
    (void)request.isKeepAlive();
    (void)request.isChunked();
    (void)request.getContentLength();
    VELHTTPResponse response(request.getProtocolEnum());
    for (const auto& g : request.getExtHeaderGroups()) {
        auto r = response.addExtHeaderGroup(g->getNamespaceURI(), g->getPrefix(), g->isMandatory());
        for (const auto& f : g->getHeaderFields()) {
            r->setHeaderField(f.first, f.second);
        }
    }
    if (const VELString* a = request.getHeaderField("Authorization")) {
        VELString user;
        VELString password;
        if (AuthenticationHelper::decodeBasic(*a, user, password)) {
            response.setHeaderField("X-User", user);
        }
    }
    response.setHeaderField("TARNErrorDetail", request.getRequestURI());
    response.setStatus(request.getMethod());
    response.setReasonPhrase(request.getRequestURI());

    tarntest::FakeSocket socket;
    VELGenericHTTPOStream out(socket, request.getProtocolEnum(), request.isKeepAlive());
    out.setStreamType(VELGenericHTTPOStream::Full);
    response.writeResponseTo(out);
    out.finish();
    // Exactly one empty line, at the end: no value ended the head early.
    const std::string& head = socket.written;
    if (head.find("\r\n\r\n") != head.size() - 4 || head.find('\0') != std::string::npos) {
        std::abort();
    }
    return 0;
}
