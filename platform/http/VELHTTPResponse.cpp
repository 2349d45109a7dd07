#include "vela/VELHTTPResponse.h"

#include "vela/VELGenericHTTPOStream.h"

namespace {

bool isThreeDigits(const VELString& s) {
    return s.length() == 3 && s[0] >= '1' && s[0] <= '9' && s[1] >= '0' && s[1] <= '9' &&
           s[2] >= '0' && s[2] <= '9';
}

// A header name must be an HTTP token; anything else is not written.
bool isTokenName(const VELString& name) {
    if (name.isNull()) {
        return false;
    }
    for (char c : name.view()) {
        if (c <= ' ' || c >= 127 || c == ':' || c == '(' || c == ')' || c == ',' || c == ';' ||
            c == '"' || c == '/' || c == '[' || c == ']' || c == '?' || c == '=' || c == '{' ||
            c == '}' || c == '<' || c == '>' || c == '@' || c == '\\') {
            return false;
        }
    }
    return true;
}

// Writes "name: value" CRLF; line breaks and NULs in the value become blanks
// so that no value can end the head or add a header of its own.
void appendField(std::string& head, std::string_view name, std::string_view value) {
    head.append(name);
    head.append(": ");
    for (char c : value) {
        head.push_back(c == '\r' || c == '\n' || c == '\0' ? ' ' : c);
    }
    head.append("\r\n");
}

bool hasCloseToken(std::string_view v) {
    while (!v.empty()) {
        std::size_t comma = v.find(',');
        VELString item = VELString(v.substr(0, comma)).trim();
        if (item.equalsIgnoreCase("close")) {
            return true;
        }
        if (comma == std::string_view::npos) {
            break;
        }
        v.remove_prefix(comma + 1);
    }
    return false;
}

}  // namespace

const char* VELHTTPResponse::standardReasonPhrase(int status) {
    switch (status) {
        case 100:
            return "Continue";
        case 200:
            return "OK";
        case 201:
            return "Created";
        case 204:
            return "No Content";
        case 207:
            return "Multi-Status";
        case 400:
            return "Bad Request";
        case 401:
            return "Unauthorized";
        case 403:
            return "Forbidden";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 406:
            return "Not Acceptable";
        case 408:
            return "Request Timeout";
        case 411:
            return "Length Required";
        case 413:
            return "Request Entity Too Large";
        case 415:
            return "Unsupported Media Type";
        case 417:
            return "Expectation Failed";
        case 429:
            return "Too Many Requests";
        case 431:
            return "Request Header Fields Too Large";
        case 500:
            return "Internal Server Error";
        case 501:
            return "Not Implemented";
        case 503:
            return "Service Unavailable";
        case 505:
            return "HTTP Version Not Supported";
        case 510:
            return "Not Extended";
        default:
            return "Unknown";
    }
}

VELString VELHTTPResponse::getReasonPhrase() const {
    if (!_reason.isNull()) {
        return _reason;
    }
    return standardReasonPhrase(_status.atoi());
}

namespace {

struct Head {
    std::string text;
    bool closes;
};

Head buildHead(const VELHTTPResponse& r, const VELGenericHTTPOStream& out) {
    Head h;
    const auto type = out.getStreamType();
    const bool http10 = r.getProtocolEnum() == VELHTTPOperation::HTTP_1_0;
    h.text.reserve(256);
    h.text.append(http10 ? "HTTP/1.0 " : "HTTP/1.1 ");
    if (isThreeDigits(r.getStatus())) {
        h.text.append(r.getStatus().view());
        h.text.push_back(' ');
        VELString reason = r.getReasonPhrase();
        for (char c : reason.view()) {
            h.text.push_back(c == '\r' || c == '\n' || c == '\0' ? ' ' : c);
        }
    } else {
        h.text.append("500 Internal Server Error");
    }
    h.text.append("\r\n");

    bool hasLength = false;
    const VELString* connection = nullptr;
    for (const auto& f : r.getHeaderFields()) {
        if (!isTokenName(f.first) || f.first.equalsIgnoreCase("Transfer-Encoding")) {
            continue;  // the stream type decides the transfer coding
        }
        if (f.first.equalsIgnoreCase("Connection")) {
            connection = &f.second;
            continue;
        }
        if (f.first.equalsIgnoreCase("Content-Length")) {
            if (type != VELGenericHTTPOStream::NotEncoded) {
                continue;  // Chunked has none, Full writes the real one at the end
            }
            hasLength = true;
        }
        appendField(h.text, f.first.view(), f.second.view());
    }
    for (const auto& g : r.getExtHeaderGroups()) {
        appendField(h.text, g->getDeclarationHeaderName(), g->getDeclaration().view());
        for (const auto& f : g->getHeaderFields()) {
            if (!isTokenName(f.first)) {
                continue;
            }
            VELString name = g->getPrefix().isNull() ? f.first : g->getPrefix() + "-" + f.first;
            appendField(h.text, name.view(), f.second.view());
        }
    }
    if (type == VELGenericHTTPOStream::Chunked) {
        h.text.append("Transfer-Encoding: chunked\r\n");
    }
    const bool closeDelimited = type == VELGenericHTTPOStream::NotEncoded && !hasLength;
    h.closes = closeDelimited || !out.getPersistConnection() ||
               (connection && hasCloseToken(connection->view()));
    if (h.closes) {
        h.text.append("Connection: close\r\n");
    } else if (connection) {
        appendField(h.text, "Connection", connection->view());
    } else if (http10) {
        h.text.append("Connection: keep-alive\r\n");
    }
    return h;
}

}  // namespace

VELString VELHTTPResponse::formatHead(const VELGenericHTTPOStream& out) const {
    return VELString(buildHead(*this, out).text);
}

void VELHTTPResponse::writeResponseTo(VELGenericHTTPOStream& out) const {
    if (out.isHeadWritten()) {
        return;
    }
    Head h = buildHead(*this, out);
    out.sendHead(std::move(h.text), h.closes);
}
