#include "CIMIndicationDeliveryService.h"

#include <algorithm>
#include <atomic>
#include <sstream>
#include <string>
#include <string_view>

#include "CIMXMLUtil.h"
#include "vela/AdapterUtils.h"
#include "vela/CIMApi.h"
#include "vela/IVelaInstanceName.h"
#include "vela/IVelaNameSpacePath.h"
#include "vela/IVelaProperty.h"
#include "vela/IVelaValue.h"
#include "vela/TARNConfigManager.h"
#include "vela/VELCriticalSectionGuard.h"
#include "vela/VELSleep.h"
#include "vela/VELdatetime.h"
#include "vela/VelaBaseException.h"

namespace cimxmlpa {

const VELString CIMIndicationDeliveryService::CONTENT_TYPE =
    "Content-Type: application/xml; charset=\"utf-8\"";
const VELString CIMIndicationDeliveryService::CIM_EXPORT = "CIMExport: MethodRequest";
const VELString CIMIndicationDeliveryService::CIM_EXPORT_METHOD =
    "CIMExportMethod: ExportIndication";
const VELString CIMIndicationDeliveryService::INDICATION_SETTINGS = "Indication";
const VELString CIMIndicationDeliveryService::DELIVERY_ATTEMPT_TIMEOUT_PROPERTY =
    "DeliveryAttemptTimeout";
const VELString CIMIndicationDeliveryService::OUTBOUND_CONNECTION_PORTS_PROPERTY =
    "OutboundConnectionPorts";
const VELString CIMIndicationDeliveryService::INTEROP = "interop";
const VELString CIMIndicationDeliveryService::CIM_INDICATION_SERVICE = "CIM_IndicationService";
const VELString CIMIndicationDeliveryService::DELIVERY_RETRY_ATTEMPTS_PROPERTY =
    "DeliveryRetryAttempts";
const VELString CIMIndicationDeliveryService::DELIVERY_RETRY_INTERVAL_PROPERTY =
    "DeliveryRetryInterval";

std::uint32_t CIMIndicationDeliveryService::deliveryRetryAttempts = 3;
std::uint32_t CIMIndicationDeliveryService::deliveryRetryInterval = 30;
pthread_once_t CIMIndicationDeliveryService::deliveryRetryOptionsFlag = PTHREAD_ONCE_INIT;

namespace {

constexpr std::string_view kDeliver = "CIMIndicationDeliveryService::deliverIndication";
constexpr std::string_view kSetup = "CIMIndicationDeliveryService::setupDeliveryRetryOptions";
constexpr std::string_view kService = "CIMIndicationDeliveryService";

void log(std::string_view source, std::string_view message, int severity) {
    AdapterUtils::log(source, message, severity);
}

// Numbers the log lines of deliveries.
std::atomic<unsigned> indicationCounter{0};

// The service whose first delivery runs the once-only setup; the setup runs
// on the thread that calls pthread_once, which set this just before.
thread_local CIMIndicationDeliveryService* settingUp = nullptr;

void runSetupDeliveryRetryOptions() {
    settingUp->setupDeliveryRetryOptions();
}

// The string property of the instance, trimmed; empty when it is absent,
// not set or not a string.
VELString stringProperty(const IVelaObject& instance, const VELString& name) {
    try {
        VELSmrPtr<IVelaProperty> property = instance.getProperty(name);
        if (property.isNull() || property->getValue().isNull() || !property->getValue()->isSet()) {
            return VELString();
        }
        return property->getValue()->getString().trim();
    } catch (const VelaBaseException&) {
        return VELString();
    }
}

VELString localNameSpace(const IVelaObject& instance) {
    const VELSmrPtr<IVelaInstanceName>& path = instance.getPath();
    if (path.isNull() || path->getNameSpacePath().isNull()) {
        return VELString();
    }
    return path->getNameSpacePath()->getNameSpace();
}

// The unsigned value of the instance's property; false when the property
// is absent or null.
bool unsignedProperty(const IVelaObject& instance, const VELString& name, std::uint64_t& value) {
    VELSmrPtr<IVelaProperty> property = instance.getProperty(name);
    if (property.isNull() || property->getValue().isNull() || !property->getValue()->isSet()) {
        return false;
    }
    value = property->getValue()->getUnsigned();
    return true;
}

}  // namespace

CIMIndicationDeliveryService::CIMIndicationDeliveryService(IVelaOperationHandlerContext& context)
    : context(context) {
    loadOutboundConnectionConfiguration();
}

bool CIMIndicationDeliveryService::loadOutboundConnectionConfiguration() {
    VELString ports;
    if (!TARNConfigManager::getInstance().getString(INDICATION_SETTINGS,
                                                    OUTBOUND_CONNECTION_PORTS_PROPERTY, ports) ||
        ports.trim().isNull()) {
        return false;
    }
    VELString error;
    if (!outboundPorts.add(ports.trim(), &error)) {
        AdapterUtils::log("CIMIndicationDeliveryService::loadOutboundConnectionConfiguration",
                          "Ignoring " + INDICATION_SETTINGS + " " +
                              OUTBOUND_CONNECTION_PORTS_PROPERTY + " '" + ports + "': " + error,
                          2);
        return false;
    }
    return true;
}

bool CIMIndicationDeliveryService::deliverIndication(const VELString& nameSpace,
                                                     const VELSmrPtr<IVelaObject>& indication,
                                                     const VELSmrPtr<IVelaObject>& handler,
                                                     const VELSmrPtr<PropertyList>& propertyList) {
    if (handler.isNull()) {
        log(kDeliver, "Indication Delivery failed due to null destination", 1);
    }
    if (indication.isNull()) {
        log(kDeliver, "Indication Delivery failed due to null indication", 1);
    }
    if (handler.isNull() || indication.isNull()) {
        return false;
    }

    settingUp = this;
    pthread_once(&deliveryRetryOptionsFlag, &runSetupDeliveryRetryOptions);
    settingUp = nullptr;

    const unsigned number = ++indicationCounter;
    const VELString name = stringProperty(*handler, "Name");
    const VELString destination = stringProperty(*handler, "Destination");

    VELString baseURL;
    VELString path;
    if (!processURL(destination, baseURL, path)) {
        log(kDeliver, "Invalid destination: " + destination, 1);
        return false;
    }

    VELSmrPtr<IVelaClass> indicationClass;
    try {
        indicationClass = context.getClass(nameSpace, indication->getClassName());
        if (indicationClass.isNull()) {
            indicationClass =
                context.getClass(localNameSpace(*handler), indication->getClassName());
        }
    } catch (const VelaBaseException& e) {
        // Written without the class: it only adds class origins, which
        // export requests leave out anyway.
        log(kDeliver, "Exception: " + e.getMessage(), 1);
    }

    const bool trace = getTraceIndications();
    // Tracing on passes 0, which the client reads as "no limit"; the
    // configured size goes only with tracing off. Kept so deliberately.
    const std::uint32_t traceSize = trace ? 0 : getTraceIndicationsMaxSize();
    const bool secure = destination.beginsWith("https://");

    std::uint32_t timeout = DELIVERY_ATTEMPT_TIMEOUT_VALUE;
    TARNConfigManager::getInstance().getUint32(INDICATION_SETTINGS,
                                               DELIVERY_ATTEMPT_TIMEOUT_PROPERTY, timeout);
    if (timeout == 0) {
        log(kDeliver,
            "Delivery attempt timeout of 0 (zero) is not allowed and is being"
            " changed to the default value of " +
                VELString::valueOf(DELIVERY_ATTEMPT_TIMEOUT_VALUE) + " seconds",
            2);
        timeout = DELIVERY_ATTEMPT_TIMEOUT_VALUE;
    } else if (timeout > MAX_SECONDS) {
        log(kDeliver,
            "Requested indication initial delivery timeout of " + VELString::valueOf(timeout) +
                " is being reduced to " + VELString::valueOf(MAX_SECONDS) +
                " because of implementation limits",
            2);
        timeout = MAX_SECONDS;
    }

    const VELValSlist<VELString> headers{CONTENT_TYPE, CIM_EXPORT, CIM_EXPORT_METHOD};
    bool success = false;
    for (std::uint32_t attempt = 0;; ++attempt) {
        VELSmrPtr<VELHTTPClient> client;
        success = false;
        try {
            client = VELSmrPtr<VELHTTPClient>(new VELHTTPClient(baseURL, timeout * 1000, secure));
            std::ostringstream body;
            streamIndicationDelivery(body, indication, propertyList, indicationClass);
            if (client->getSocket() != nullptr) {
                client->getSocket()->setTrace(trace, traceSize);
            }
            setLocalPort(client);
            VELSmrPtr<std::istream> response = client->post(path, body.str(), headers);
            success = parseResponse(response.get());
        } catch (const VelaBaseException& e) {
            log(kDeliver, "Exception: " + e.getMessage(), 1);
        } catch (...) {
            log(kDeliver, "Exception occurred", 1);
        }
        if (!client.isNull()) {
            // An abortive close frees a bound local port at once.
            if (client->getSocket() != nullptr) {
                client->getSocket()->setCloseOption(0);
            }
            client->close();
        }
        if (success || attempt >= deliveryRetryAttempts) {
            break;
        }
        VELSleep(deliveryRetryInterval * 1000);
    }

    log(kDeliver,
        "Indication #" + VELString::valueOf(number) + " delivery to destination '" + name + "' " +
            (success ? "succeeded" : "failed"),
        success ? 4 : 1);
    return success;
}

void CIMIndicationDeliveryService::streamIndicationDelivery(
    std::ostream& out, const VELSmrPtr<IVelaObject>& indication,
    const VELSmrPtr<PropertyList>& propertyList, const VELSmrPtr<IVelaClass>& indicationClass) {
    out << "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
        << "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\""
        << VELdatetime::getAbsoluteTime() << "\" PROTOCOLVERSION=\"1.0\">\n"
        << "<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\"> \n"
        << "<EXPPARAMVALUE NAME=\"NewIndication\">\n";
    CIMXMLUtil::streamInstance(out, indication, propertyList, true, indicationClass, false, false);
    out << "\n"
        << "</EXPPARAMVALUE>\n"
        << "</EXPMETHODCALL></SIMPLEEXPREQ></MESSAGE></CIM>";
}

bool CIMIndicationDeliveryService::processURL(const VELString& destination, VELString& baseURL,
                                              VELString& path) {
    VELString scheme;
    VELString rest;
    if (destination.beginsWith("http://")) {
        scheme = "http";
        rest = destination.substring(7);
    } else if (destination.beginsWith("https://")) {
        scheme = "https";
        rest = destination.substring(8);
    } else if (destination.contains(":/")) {
        return false;
    } else {
        scheme = "http";
        rest = destination;
    }
    const std::size_t slash = rest.find('/');
    VELString authority;
    if (slash == 0 || slash == VELString::npos) {
        authority = rest;
        path = "/";
    } else {
        authority = rest.substring(0, slash);
        path = "/" + rest.substring(slash + 1);
    }
    baseURL = scheme + "://" + authority;
    return true;
}

void CIMIndicationDeliveryService::setLocalPort(VELSmrPtr<VELHTTPClient>& client) {
    VELCriticalSectionGuard guard(localPortLock);
    if (outboundPorts.isEmpty()) {
        return;
    }
    for (std::uint32_t port : outboundPorts) {
        const VELString text = "Local port localhost:" + VELString::valueOf(port);
        if (client->bindToLocalPort(port)) {
            log(kService, text + " successfully set for outbound connections", 3);
            return;
        }
        log(kService, text + " unsuccessfully set for outbound connections", 3);
    }
    throw VelaBaseException("Indication", "TARN", "CIMIndicationDeliveryService",
                            "Error binding to local port.", -1);
}

void CIMIndicationDeliveryService::setupDeliveryRetryOptions() {
    try {
        VELSmrPtr<CIMApi::InstanceList> instances =
            CIMApi(context).enumerateInstances(INTEROP, CIM_INDICATION_SERVICE);
        if (instances->size() > 1) {
            log(kSetup,
                "Found " + VELString::valueOf(instances->size()) + " instances of class " +
                    INTEROP + ":" + CIM_INDICATION_SERVICE +
                    " but expected only 1. Taking the values from the first non-null instance.",
                2);
        }
        for (const VELSmrPtr<IVelaObject>& instance : *instances) {
            if (instance.isNull()) {
                continue;
            }
            std::uint64_t value = 0;
            if (unsignedProperty(*instance, DELIVERY_RETRY_ATTEMPTS_PROPERTY, value)) {
                deliveryRetryAttempts =
                    static_cast<std::uint32_t>(std::min<std::uint64_t>(value, UINT32_MAX));
            }
            if (unsignedProperty(*instance, DELIVERY_RETRY_INTERVAL_PROPERTY, value)) {
                if (value > MAX_SECONDS) {
                    log(kSetup,
                        "Requested indication retry delivery timeout of " +
                            VELString::valueOf(static_cast<unsigned long long>(value)) +
                            " is being reduced to " + VELString::valueOf(MAX_SECONDS) +
                            " because of implementation limits",
                        2);
                    value = MAX_SECONDS;
                }
                deliveryRetryInterval = static_cast<std::uint32_t>(value);
            }
            break;
        }
    } catch (const VelaBaseException& e) {
        log(kSetup, "Exception: " + e.getMessage(), 1);
    } catch (...) {
        log(kSetup, "Exception occurred", 1);
    }
}

bool CIMIndicationDeliveryService::parseResponse(std::istream* response) {
    if (response == nullptr) {
        return false;
    }
    std::string line;
    std::getline(*response, line);
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return line.find("200 OK") != std::string::npos;
}

bool CIMIndicationDeliveryService::getTraceIndications() {
    bool trace = false;
    TARNConfigManager::getInstance().getBool("Log", "TraceIndications", trace);
    return trace;
}

std::uint32_t CIMIndicationDeliveryService::getTraceIndicationsMaxSize() {
    std::uint32_t size = 0;
    TARNConfigManager::getInstance().getUint32("Log", "TraceIndicationsBufSize", size);
    return size;
}

}  // namespace cimxmlpa
