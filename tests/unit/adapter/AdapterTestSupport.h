// The CIM-XML adapter on in-memory connections: an object manager context,
// one request exchange over a FakeSocket, and request messages.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "CIMXMLAdapter.h"
#include "FakeSocket.h"
#include "core/ObjectManagerContext.h"
#include "tarn/CClassSet.h"
#include "tarn/security/SecurityToken.h"
#include "vela/TARNConfigManager.h"

namespace adaptertest {

using cimxmlpa::CIMXMLAdapter;
using tarntest::FakeSocket;

inline VELSmrPtr<tarn::PortInfo> portInfo(const tarn::PortInfo::PortDataList& ports = {},
                                          const VELValSlist<VELString>& interfaces = {}) {
    auto info = makeVELSmrPtr<tarn::PortInfo>();
    info->setHostName("cimom.example.org");
    info->setPortData(ports);
    info->setIpV4InterfaceList(interfaces);
    return info;
}

// The schema of contexts that need none.
inline const tarn::CClassSet& noClasses() {
    static const tarn::CClassSet empty;
    return empty;
}

inline std::string message(std::string_view content, std::string_view id = "1001") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
           "DTDVERSION=\"2.0\"><MESSAGE ID=\"" +
           std::string(id) + "\" PROTOCOLVERSION=\"1.0\">" + std::string(content) +
           "</MESSAGE></CIM>";
}

inline std::string deleteClass(std::string_view id = "1001") {
    return message(
        "<SIMPLEREQ><IMETHODCALL NAME=\"DeleteClass\"><LOCALNAMESPACEPATH><NAMESPACE "
        "NAME=\"root\"/></LOCALNAMESPACEPATH></IMETHODCALL></SIMPLEREQ>",
        id);
}

// The answer to one call that no operation serves, in the whole message.
inline std::string notSupportedResponse(std::string_view id = "1001") {
    return message(
               "\n<SIMPLERSP><IMETHODRESPONSE NAME=\"DeleteClass\"><ERROR CODE=\"7\" "
               "DESCRIPTION=\"The requested operation is not supported.\" />\n"
               "</IMETHODRESPONSE></SIMPLERSP>",
               id) +
           "\n";
}

inline const VELHTTPRequest::Fields kDeleteClassHeaders = {
    {"Host", "localhost"},          {"Content-Type", "application/xml; charset=\"utf-8\""},
    {"CIMOperation", "MethodCall"}, {"CIMMethod", "DeleteClass"},
    {"CIMObject", "root"},
};

// The head and the body of what went to the socket (a chunked body decoded).
struct Written {
    std::string head;
    std::string body;

    explicit Written(const std::string& raw) {
        std::size_t end = std::min(raw.find("\r\n\r\n"), raw.size());
        head = raw.substr(0, end + 2);
        const std::string rest = end < raw.size() ? raw.substr(end + 4) : "";
        if (rest.empty() || head.find("Transfer-Encoding: chunked\r\n") == std::string::npos) {
            body = rest;
            return;
        }
        for (std::size_t at = 0, size; (size = std::stoul(rest.substr(at), nullptr, 16)) != 0;
             at = rest.find("\r\n", at) + 4 + size) {
            body += rest.substr(rest.find("\r\n", at) + 2, size);
        }
    }
    bool hasHeader(const std::string& line) const {
        return head.find("\r\n" + line + "\r\n") != std::string::npos;
    }
};

// One request through the adapter's processInput on an in-memory connection,
// as the HTTP server runs it (the body follows the head in the input).
class Exchange {
  public:
    Exchange(VELString method, VELHTTPRequest::Fields fields, std::string body,
             VELHTTPOperation::ProtocolEnum protocol = VELHTTPOperation::HTTP_1_1,
             bool loopback = true)
        : request(std::move(method), "/cimom", protocol, withLength(fields, body)),
          _body(std::move(body)),
          in(socket, _body),
          out(socket, protocol, request.isKeepAlive()),
          response(protocol) {
        socket.loopback = loopback;
        out.setResponse(&response);
        token->setAuthenticated("admin", VELValSlist<VELString>{"admin"}, "Basic");
    }

    // Runs the request; the exception the adapter threw, if any.
    std::optional<VelaBaseException> run(CIMXMLAdapter& adapter) {
        bool imported = false;
        try {
            adapter.processInput(request, response, in, out, token, out.persistConnection(),
                                 imported);
            out.finish();
        } catch (const VelaBaseException& e) {
            return e;
        }
        return std::nullopt;
    }
    Written written() const { return Written(socket.written); }

    FakeSocket socket;
    VELHTTPRequest request;

  private:
    static VELHTTPRequest::Fields withLength(VELHTTPRequest::Fields fields,
                                             const std::string& body) {
        for (const auto& f : fields) {
            if (f.first.equalsIgnoreCase("Content-Length") ||
                f.first.equalsIgnoreCase("Transfer-Encoding")) {
                return fields;
            }
        }
        fields.emplace_back("Content-Length", VELString::valueOf(body.size()));
        return fields;
    }
    std::string _body;

  public:
    VELGenericHTTPIStream in;
    VELGenericHTTPOStream out;
    VELHTTPResponse response;
    VELSmrPtr<tarn::security::SecurityToken> token = makeVELSmrPtr<tarn::security::SecurityToken>();
};

// Sets the configuration for one test and clears it afterwards.
class ScopedConfiguration {
  public:
    explicit ScopedConfiguration(const std::string& text) {
        TARNConfigManager::getInstance().loadFromString(text);
    }
    ~ScopedConfiguration() { TARNConfigManager::getInstance().loadFromString(""); }
};

}  // namespace adaptertest
