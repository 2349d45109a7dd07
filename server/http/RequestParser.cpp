#include "http/RequestParser.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/error.hpp>
#include <cctype>
#include <limits>
#include <string>
#include <vector>

namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace tarn {

namespace {

// The elements of a comma-separated header list, without blanks around them
// and without empty ones, in lower case.
void listElements(std::string_view value, std::vector<std::string>& out) {
    while (!value.empty()) {
        std::size_t comma = value.find(',');
        std::string_view element = value.substr(0, comma);
        std::size_t b = element.find_first_not_of(" \t");
        std::size_t e = element.find_last_not_of(" \t");
        if (b != std::string_view::npos) {
            std::string lower(element.substr(b, e - b + 1));
            for (char& c : lower) {
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            }
            out.push_back(std::move(lower));
        }
        value.remove_prefix(comma == std::string_view::npos ? value.size() : comma + 1);
    }
}

}  // namespace

RequestParser::RequestParser(std::uint32_t headLimit, std::uint64_t chunkedLimit)
    : _chunkedLimit(chunkedLimit) {
    header_limit(headLimit);
    // Bodies are limited by the connection, not here. (Not boost::none:
    // Beast 1.74 compares the length with the optional limit and then always
    // refuses.)
    body_limit(std::numeric_limits<std::uint64_t>::max());
    _fields.reserve(16);
}

HeadStep RequestParser::parseHead(std::string_view input, std::size_t& used) {
    used = 0;
    if (!got_some()) {
        // Line ends between requests are ignored.
        while (used < input.size() && (input[used] == '\r' || input[used] == '\n')) {
            ++used;
        }
        input.remove_prefix(used);
    }
    if (input.empty()) {
        return HeadStep::NeedMore;
    }
    boost::system::error_code ec;
    used += put(boost::asio::const_buffer(input.data(), input.size()), ec);
    if (ec == http::error::need_more) {
        return HeadStep::NeedMore;
    }
    if (ec) {
        _error = ec;
        if (ec == http::error::bad_version) {
            return HeadStep::BadVersion;
        }
        if (_notImplemented) {
            return HeadStep::NotImplemented;
        }
        return ec == http::error::header_limit ? HeadStep::TooLarge : HeadStep::BadRequest;
    }
    return is_header_done() ? HeadStep::Complete : HeadStep::NeedMore;
}

std::size_t RequestParser::parseBody(std::string_view input) {
    eager(true);
    std::size_t used = 0;
    while (used < input.size() && !is_done() && !_error) {
        boost::system::error_code ec;
        std::size_t n =
            put(boost::asio::const_buffer(input.data() + used, input.size() - used), ec);
        used += n;
        if (ec == http::error::need_more || (!ec && n == 0)) {
            break;
        }
        if (ec) {
            _error = ec;
        }
    }
    return used;
}

std::uint64_t RequestParser::dataAhead() const {
    if (!is_header_done() || is_done() || _error) {
        return 0;
    }
    if (chunked()) {
        return _chunkLeft;
    }
    auto left = content_length_remaining();
    return left ? *left : 0;
}

void RequestParser::failTooLarge() {
    _error = http::error::header_limit;
}

int RequestParser::failureStatus() const {
    return _error == http::error::body_limit ? 413 : 400;
}

void RequestParser::on_header_impl(boost::system::error_code& ec) {
    if (!_transferCoded) {
        return;
    }
    // Beast has already refused Transfer-Encoding: chunked together with a
    // Content-Length; the rest of the rules are checked here.
    std::vector<std::string> codings;
    for (const auto& field : _fields) {
        if (field.first.equalsIgnoreCase("Transfer-Encoding")) {
            listElements(field.second.view(), codings);
        }
    }
    std::size_t chunkedCount = 0;
    for (const std::string& c : codings) {
        chunkedCount += c == "chunked" ? 1 : 0;
    }
    if (!chunked() || codings.empty() || codings.back() != "chunked" || chunkedCount != 1 ||
        _contentLength || _version != 11) {
        // Where the body ends cannot be known for certain.
        ec = http::error::bad_transfer_encoding;
        return;
    }
    if (codings.size() > 1) {
        _notImplemented = true;
        ec = http::error::bad_transfer_encoding;
        return;
    }
    body_limit(_chunkedLimit);
}

VELHTTPRequest RequestParser::takeRequest() {
    return VELHTTPRequest(std::move(_method), std::move(_target),
                          _version == 10 ? VELHTTPOperation::HTTP_1_0 : VELHTTPOperation::HTTP_1_1,
                          _fields);
}

void RequestParser::on_request_impl(http::verb, string_view method, string_view target, int version,
                                    boost::system::error_code&) {
    _method = VELString(std::string_view(method.data(), method.size()));
    _target = VELString(std::string_view(target.data(), target.size()));
    _version = version;
}

void RequestParser::on_field_impl(http::field field, string_view name, string_view value,
                                  boost::system::error_code&) {
    if (is_header_done()) {
        return;  // a trailer field: the adapter does not see those
    }
    _transferCoded = _transferCoded || field == http::field::transfer_encoding;
    _contentLength = _contentLength || field == http::field::content_length;
    if (field == http::field::expect) {
        _expectContinue =
            beast::iequals(beast::string_view(value.data(), value.size()), "100-continue");
    }
    _hasCredentials = _hasCredentials || field == http::field::authorization;
    _fields.emplace_back(VELString(std::string_view(name.data(), name.size())),
                         VELString(std::string_view(value.data(), value.size())));
}

}  // namespace tarn
