// Helpers that wrap CIM-XML fragments into whole request messages, as
// clients send them.
#pragma once

#include <string>
#include <string_view>

#include "vela/CVelaValue.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaObject.h"
#include "vela/VELCIMMessage.h"

namespace xmltest {

inline std::string message(std::string_view content, std::string_view id = "1001") {
    std::string s = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n";
    s += "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"";
    s += id;
    s += "\" PROTOCOLVERSION=\"1.0\">";
    s += content;
    s += "</MESSAGE></CIM>";
    return s;
}

inline std::string localNameSpace(std::string_view ns) {
    std::string s = "<LOCALNAMESPACEPATH>";
    std::size_t start = 0;
    while (start <= ns.size()) {
        std::size_t slash = ns.find('/', start);
        std::string_view part =
            ns.substr(start, slash == std::string_view::npos ? slash : slash - start);
        s += "<NAMESPACE NAME=\"";
        s += part;
        s += "\"/>";
        if (slash == std::string_view::npos) {
            break;
        }
        start = slash + 1;
    }
    s += "</LOCALNAMESPACEPATH>";
    return s;
}

// One intrinsic call in a SIMPLEREQ.
inline std::string intrinsic(std::string_view method, std::string_view params,
                             std::string_view ns = "root/cimv2") {
    std::string s = "<SIMPLEREQ><IMETHODCALL NAME=\"";
    s += method;
    s += "\">";
    s += localNameSpace(ns);
    s += params;
    s += "</IMETHODCALL></SIMPLEREQ>";
    return message(s);
}

inline std::string iparam(std::string_view name, std::string_view content) {
    return "<IPARAMVALUE NAME=\"" + std::string(name) + "\">" + std::string(content) +
           "</IPARAMVALUE>";
}

// One extrinsic call on the target (a LOCALINSTANCEPATH or LOCALCLASSPATH).
inline std::string extrinsic(std::string_view method, std::string_view target,
                             std::string_view params) {
    std::string s = "<SIMPLEREQ><METHODCALL NAME=\"";
    s += method;
    s += "\">";
    s += target;
    s += params;
    s += "</METHODCALL></SIMPLEREQ>";
    return message(s);
}

// An instance with one property of each given text.
inline std::string instance(std::string_view cls, std::string_view properties) {
    return "<INSTANCE CLASSNAME=\"" + std::string(cls) + "\">" + std::string(properties) +
           "</INSTANCE>";
}

inline std::string property(std::string_view name, std::string_view type, std::string_view value) {
    return "<PROPERTY NAME=\"" + std::string(name) + "\" TYPE=\"" + std::string(type) +
           "\"><VALUE>" + std::string(value) + "</VALUE></PROPERTY>";
}

// Escapes text for XML content, as a client does for embedded objects.
inline std::string escaped(std::string_view s) {
    std::string out;
    for (char c : s) {
        switch (c) {
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '&':
                out += "&amp;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

inline std::string text(const VELSmrPtr<IVelaValue>& v) {
    return v.isNull() ? std::string("<null>") : v->toString().str();
}

}  // namespace xmltest
