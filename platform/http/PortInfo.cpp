#include "tarn/PortInfo.h"

#include <unistd.h>

#include <climits>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>

#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::PortInfo";

[[noreturn]] void fail(const VELString& name, const VELString& why) {
    throw VelaBaseException("Configuration", WHO, "loadPortInfo", name + ": " + why, 1);
}

bool nameIs(const pugi::xml_node& n, const char* name) {
    return VELString(n.name()).equalsIgnoreCase(name);
}

pugi::xml_attribute attribute(const pugi::xml_node& n, const char* name) {
    for (pugi::xml_attribute a : n.attributes()) {
        if (VELString(a.name()).equalsIgnoreCase(name)) {
            return a;
        }
    }
    return pugi::xml_attribute();
}

VELString text(const pugi::xml_node& n) {
    return VELString(n.child_value()).trim();
}

std::vector<VELString> interfaceNames(const pugi::xml_node& list, const VELString& name) {
    std::vector<VELString> names;
    for (pugi::xml_node i : list.children()) {
        if (i.type() != pugi::node_element) {
            continue;
        }
        if (!nameIs(i, "interface")) {
            fail(name, VELString("unexpected element <") + i.name() + "> in <" + list.name() + ">");
        }
        VELString v = text(i);
        if (v.isNull()) {
            fail(name, "empty <interface>");
        }
        names.push_back(v);
    }
    return names;
}

void appendEscaped(std::ostringstream& os, const VELString& s) {
    for (char c : s.view()) {
        switch (c) {
            case '<':
                os << "&lt;";
                break;
            case '>':
                os << "&gt;";
                break;
            case '&':
                os << "&amp;";
                break;
            case '"':
                os << "&quot;";
                break;
            default:
                os << c;
        }
    }
}

}  // namespace

PortInfo::PortInfo() : _hostName(systemHostName()) {}

PortInfo::~PortInfo() = default;

VELSmrPtr<PortInfo::PortDataList> PortInfo::getPortData() const {
    std::lock_guard<std::mutex> lock(_m);
    return makeVELSmrPtr<PortDataList>(_ports);
}

void PortInfo::setPortData(const PortDataList& ports) {
    std::lock_guard<std::mutex> lock(_m);
    _ports = ports;
}

VELString PortInfo::getInteropNamespace() const {
    std::lock_guard<std::mutex> lock(_m);
    return _interop;
}

VELString PortInfo::getHostName() const {
    std::lock_guard<std::mutex> lock(_m);
    return _hostName;
}

VELSmrPtr<VELValSlist<VELString>> PortInfo::getIpV4InterfaceList() const {
    std::lock_guard<std::mutex> lock(_m);
    return makeVELSmrPtr<VELValSlist<VELString>>(_ipv4);
}

void PortInfo::setHostName(const VELString& hostName) {
    std::lock_guard<std::mutex> lock(_m);
    _hostName = hostName;
}

void PortInfo::setInteropNamespace(const VELString& nameSpace) {
    std::lock_guard<std::mutex> lock(_m);
    _interop = nameSpace;
}

void PortInfo::setIpV4InterfaceList(const VELValSlist<VELString>& interfaces) {
    std::lock_guard<std::mutex> lock(_m);
    _ipv4 = interfaces;
}

void PortInfo::loadPortInfo(const VELString& path) {
    std::ifstream in(path.str(), std::ios::binary);
    if (!in) {
        fail(path, "cannot be read");
    }
    std::ostringstream content;
    content << in.rdbuf();
    loadPortInfoFromString(VELString(content.str()), path);
}

