#include "vela/VELHTTPRequest.h"

namespace {

// True when the comma-separated list value contains the token (any case).
bool hasToken(const VELString* value, std::string_view token) {
    if (!value) {
        return false;
    }
    std::string_view s = value->view();
    while (!s.empty()) {
        std::size_t comma = s.find(',');
        std::string_view item = s.substr(0, comma);
        while (!item.empty() && (item.front() == ' ' || item.front() == '\t')) {
            item.remove_prefix(1);
        }
        while (!item.empty() && (item.back() == ' ' || item.back() == '\t')) {
            item.remove_suffix(1);
        }
        if (VELString(item).equalsIgnoreCase(token)) {
            return true;
        }
        if (comma == std::string_view::npos) {
            break;
        }
        s.remove_prefix(comma + 1);
    }
    return false;
}

}  // namespace

VELHTTPRequest::VELHTTPRequest(VELString method, VELString requestURI, ProtocolEnum protocol,
                               const Fields& fields)
    : _method(std::move(method)), _methodEnum(toMethodEnum(_method)), _uri(std::move(requestURI)) {
    _protocol = protocol;
    _fields.reserve(fields.size());
    for (const auto& f : fields) {
        addHeaderField(f.first, f.second);
    }
    parseExtHeaderGroups();
}

VELHTTPRequest::MethodEnum VELHTTPRequest::toMethodEnum(const VELString& method) {
    static const std::pair<const char*, MethodEnum> kMethods[] = {
        {"GET", METHOD_GET},     {"HEAD", METHOD_HEAD},       {"POST", METHOD_POST},
        {"PUT", METHOD_PUT},     {"DELETE", METHOD_DELETE},   {"OPTIONS", METHOD_OPTIONS},
        {"TRACE", METHOD_TRACE}, {"CONNECT", METHOD_CONNECT}, {"M-POST", METHOD_MPOST}};
    for (const auto& m : kMethods) {
        if (method == m.first) {  // methods are case-sensitive
            return m.second;
        }
    }
    return METHOD_OTHER;
}

bool VELHTTPRequest::isChunked() const {
    const VELString* te = getTransferEncoding();
    if (!te) {
        return false;
    }
    std::string_view s = te->view();
    std::size_t comma = s.rfind(',');
    std::string_view last = comma == std::string_view::npos ? s : s.substr(comma + 1);
    while (!last.empty() && (last.front() == ' ' || last.front() == '\t')) {
        last.remove_prefix(1);
    }
    while (!last.empty() && (last.back() == ' ' || last.back() == '\t')) {
        last.remove_suffix(1);
    }
    return VELString(last).equalsIgnoreCase("chunked");
}

bool VELHTTPRequest::isKeepAlive() const {
    const VELString* c = getConnection();
    if (_protocol == HTTP_1_1) {
        return !hasToken(c, "close");
    }
    if (_protocol == HTTP_1_0) {
        return hasToken(c, "keep-alive");
    }
    return false;
}

bool VELHTTPRequest::expectsContinue() const {
    const VELString* e = getHeaderField("Expect");
    return _protocol == HTTP_1_1 && e && e->trim().equalsIgnoreCase("100-continue");
}
