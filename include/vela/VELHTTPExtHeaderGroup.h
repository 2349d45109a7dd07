// VELHTTPExtHeaderGroup: the headers of one HTTP extension (RFC 2774), as
// declared by a "Man", "Opt", "C-Man" or "C-Opt" header:
//
//   Man: "http://www.dmtf.org/cim/mapping/http/v1.0"; ns=73
//   73-CIMOperation: MethodCall
//
// The declaration binds the extension's namespace URI to a numeric prefix;
// the extension's headers then carry that prefix and a hyphen. A group holds
// those headers under their plain names, so that getHeaderField("CIMOperation")
// finds "73-CIMOperation" above. A declaration without "ns=" has no prefix;
// its headers are then the plain headers of the message.
//
// Groups of a request are made by VELHTTPOperation from the request headers;
// groups of a response are made with VELHTTPOperation::addExtHeaderGroup and
// written by VELHTTPResponse::writeResponseTo as a declaration followed by
// the prefixed headers.
#pragma once

#include <utility>
#include <vector>

#include "vela/VELString.h"

class VELHTTPExtHeaderGroup {
  public:
    // uri: the extension's namespace URI (without quotes); prefix: the decimal
    // prefix without the hyphen, empty for none; mandatory: declared by Man
    // (or C-Man) rather than Opt (or C-Opt); hopByHop: declared by C-Man or C-Opt.
    VELHTTPExtHeaderGroup(VELString uri, VELString prefix, bool mandatory = true,
                          bool hopByHop = false);

    const VELString& getNamespaceURI() const { return _uri; }
    // The prefix as declared ("73"), empty when the declaration had none.
    const VELString& getPrefix() const { return _prefix; }
    // The prefix as a number; 0 when there is none.
    int getPrefixNumber() const;
    bool isMandatory() const { return _mandatory; }
    bool isHopByHop() const { return _hopByHop; }

    // The value of the extension header with this plain name (no prefix),
    // compared without letter case; null when the group has no such header.
    const VELString* getHeaderField(const VELString& name) const;
    // Adds or replaces a header of the group (plain name, no prefix).
    void setHeaderField(const VELString& name, const VELString& value);
    // The headers of the group in the order they were added, plain names.
    const std::vector<std::pair<VELString, VELString>>& getHeaderFields() const { return _fields; }

    // The declaration header's value: "\"" + uri + "\"", then "; ns=" + prefix
    // when there is a prefix.
    VELString getDeclaration() const;
    // The declaration header's name: "Man", "Opt", "C-Man" or "C-Opt".
    const char* getDeclarationHeaderName() const;

  private:
    VELString _uri;
    VELString _prefix;
    bool _mandatory;
    bool _hopByHop;
    std::vector<std::pair<VELString, VELString>> _fields;
};
