// tarnd: the TARN CIM object manager.
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <tuple>

#include "core/AdapterRegistry.h"
#include "core/CommandLine.h"
#include "core/ObjectManagerContext.h"
#include "core/SignalWaiter.h"
#include "core/StateDirectory.h"
#include "core/WorkerPool.h"
#include "handler/OperationHandler.h"
#include "http/HTTPServer.h"
#include "indication/IndicationProviders.h"
#include "indication/IndicationService.h"
#include "interop/InteropProviders.h"
#include "metrics/Metrics.h"
#include "metrics/MetricsAdapter.h"
#include "metrics/ProcessMetrics.h"
#include "providers/EnumeratingAssociationProvider.h"
#include "providers/ProviderRegistry.h"
#include "providers/RepositoryAssociationProvider.h"
#include "providers/RepositoryInstanceProvider.h"
#include "pull/EnumerationRegistry.h"
#include "repository/DefaultSchema.h"
#include "repository/Repository.h"
#include "security/LoginGuard.h"
#include "security/TLSCertificate.h"
#include "security/UsersFile.h"
#include "tarn/TraceLog.h"
#include "vela/AdapterUtils.h"
#include "vela/AuthenticationHelper.h"
#include "vela/TARNConfigManager.h"
#include "vela/VelaBaseException.h"