void PortInfo::loadPortInfoFromString(const VELString& xml, const VELString& name) {
    pugi::xml_document doc;
    pugi::xml_parse_result r = doc.load_buffer(xml.c_str(), xml.length());
    if (!r) {
        fail(name, VELString("not well-formed XML: ") + r.description() + " at offset " +
                       VELString::valueOf(static_cast<long long>(r.offset)));
    }
    pugi::xml_node root = doc.document_element();
    if (!nameIs(root, "PortSettings")) {
        fail(name, "the root element must be <PortSettings>");
    }
    PortDataList ports;
    VELString host = systemHostName();
    VELString interop = "interop";
    VELValSlist<VELString> ipv4;
    for (pugi::xml_node n : root.children()) {
        if (n.type() != pugi::node_element) {
            continue;
        }
        if (nameIs(n, "hostname")) {
            host = text(n);
            if (host.isNull()) {
                fail(name, "empty <hostname>");
            }
        } else if (nameIs(n, "interopNamespace")) {
            interop = text(n);
            if (interop.isNull()) {
                fail(name, "empty <interopNamespace>");
            }
        } else if (nameIs(n, "ipv4Interfaces")) {
            for (auto& i : interfaceNames(n, name)) {
                ipv4.append(i);
            }
        } else if (nameIs(n, "port")) {
            std::uint32_t number = 0;
            VELString numberText(attribute(n, "number").value());
            if (!TARNConfigManager::parseUint32(numberText, number) || number == 0 ||
                number > 65535) {
                fail(name, "a <port> needs a number attribute between 1 and 65535, not '" +
                               numberText + "'");
            }
            bool secure = false;
            bool slp = true;
            for (auto [attr, value] : {std::pair{"secure", &secure}, std::pair{"slp", &slp}}) {
                pugi::xml_attribute a = attribute(n, attr);
                if (a && !TARNConfigManager::parseBool(VELString(a.value()), *value)) {
                    fail(name, VELString("attribute ") + attr + " of port " + numberText +
                                   " must be true or false, not '" + a.value() + "'");
                }
            }
            PortData::InterfaceList interfaces;
            for (pugi::xml_node c : n.children()) {
                if (c.type() != pugi::node_element) {
                    continue;
                }
                if (!nameIs(c, "interfaces")) {
                    fail(name, VELString("unexpected element <") + c.name() + "> in <port>");
                }
                for (auto& i : interfaceNames(c, name)) {
                    interfaces.push_back(makeVELSmrPtr<PortData::Interface>(i));
                }
            }
            for (const PortData& p : ports) {
                if (p.getPort() == number) {
                    fail(name, "port " + numberText + " is listed twice");
                }
            }
            ports.emplace_back(number, secure, slp, std::move(interfaces));
        } else {
            fail(name, VELString("unexpected element <") + n.name() + ">");
        }
    }
    std::lock_guard<std::mutex> lock(_m);
    _ports = std::move(ports);
    _hostName = host;
    _interop = interop;
    _ipv4 = std::move(ipv4);
}

VELString PortInfo::toXml() const {
    std::lock_guard<std::mutex> lock(_m);
    std::ostringstream os;
    os << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<PortSettings>\n  <hostname>";
    appendEscaped(os, _hostName);
    os << "</hostname>\n  <interopNamespace>";
    appendEscaped(os, _interop);
    os << "</interopNamespace>\n";
    if (!_ipv4.isEmpty()) {
        os << "  <ipv4Interfaces>\n";
        for (const auto& i : _ipv4) {
            os << "    <interface>";
            appendEscaped(os, i);
            os << "</interface>\n";
        }
        os << "  </ipv4Interfaces>\n";
    }
    for (const PortData& p : _ports) {
        os << "  <port number=\"" << p.getPort() << "\" secure=\""
           << (p.isSecure() ? "true" : "false") << "\" slp=\""
           << (p.isSLPAdvertised() ? "true" : "false") << "\"";
        if (p.getInterfaceList().empty()) {
            os << "/>\n";
            continue;
        }
        os << ">\n    <interfaces>\n";
        for (const auto& i : p.getInterfaceList()) {
            os << "      <interface>";
            appendEscaped(os, i->getInterfaceName());
            os << "</interface>\n";
        }
        os << "    </interfaces>\n  </port>\n";
    }
    os << "</PortSettings>\n";
    return VELString(os.str());
}

VELString PortInfo::systemHostName() {
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') {
        return "localhost";
    }
    return VELString(name);
}

}  // namespace tarn
