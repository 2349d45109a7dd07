// A small protocol adapter for the HTTP server's tests and benchmark. It
// claims requests with a "TestOp" header (plain, or in an M-POST extension
// group of TEST_EXTENSION), authenticates them through the platform, frames
// the response as "X-Framing" asks and then does what TestOp names:
//   ping      answers "pong"
//   echo      answers the body it read (Content-Length or chunked)
//   info      answers "key=value" lines about the request and connection
//   generate  answers X-Size bytes written in pieces of X-Piece bytes, each flushed
//   wait      sends "started\n" at once, then reads the whole body, then "done:<bytes>\n"
//   reject    answers 400 with an empty body and throws VELHTTPException
//   fail      throws a VelaBaseException
#include <sstream>
#include <string>

#include "vela/AuthenticationHelper.h"
#include "vela/IVelaOperationHandlerContext.h"
#include "vela/IVelaProtocolAdapter.h"
#include "vela/VELGenericHTTPIStream.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPException.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

namespace {

const char* const TEST_EXTENSION = "http://tarn.example/test";
const char* const CIM_MAPPING = "http://www.dmtf.org/cim/mapping/http/v1.0";

class TestAdapter : public IVelaProtocolAdapter {
  public:
    explicit TestAdapter(IVelaOperationHandlerContext& context) : _context(context) {}

    void processInput(VELHTTPRequest&, VELGenericHTTPIStream&, VELGenericHTTPOStream&,
                      VELSmrPtr<tarn::security::ISecurityToken>, bool&, bool&) override {}

    void processInput(VELHTTPRequest& request, VELHTTPResponse& response, VELGenericHTTPIStream& in,
                      VELGenericHTTPOStream& out, VELSmrPtr<tarn::security::ISecurityToken> token,
                      bool& persistConnection, bool&) override {
        if (!AuthenticationHelper::authenticateRequest(request, response, in, out, token)) {
            return;
        }
        _context.registerRequest(request);
        _context.logRequest(request);
        auto state = _context.getCurrentState();
        if ((!in.isLoopback() && state != IVelaOperationHandlerContext::STARTED) ||
            state == IVelaOperationHandlerContext::SHUTTING_DOWN ||
            state == IVelaOperationHandlerContext::SHUT_DOWN) {
            throw VELHTTPException("TestAdapter", "The server is not running", 4);
        }
        const VELString op = *testHeader(request, "TestOp");
        const VELString* framing = request.getHeaderField("X-Framing");
        if (framing && framing->equalsIgnoreCase("Full")) {
            out.setStreamType(VELGenericHTTPOStream::Full);
        } else if (framing && framing->equalsIgnoreCase("NotEncoded")) {
            out.setStreamType(VELGenericHTTPOStream::NotEncoded);
        } else if (framing && framing->equalsIgnoreCase("Chunked")) {
            out.setStreamType(VELGenericHTTPOStream::Chunked);
        }
        response.setContentType("text/plain");
        if (op == "ping") {
            response.writeResponseTo(out);
            out << "pong";
        } else if (op == "echo") {
            std::string body = readBody(request, in);
            response.writeResponseTo(out);
            out.write(body.data(), static_cast<std::streamsize>(body.size()));
        } else if (op == "info") {
            response.writeResponseTo(out);
            info(request, in, out, token, persistConnection);
        } else if (op == "generate") {
            long long size =
                request.getHeaderField("X-Size") ? request.getHeaderField("X-Size")->atol() : 0;
            long long piece =
                request.getHeaderField("X-Piece") ? request.getHeaderField("X-Piece")->atol() : 0;
            if (piece <= 0) {
                piece = size > 0 ? size : 1;
            }
            response.writeResponseTo(out);
            std::string block;
            for (long long done = 0; done < size; done += piece) {
                long long n = std::min(piece, size - done);
                block.resize(static_cast<std::size_t>(n));
                for (long long i = 0; i < n; ++i) {
                    block[static_cast<std::size_t>(i)] = "0123456789abcdef"[(done + i) % 16];
                }
                out.write(block.data(), static_cast<std::streamsize>(n));
                out.flush();
            }
        } else if (op == "wait") {
            out.setStreamType(VELGenericHTTPOStream::Chunked);
            response.writeResponseTo(out);
            out << "started\n";
            out.flush();
            std::string body = readBody(request, in);
            out << "done:" << body.size() << "\n";
        } else if (op == "reject") {
            out.setStreamType(VELGenericHTTPOStream::NotEncoded);
            response.setStatus("400");
            response.setReasonPhrase("Bad Request");
            response.setContentLength(0);
            response.setConnection("close");
            response.writeResponseTo(out);
            out.flush();
            throw VELHTTPException("TestAdapter", "Input stream may have data remaining", 4);
        } else if (op == "fail") {
            throw VelaBaseException("Test", "TestAdapter", "processInput", "failing on request", 1);
        } else {
            response.setStatus(400);
            response.writeResponseTo(out);
            out << "unknown TestOp '" << op << "'\n";
        }
    }

    bool canProcess(const VELHTTPRequest& request) const override {
        return testHeader(request, "TestOp") != nullptr;
    }

