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
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
           "DTDVERSION=\"2.0\"><MESSAGE ID=\"" +
           std::string(id) + "\" PROTOCOLVERSION=\"1.0\">" + std::string(content) +
           "</MESSAGE></CIM>";
}

// LOCALNAMESPACEPATH of "a/b": one NAMESPACE per part, empty parts too.
inline std::string localNameSpace(std::string_view ns) {
    std::string s = "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"";
    for (char c : ns) {
        s += c == '/' ? std::string("\"/><NAMESPACE NAME=\"") : std::string(1, c);
    }
    return s + "\"/></LOCALNAMESPACEPATH>";
}

// One intrinsic call in a SIMPLEREQ.
inline std::string intrinsic(std::string_view method, std::string_view params,
                             std::string_view ns = "root/cimv2") {
    return message("<SIMPLEREQ><IMETHODCALL NAME=\"" + std::string(method) + "\">" +
                   localNameSpace(ns) + std::string(params) + "</IMETHODCALL></SIMPLEREQ>");
}

inline std::string iparam(std::string_view name, std::string_view content) {
    return "<IPARAMVALUE NAME=\"" + std::string(name) + "\">" + std::string(content) +
           "</IPARAMVALUE>";
}

// One extrinsic call on the target (a LOCALINSTANCEPATH or LOCALCLASSPATH).
inline std::string extrinsic(std::string_view method, std::string_view target,
                             std::string_view params) {
    return message("<SIMPLEREQ><METHODCALL NAME=\"" + std::string(method) + "\">" +
                   std::string(target) + std::string(params) + "</METHODCALL></SIMPLEREQ>");
}

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
        out += c == '<'   ? "&lt;"
               : c == '>' ? "&gt;"
               : c == '&' ? "&amp;"
               : c == '"' ? "&quot;"
                          : std::string(1, c);
    }
    return out;
}

}  // namespace xmltest
