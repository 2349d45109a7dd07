// tarn::IndicationProviders: the providers of the indication service.
//
// In the interop namespace, CIM_IndicationFilter, CIM_ListenerDestinationCIMXML
// and CIM_IndicationSubscription are kept in the repository (so they survive
// a restart) through a provider that checks them first: a filter's query
// compiles and selects an indication class; a destination's URL is http or
// https; a subscription names an existing filter and destination. It fills
// in the keys a client leaves to the object manager (SystemCreationClassName,
// SystemName, CreationClassName, Name) and the subscription's defaults
// (enabled, OnFatalErrorPolicy Ignore, start time), refuses to delete a
// filter or destination that a subscription still uses, and has the service
// reload its subscriptions after each change.
//
// In root/cimv2, StopService and StartService of the TARN_Service instance
// "tarn-indications" pause and resume delivery; its Started and EnabledState
// say which, and a service stopped when tarnd stops stays stopped when it
// starts again.
//
// The DMTF Indications profile is registered with CIM_IndicationService as
// its central class.
#pragma once

#include <memory>

#include "indication/IndicationService.h"
#include "providers/ProviderRegistry.h"

namespace tarn {

class IndicationProviders {
  public:
    static constexpr const char* SERVICE_NAMESPACE = "root/cimv2";
    static constexpr const char* SERVICE_CLASS = "TARN_Service";
    static constexpr const char* SERVICE_NAME = "tarn-indications";

    // repository: the provider that keeps instances (the registry's default).
    // The service and the repository must outlive the registry's use.
    static void registerAll(ProviderRegistry& registry, IndicationService& service,
                            std::shared_ptr<IInstanceProvider> repository);

    // Reads the subscriptions, and pauses delivery when the service's
    // instance says it was stopped.
    static void start(IndicationService& service, const Repository& repository);
};

}  // namespace tarn