    VELString getProtocol() const override { return "test"; }
    VELString getAdapterName() const override { return "Test Adapter"; }
    VELString getVersion() const override { return "1.0"; }
    bool getValidated() const override { return false; }
    std::uint16_t getStatus() const override { return 1; }
    std::uint16_t getCommunicationMechanism() const override { return 1; }
    VELString getCommunicationMechanismDescription() const override { return "Test"; }
    bool isManagementCommunicationMechanism() const override { return false; }
    VELSmrPtr<VELValSlist<std::uint16_t>> getFunctionalProfilesSupported() const override {
        return makeVELSmrPtr<VELValSlist<std::uint16_t>>();
    }
    VELSmrPtr<VELValSlist<VELString>> getFunctionalProfileDescriptions() const override {
        return makeVELSmrPtr<VELValSlist<VELString>>();
    }
    VELSmrPtr<VELValSlist<std::uint16_t>> getAuthenticationMechanismsSupported() const override {
        return makeVELSmrPtr<VELValSlist<std::uint16_t>>(VELValSlist<std::uint16_t>{3});
    }
    VELSmrPtr<VELValSlist<VELString>> getAuthenticationMechanismDescriptions() const override {
        return makeVELSmrPtr<VELValSlist<VELString>>(VELValSlist<VELString>{"Basic"});
    }
    std::uint16_t getAdvertisedType() const override { return 1; }
    VELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>> getURL() const override {
        auto urls = makeVELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>>();
        auto info = _context.getPortInfo();
        auto ports = info->getPortData();  // held: the loop must not outlive it
        for (const auto& p : *ports) {
            urls->append(makeVELSmrPtr<VelaURL>(p.isSecure() ? "https" : "http",
                                                info->getHostName(), info->getInteropNamespace(),
                                                p.getPort()));
        }
        return urls;
    }

  private:
    // The header, plain or in the extension group of the test or CIM mapping.
    static const VELString* testHeader(const VELHTTPRequest& request, const char* name) {
        if (request.getMethod().beginsWith("M-")) {
            for (const char* uri : {TEST_EXTENSION, CIM_MAPPING}) {
                auto group = request.getExtHeaderGroup(uri);
                if (group && group->getHeaderField(name)) {
                    return group->getHeaderField(name);
                }
            }
        }
        return request.getHeaderField(name);
    }

    static std::string readBody(const VELHTTPRequest& request, VELGenericHTTPIStream& in) {
        std::string body;
        if (request.isChunked()) {
            for (;;) {
                std::string line;
                std::getline(in, line);
                unsigned long size = std::stoul(line.empty() ? "0" : line, nullptr, 16);
                if (!in || size == 0) {
                    break;
                }
                std::size_t at = body.size();
                body.resize(at + size);
                in.read(body.data() + at, static_cast<std::streamsize>(size));
                in.ignore(2);
            }
            return body;
        }
        std::int64_t length = request.getContentLength();
        if (length > 0) {
            body.resize(static_cast<std::size_t>(length));
            in.read(body.data(), length);
            body.resize(static_cast<std::size_t>(in.gcount()));
        }
        return body;
    }

    void info(const VELHTTPRequest& request, VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
              const VELSmrPtr<tarn::security::ISecurityToken>& token, bool persist) {
        VELString user;
        VELSmrPtr<VELValSlist<VELString>> roles;
        AuthenticationHelper::getUserNameRoles(token, user, roles);
        out << "method=" << request.getMethod() << "\n"
            << "methodEnum=" << request.getMethodEnum() << "\n"
            << "protocol=" << request.getProtocol() << "\n"
            << "uri=" << request.getRequestURI() << "\n"
            << "loopback=" << in.isLoopback() << "\n"
            << "secure=" << out.isSecure() << "\n"
            << "local=" << out.getLocalAddress() << ":" << out.getLocalPort() << "\n"
            << "peer=" << in.getPeerAddress() << ":" << in.getPeerPort() << "\n"
            << "user=" << user << "\n"
            << "roles=";
        for (std::size_t i = 0; i < roles->size(); ++i) {
            out << (i ? "," : "") << roles->at(i);
        }
        out << "\n"
            << "state=" << IVelaOperationHandlerContext::stateName(_context.getCurrentState())
            << "\n"
            << "persist=" << persist << "\n"
            << "class="
            << (_context.getClass("root/cimv2", "CIM_ManagedElement") ? "found" : "null") << "\n";
        auto groups = request.findExtHeaderGroups();
        out << "groups=" << groups->size() << "\n";
        auto cim = request.getExtHeaderGroup(CIM_MAPPING);
        if (cim) {
            out << "cim-prefix=" << cim->getPrefix() << "\n";
            for (const char* h : {"CIMOperation", "CIMMethod", "CIMObject"}) {
                const VELString* v = cim->getHeaderField(h);
                out << "cim-" << h << "=" << (v ? *v : VELString("(none)")) << "\n";
            }
        }
        auto urls = getURL();
        for (const auto& url : *urls) {
            out << "url=" << url->toString() << "\n";
        }
    }

    IVelaOperationHandlerContext& _context;
};

}  // namespace

extern "C" IVelaProtocolAdapter* getVelaProtocolAdapter(IVelaOperationHandlerContext& context) {
    return new TestAdapter(context);
}