namespace {

const char* const WHO = "tarnd";

bool exists(const VELString& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0;
}

// An adapter installed beside the binary: ../lib, then the same directory.
VELString defaultAdapterPath(const char* library) {
    char exe[PATH_MAX] = {};
    ssize_t n = ::readlink("/proc/self/exe", exe, sizeof exe - 1);
    if (n <= 0) {
        return VELString();
    }
    std::filesystem::path dir =
        std::filesystem::path(std::string(exe, static_cast<std::size_t>(n))).parent_path();
    for (const auto& candidate : {dir / ".." / "lib" / library, dir / library}) {
        if (std::filesystem::exists(candidate)) {
            return VELString(candidate.lexically_normal().string());
        }
    }
    return VELString();
}

// The port options replace the first port of their kind, add one, or (0) remove it.
void applyPortOption(tarn::PortInfo::PortDataList& ports, std::optional<std::uint16_t> option,
                     bool secure) {
    if (!option) {
        return;
    }
    auto it = std::find_if(ports.begin(), ports.end(),
                           [&](const tarn::PortData& p) { return p.isSecure() == secure; });
    if (*option == 0) {
        if (it != ports.end()) {
            ports.erase(it);
        }
    } else if (it != ports.end()) {
        it->setPort(*option);
    } else {
        ports.emplace_back(*option, secure, true);
    }
}

VELString configuredFile(const tarn::StateDirectory& state, const char* section, const char* key,
                         const char* fallback) {
    VELString name;
    if (!TARNConfigManager::getInstance().getString(section, key, name) || name.isNull()) {
        name = fallback;
    }
    return state.path(name);
}

// The schema directory: --schema-dir, else [Repository] SchemaDir, else the installed one.
VELString schemaDirectory(const tarn::CommandLine& options) {
    VELString configured = options.schemaDir;
    if (configured.isNull()) {
        TARNConfigManager::getInstance().getString("Repository", "SchemaDir", configured);
    }
    return tarn::DefaultSchema::locate(configured.trim());
}

// Opens the repository of the state directory, building it from the schema
// directory's MOF when it is new (all or nothing: an interrupted first start
// builds it again on the next), and makes its catalog the process's catalog.
std::unique_ptr<tarn::Repository> openRepository(const tarn::StateDirectory& state,
                                                 const tarn::CommandLine& options,
                                                 std::shared_ptr<tarn::SchemaCatalog> catalog) {
    VELString path = state.path(tarn::Repository::FILE_NAME);
    tarn::Repository::Options repositoryOptions;
    repositoryOptions.catalog = std::move(catalog);
    auto repository = std::make_unique<tarn::Repository>(path, repositoryOptions);
    VELString schemaDir = schemaDirectory(options);
    if (tarn::DefaultSchema::ensure(*repository, schemaDir)) {
        AdapterUtils::log(WHO, "Repository " + path + " created from the schema in " + schemaDir,
                          3);
    }
    tarn::ISchemaCatalog::install(repository->catalog());
    auto current = repository->catalog()->current();
    AdapterUtils::log(WHO,
                      "Repository " + path + ": " +
                          VELString::valueOf(current->nameSpaceNames().size()) + " namespaces, " +
                          VELString::valueOf(current->classCount()) + " classes",
                      3);
    return repository;
}

// The series of the server's parts that keep their own counts: written at
// each exposition from what they report.
struct ServerParts {
    const tarn::HTTPServer& server;
    const tarn::WorkerPool& providerPool;
    std::size_t providerThreads;
    const tarn::EnumerationRegistry& enumerations;
    const tarn::Repository& repository;
    const tarn::IndicationService& indications;
};

void collectServer(const ServerParts& p, tarn::MetricsWriter& w) {
    using T = tarn::MetricsWriter::Type;
    auto count = [](std::size_t n) { return static_cast<std::uint64_t>(n); };
    w.family("tarn_info", T::Gauge, "The object manager's version.");
    w.sample({{"version", TARN_VERSION}}, std::uint64_t{1});
    w.family("tarn_http_connections_open", T::Gauge, "Client connections open.");
    w.sample({}, count(p.server.openConnections()));
    w.family("tarn_http_connections_busy", T::Gauge,
             "Client connections with a request on a worker or waiting for one.");
    w.sample({}, count(p.server.busyConnections()));
    w.family("tarn_workers", T::Gauge, "Threads of each pool.");
    w.sample({{"pool", "request"}}, count(p.server.workerCount()));
    w.sample({{"pool", "provider"}}, count(p.providerThreads));
    w.family("tarn_workers_busy", T::Gauge, "Threads of each pool running a task.");
    w.sample({{"pool", "request"}}, count(p.server.busyWorkers()));
    w.sample({{"pool", "provider"}}, count(p.providerPool.running()));
    w.family("tarn_enumeration_contexts_open", T::Gauge, "Pulled enumerations open.");
    w.sample({}, count(p.enumerations.openCount()));
    tarn::Repository::Statistics stats = p.repository.statistics();
    w.family("tarn_repository_size_bytes", T::Gauge,
             "Bytes of the repository's files (database and write-ahead log).");
    w.sample({}, stats.fileBytes);
    w.family("tarn_repository_instances", T::Gauge,
             "Instances the repository stores, by namespace.");
    for (const auto& [nameSpace, n] : stats.instances) {
        w.sample({{"namespace", std::string(nameSpace.view())}}, n);
    }
    // Indications by destination: one read of the queues for the four families.
    const auto byDestination = p.indications.countsByDestination();
    using Counts = tarn::DeliveryQueues::Counts;
    const std::tuple<const char*, T, const char*, std::uint64_t Counts::*> families[] = {
        {"tarn_indications_queued", T::Gauge, "Indications waiting for delivery, by destination.",
         &Counts::queued},
        {"tarn_indications_delivered_total", T::Counter,
         "Indications a listener accepted, by destination.", &Counts::delivered},
        {"tarn_indications_failed_total", T::Counter,
         "Indications whose delivery failed after its retries, by destination.", &Counts::failed},
        {"tarn_indications_dropped_total", T::Counter,
         "Indications dropped from a full queue, by destination.", &Counts::dropped},
    };
    for (const auto& [name, type, help, field] : families) {
        w.family(name, type, help);
        for (const auto& [destination, counts] : byDestination) {
            w.sample({{"destination", std::string(destination.view())}}, counts.*field);
        }
    }
}

int run(const tarn::CommandLine& options, tarn::SignalWaiter& signals) {
    tarn::StateDirectory state(options.stateDir);
    state.prepare();
    state.ensureConfiguration();
    TARNConfigManager::getInstance().load(state.path("tarn.conf"));
    tarn::TraceLog::configure(state.getDirectory());
    AdapterUtils::log(WHO,
                      "TARN " TARN_VERSION " starting; state directory " + state.getDirectory(), 3);

    auto portInfo = makeVELSmrPtr<tarn::PortInfo>();
    VELString portPath = state.path("Port_settings.xml");
    tarn::PortInfo::PortDataList ports;
    if (exists(portPath)) {
        portInfo->loadPortInfo(portPath);
        ports = *portInfo->getPortData();
    } else {
        ports = {tarn::PortData(5988, false, true), tarn::PortData(5989, true, true)};
    }
    applyPortOption(ports, options.httpPort, false);
    applyPortOption(ports, options.httpsPort, true);
    portInfo->setPortData(ports);
    state.ensurePortSettings(portPath, *portInfo);

    auto catalog = std::make_shared<tarn::SchemaCatalog>(state.path(tarn::Repository::FILE_NAME));
    tarn::Metrics metrics;
    tarn::Metrics::Registration processMetrics =
        metrics.addCollector(&tarn::ProcessMetrics::collect);
    tarn::ObjectManagerContext context(portInfo, *catalog);
    context.setState(IVelaOperationHandlerContext::STARTING);
    std::unique_ptr<tarn::Repository> repository = openRepository(state, options, catalog);

    // Providers: the built-in ones of the interop namespace, then the provider
    // modules; the repository serves every class no provider claims.
    tarn::AdapterRegistry adapters(context);
    tarn::ProviderRegistry providers;
    auto repositoryProvider = std::make_shared<tarn::RepositoryInstanceProvider>(*repository);
    providers.setDefaultInstanceProvider(repositoryProvider);
    providers.setDefaultAssociationProvider(
        std::make_shared<tarn::RepositoryAssociationProvider>(*repository, providers));
    providers.setEnumeratingAssociationProvider(
        std::make_shared<tarn::EnumeratingAssociationProvider>(*catalog, providers));
    tarn::InteropModel::Settings interop;
    interop.nameSpace = portInfo->getInteropNamespace();
    interop.hostName = portInfo->getHostName();
    interop.schemaDir = schemaDirectory(options);
    interop.pull = tarn::PullSettings::fromConfiguration();
    if (!catalog->hasNameSpace(interop.nameSpace)) {
        AdapterUtils::log(WHO,
                          "The interop namespace " + interop.nameSpace +
                              " is not in the repository; nothing describes the object manager",
                          2);
    }
    tarn::InteropProviders::registerAll(
        providers, std::make_shared<tarn::InteropModel>(interop, *catalog, *repository, providers,
                                                        adapters, portInfo));
    tarn::IndicationService::Settings indicationSettings =
        tarn::IndicationService::Settings::fromConfiguration();
    indicationSettings.interopNameSpace = interop.nameSpace;
    indicationSettings.hostName = interop.hostName;
    tarn::IndicationService indications(indicationSettings, *catalog, *repository, adapters);
    tarn::IndicationProviders::registerAll(providers, indications, repositoryProvider);
    providers.loadConfiguredModules();
    // By default as many as there are request workers, so that no streaming
    // request waits behind another's providers.
    std::uint32_t providerThreads = tarn::HTTPServerConfig::fromConfiguration().workerThreads;
    TARNConfigManager::getInstance().getUint32("TARN", "ProviderThreads", providerThreads);
    providerThreads = std::clamp<std::uint32_t>(providerThreads, 1, 1024);
    tarn::WorkerPool providerPool(providerThreads, "tarn-provider");
    tarn::EnumerationRegistry enumerations(tarn::PullSettings::fromConfiguration());
    tarn::OperationHandler handler(*catalog, providers, providerPool, &enumerations);
    handler.enableMetrics(metrics);
    handler.setIndicationSink(&indications);
    context.setOperationHandler(&handler);
    tarn::IndicationProviders::start(indications, *repository);

    std::uint32_t cacheSeconds = 300;
    TARNConfigManager::getInstance().getUint32("Security", "AuthCacheSeconds", cacheSeconds);
    VELString usersPath = configuredFile(state, "Security", "UsersFile", "users");
    state.ensureUsers(usersPath);
    AuthenticationHelper::setAuthenticator(std::make_shared<tarn::LoginGuard>(
        std::make_shared<tarn::UsersFile>(usersPath, std::chrono::seconds(cacheSeconds)),
        tarn::LoginGuard::Settings::fromConfiguration()));
    VELString plainBasic;
    AuthenticationHelper::PlainHTTPBasic plainPolicy =
        AuthenticationHelper::PlainHTTPBasic::Loopback;
    if (TARNConfigManager::getInstance().getString("Security", "BasicOverHTTP", plainBasic) &&
        !AuthenticationHelper::parsePlainHTTPBasic(plainBasic, plainPolicy)) {
        AdapterUtils::log(WHO,
                          "Configuration error: [Security] BasicOverHTTP is '" + plainBasic +
                              "', not loopback, any or never; loopback applies",
                          1);
    }
    AuthenticationHelper::setPlainHTTPBasic(plainPolicy);

    std::shared_ptr<boost::asio::ssl::context> tls;
    bool anySecure = std::any_of(ports.begin(), ports.end(),
                                 [](const tarn::PortData& p) { return p.isSecure(); });
    if (anySecure) {
        VELString cert = configuredFile(state, "HTTPS", "CertificateFile", "server.crt");
        VELString key = configuredFile(state, "HTTPS", "KeyFile", "server.key");
        state.ensureCertificate(cert, key, portInfo->getHostName());
        tls = tarn::TLSCertificate::makeServerContext(cert, key);
        AdapterUtils::log(WHO,
                          "TLS certificate " + cert + "; SHA-256 fingerprint " +
                              tarn::TLSCertificate::fingerprint(cert),
                          3);
    }

    // Built in, before the plug-ins: GET /metrics.
    adapters.add(std::make_unique<tarn::MetricsAdapter>(metrics));
    if (options.adapters.empty()) {
        VELString path = defaultAdapterPath("libcimxmlpa.so");
        if (path.isNull()) {
            AdapterUtils::log(WHO,
                              "No CIM-XML adapter (libcimxmlpa.so) next to the binary; "
                              "requests will find no protocol adapter",
                              2);
        } else {
            adapters.load(path);
        }
        bool console = true;
        TARNConfigManager::getInstance().getBool("Console", "Enabled", console);
        VELString consolePath = defaultAdapterPath("libconsolepa.so");
        if (console && !consolePath.isNull()) {
            adapters.load(consolePath);
        } else if (console) {
            AdapterUtils::log(WHO, "No web console (libconsolepa.so) next to the binary", 3);
        }
    } else {
        for (const auto& path : options.adapters) {
            adapters.load(path);
        }
    }

    tarn::HTTPServerConfig config = tarn::HTTPServerConfig::fromConfiguration();
    if (options.listen) {
        config.listenAddress = *options.listen;
    }
    tarn::HTTPServer server(config, context, adapters, tls);
    ServerParts parts{server,       providerPool, providerThreads,
                      enumerations, *repository,  indications};
    tarn::Metrics::Registration serverMetrics =
        metrics.addCollector([&parts](tarn::MetricsWriter& w) { collectServer(parts, w); });
    VELString listening;
    for (const tarn::PortData& p : ports) {
        std::uint16_t bound = server.listen(config.listenAddress,
                                            static_cast<std::uint16_t>(p.getPort()), p.isSecure());
        listening += VELString(p.isSecure() ? "; https port " : "; http port ") +
                     VELString::valueOf(static_cast<unsigned>(bound));
    }
    server.start();
    context.setState(IVelaOperationHandlerContext::STARTED);
    std::cout << "tarnd " TARN_VERSION " running; state directory " << state.getDirectory()
              << listening << std::endl;

    int sig = signals.wait();
    AdapterUtils::log(WHO, VELString("Stopping on signal ") + strsignal(sig), 3);
    context.setState(IVelaOperationHandlerContext::SHUTTING_DOWN);
    if (!server.stop()) {
        // A request is stuck outside any I/O: end without waiting for it.
        AdapterUtils::log(WHO, "Exiting with a request still running", 1);
        std::_Exit(1);
    }
    std::uint32_t graceMs = config.shutdownGraceMs;
    if (!indications.stop(std::chrono::milliseconds(graceMs))) {
        // A listener still holds a delivery; what was queued is dropped anyway.
        AdapterUtils::log(WHO, "Exiting with an indication delivery still running", 2);
        std::cout << "tarnd stopped" << std::endl;
        std::_Exit(0);
    }
    if (!providerPool.stop(std::chrono::milliseconds(graceMs))) {
        AdapterUtils::log(WHO, "Exiting with a provider still running", 1);
        std::_Exit(1);
    }
    context.setOperationHandler(nullptr);
    context.setState(IVelaOperationHandlerContext::SHUT_DOWN);
    AuthenticationHelper::setAuthenticator(nullptr);
    std::cout << "tarnd stopped" << std::endl;
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    tarn::CommandLine options;
    try {
        options = tarn::CommandLine::parse(argc, argv);
    } catch (const VelaBaseException& e) {
        std::cerr << "tarnd: " << e.getMessage() << "\n";
        tarn::CommandLine::usage(std::cerr);
        return 2;
    }
    if (options.help) {
        tarn::CommandLine::usage(std::cout);
        return 0;
    }
    if (options.version) {
        std::cout << "tarnd " TARN_VERSION "\n";
        return 0;
    }
    tarn::SignalWaiter signals;  // before any thread starts
    try {
        return run(options, signals);
    } catch (const VelaBaseException& e) {
        AdapterUtils::log(WHO, e.getMessage(), 1);
        std::cerr << "tarnd: " << e.getMessage() << "\n";
        return 1;
    } catch (const std::exception& e) {
        AdapterUtils::log(WHO, e.what(), 1);
        std::cerr << "tarnd: " << e.what() << "\n";
        return 1;
    }
}
