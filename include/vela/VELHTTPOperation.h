// VELHTTPOperation: what HTTP requests and responses have in common: the
// protocol version, the header fields and the extension-header groups.
// Header names are compared without letter case; the order of the fields is
// kept for writing. A header that occurs several times is one field whose
// values are joined by ", " (as HTTP defines for list-valued headers).
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "vela/VELHTTPExtHeaderGroup.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class VELHTTPOperation {
  public:
    enum ProtocolEnum { PROTOCOL_UNKNOWN = 0, HTTP_1_0 = 10, HTTP_1_1 = 11 };
    using ExtHeaderGroupList = VELValSlist<VELSmrPtr<VELHTTPExtHeaderGroup>>;

    virtual ~VELHTTPOperation();

    ProtocolEnum getProtocolEnum() const { return _protocol; }
    // "HTTP/1.0", "HTTP/1.1", or empty when unknown.
    VELString getProtocol() const;
    void setProtocolEnum(ProtocolEnum protocol) { _protocol = protocol; }

    // The value of the header with this name, null when absent.
    const VELString* getHeaderField(const VELString& name) const;
    bool hasHeaderField(const VELString& name) const { return getHeaderField(name) != nullptr; }
    // Adds the header, or replaces the value of an existing one (keeping its
    // place). Line breaks in values are replaced by blanks when written.
    void setHeaderField(const VELString& name, const VELString& value);
    // Adds a value: a new field, or ", " + value appended to an existing one.
    void addHeaderField(const VELString& name, const VELString& value);
    void removeHeaderField(const VELString& name);
    const std::vector<std::pair<VELString, VELString>>& getHeaderFields() const { return _fields; }

    // Typed access to common headers; the getters return null when absent.
    const VELString* getContentType() const { return getHeaderField("Content-Type"); }
    void setContentType(const VELString& value) { setHeaderField("Content-Type", value); }
    // The Content-Length as a number; -1 when absent or not a decimal number.
    std::int64_t getContentLength() const;
    void setContentLength(std::int64_t length);
    const VELString* getConnection() const { return getHeaderField("Connection"); }
    void setConnection(const VELString& value) { setHeaderField("Connection", value); }
    void setAllow(const VELString& value) { setHeaderField("Allow", value); }

    // Extension-header groups (RFC 2774). Of a request: those its Man, Opt,
    // C-Man and C-Opt headers declare, in the order of declaration (never
    // null, possibly empty). Of a response: those added with addExtHeaderGroup.
    VELSmrPtr<ExtHeaderGroupList> findExtHeaderGroups() const;
    // The same groups without a copy, valid as long as this message.
    const std::vector<VELSmrPtr<VELHTTPExtHeaderGroup>>& getExtHeaderGroups() const {
        return _groups;
    }
    // The group declared for this namespace URI (compared without letter
    // case), null when none is.
    VELSmrPtr<VELHTTPExtHeaderGroup> getExtHeaderGroup(const VELString& uri) const;
    // Adds a group (used for responses) and returns it for filling. A numeric
    // prefix is written with at least two digits ("ns=07").
    VELSmrPtr<VELHTTPExtHeaderGroup> addExtHeaderGroup(const VELString& uri,
                                                       const VELString& prefix,
                                                       bool mandatory = true);
    VELSmrPtr<VELHTTPExtHeaderGroup> addExtHeaderGroup(const VELString& uri, int prefix,
                                                       bool mandatory = true);

  protected:
    VELHTTPOperation() = default;
    VELHTTPOperation(const VELHTTPOperation&) = default;
    VELHTTPOperation& operator=(const VELHTTPOperation&) = default;

    // Builds the groups from the declaration headers of this message; a
    // malformed declaration is skipped (it declares nothing).
    void parseExtHeaderGroups();

    ProtocolEnum _protocol = HTTP_1_1;
    std::vector<std::pair<VELString, VELString>> _fields;
    std::vector<VELSmrPtr<VELHTTPExtHeaderGroup>> _groups;
};
