// tarn::RequestParser: one HTTP request as it arrives on a connection. It
// parses the head (request line and header fields, kept for VELHTTPRequest)
// and then follows the framing of the body (Content-Length, or chunks up to
// the last one and its trailer fields) without keeping the body: it tells how
// many of the bytes it is given belong to the request. What follows the
// request is the next one.
//
// The framing rules are strict, since a request whose end two parties see
// differently lets a client smuggle a request past a proxy: a
// Transfer-Encoding must end in chunked, name it once, come without a
// Content-Length and in HTTP/1.1 (else 400); other transfer codings are not
// implemented (501). A chunked body's data is limited.
//
// The caller presents the bytes not yet taken again, with more appended,
// when the parser needs more (Beast resumes its search where it stopped).
#pragma once

// Beast 1.74's parser trips GCC 12's maybe-uninitialized analysis in
// sanitizer builds (a boost::optional returned as none); the code is fine.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <boost/beast/http/basic_parser.hpp>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#include <cstdint>
#include <limits>
#include <string_view>

#include "vela/VELHTTPRequest.h"

namespace tarn {

// What a look at the bytes of a request head found.
enum class HeadStep {
    NeedMore,        // the head is not complete yet
    Complete,        // the head is complete: the request can be served
    BadRequest,      // not a valid request head, or its framing is not (answered 400)
    TooLarge,        // larger than the head limit (answered 431)
    BadVersion,      // not HTTP/1.0 or HTTP/1.1 (answered 505)
    NotImplemented,  // a transfer coding other than chunked (answered 501)
};

class RequestParser : public boost::beast::http::basic_parser<true> {
  public:
    // headLimit: bytes of request line and header fields at most;
    // chunkedLimit: data bytes of a chunked body at most.
    explicit RequestParser(std::uint32_t headLimit,
                           std::uint64_t chunkedLimit = std::numeric_limits<std::uint64_t>::max());

    // Parses head bytes; used tells how many were taken (with the empty
    // lines a client may send between requests).
    HeadStep parseHead(std::string_view input, std::size_t& used);
    // After a complete head: follows the body's framing through input and
    // returns how many of its bytes belong to the request. Fewer than given
    // when the request ends within input, or when the rest is an incomplete
    // chunk line or trailer (present it again with more), or on a framing
    // error (see failed()).
    std::size_t parseBody(std::string_view input);

    // The request is complete: its last byte has been parsed.
    bool isComplete() const { return is_done(); }
    // The head or the body's framing is not valid HTTP; the request cannot
    // be delimited, so nothing after it can be read as the next one.
    bool failed() const { return static_cast<bool>(_error); }
    const boost::system::error_code& error() const { return _error; }
    // The status that answers a failed request: 413 for a chunked body over
    // its limit, else 400.
    int failureStatus() const;
    // Gives up on a request whose chunk line or trailer does not fit in the
    // bytes the connection keeps.
    void failTooLarge();
    // Body bytes that come next and are taken without being examined (the
    // rest of a Content-Length body or of a chunk's data): they may be read
    // straight to where they go, and then presented to parseBody.
    std::uint64_t dataAhead() const;

    // Of a complete head, before takeRequest.
    bool hasBody() const { return is_header_done() && !is_done(); }
    bool expectsContinue() const { return _expectContinue && _version == 11; }
    bool hasCredentials() const { return _hasCredentials; }

    // The request of a complete head (its fields are moved out).
    VELHTTPRequest takeRequest();

  private:
    using string_view = boost::beast::string_view;
    void on_request_impl(boost::beast::http::verb, string_view method, string_view target,
                         int version, boost::system::error_code&) override;
    void on_response_impl(int, string_view, int, boost::system::error_code&) override {}
    void on_field_impl(boost::beast::http::field, string_view name, string_view value,
                       boost::system::error_code&) override;
    void on_header_impl(boost::system::error_code&) override;
    void on_body_init_impl(const boost::optional<std::uint64_t>&,
                           boost::system::error_code&) override {}
    std::size_t on_body_impl(string_view body, boost::system::error_code&) override {
        return body.size();
    }
    void on_chunk_header_impl(std::uint64_t size, string_view,
                              boost::system::error_code&) override {
        _chunkLeft = size;
    }
    std::size_t on_chunk_body_impl(std::uint64_t remain, string_view body,
                                   boost::system::error_code&) override {
        _chunkLeft = remain - body.size();
        return body.size();
    }
    void on_finish_impl(boost::system::error_code&) override {}

    VELString _method;
    VELString _target;
    int _version = 11;
    VELHTTPRequest::Fields _fields;
    std::uint64_t _chunkedLimit;
    bool _transferCoded = false;  // a Transfer-Encoding field came
    bool _contentLength = false;  // a Content-Length field came
    bool _expectContinue = false;
    bool _hasCredentials = false;
    bool _notImplemented = false;  // a transfer coding other than chunked
    std::uint64_t _chunkLeft = 0;
    boost::system::error_code _error;
};

}  // namespace tarn
