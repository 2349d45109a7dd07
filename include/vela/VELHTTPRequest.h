// VELHTTPRequest: the head of one HTTP request as the server received it:
// method (standard or extension, such as "M-POST"), request target, protocol
// version and header fields. The body is not part of it: it follows in the
// VELGenericHTTPIStream handed over with the request.
#pragma once

#include <utility>
#include <vector>

#include "vela/VELHTTPOperation.h"

class VELHTTPRequest : public VELHTTPOperation {
  public:
    enum MethodEnum {
        METHOD_OTHER = 0,  // any extension method other than M-POST
        METHOD_GET,
        METHOD_HEAD,
        METHOD_POST,
        METHOD_PUT,
        METHOD_DELETE,
        METHOD_OPTIONS,
        METHOD_TRACE,
        METHOD_CONNECT,
        METHOD_MPOST
    };
    using Fields = std::vector<std::pair<VELString, VELString>>;

    VELHTTPRequest() = default;
    // Header fields in the order received; repeated names are joined.
    VELHTTPRequest(VELString method, VELString requestURI, ProtocolEnum protocol,
                   const Fields& fields);

    // The method exactly as sent ("POST", "M-POST").
    const VELString& getMethod() const { return _method; }
    MethodEnum getMethodEnum() const { return _methodEnum; }
    static MethodEnum toMethodEnum(const VELString& method);
    // The request target ("/cimom").
    const VELString& getRequestURI() const { return _uri; }

    // Content negotiation headers; null when absent.
    const VELString* getAccept() const { return getHeaderField("Accept"); }
    const VELString* getAcceptCharset() const { return getHeaderField("Accept-Charset"); }
    const VELString* getAcceptEncoding() const { return getHeaderField("Accept-Encoding"); }
    const VELString* getAcceptLanguage() const { return getHeaderField("Accept-Language"); }
    const VELString* getTransferEncoding() const { return getHeaderField("Transfer-Encoding"); }

    // True when the body is sent in chunks (Transfer-Encoding ends in "chunked").
    bool isChunked() const;
    // Whether the client asks to keep the connection: HTTP/1.1 unless
    // "Connection: close", HTTP/1.0 only with "Connection: keep-alive".
    bool isKeepAlive() const;
    // True for an HTTP/1.1 request with "Expect: 100-continue".
    bool expectsContinue() const;

  private:
    VELString _method;
    MethodEnum _methodEnum = METHOD_OTHER;
    VELString _uri;
};
