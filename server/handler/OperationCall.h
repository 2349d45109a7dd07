// tarn::OperationCall: one operation on its way through the handler: what
// its route function needs (the operation, the provider context of the
// request, the schema, the providers, the provider pool) and the steps most
// routes share.
#pragma once

#include <functional>
#include <vector>

#include "core/WorkerPool.h"
#include "handler/AssociationSchema.h"
#include "providers/ProviderRegistry.h"
#include "pull/EnumerationRegistry.h"
#include "tarn/CIMStatus.h"
#include "tarn/IIndicationSink.h"
#include "tarn/ISchemaCatalog.h"
#include "tarn/MultiResponseWriter.h"
#include "vela/IVelaMultiResponseOperation.h"

namespace tarn {

// The services of the handler, shared by every call.
struct HandlerServices {
    const ISchemaCatalog& schema;
    const ProviderRegistry& providers;
    WorkerPool& pool;
    const AssociationSchema& associations;
    // Pulled enumerations; null where they are not offered.
    EnumerationRegistry* enumerations = nullptr;
    // The indication service; null where none runs.
    IIndicationSink* indications = nullptr;
};

class OperationCall {
  public:
    OperationCall(const HandlerServices& services, const VELSmrPtr<IVelaOperation>& operation);

    const HandlerServices& services;
    // The operation itself, shared: streaming work holds it while it runs.
    const VELSmrPtr<IVelaOperation>& operation;
    ProviderContext context;

    const VELString& nameSpace() const { return context.nameSpace; }

    [[noreturn]] void fail(CIMStatus code, const VELString& message) const;

    // The class of the namespace; CIM_ERR_INVALID_CLASS when it does not
    // exist, CIM_ERR_INVALID_PARAMETER when no name is given.
    VELSmrPtr<IVelaClass> requireClass(const VELString& className) const;
    // The class followed by all its subclasses, superclasses first.
    std::vector<VELSmrPtr<IVelaClass>> withSubclasses(const VELSmrPtr<IVelaClass>& cls) const;
    // The instance provider of the class; CIM_ERR_NOT_SUPPORTED when none serves it.
    IInstanceProvider& instanceProvider(const VELString& className) const;

    // The indication service when a subscription could want this life-cycle
    // indication of the call's namespace, else null (nothing to build).
    IIndicationSink* lifeCycleWanted(IIndicationSink::LifeCycle change) const;
    // The instance of that name as its provider gives it (all properties),
    // null when it cannot be read: the source of a life-cycle indication.
    VELSmrPtr<IVelaObject> lifeCycleSource(const VELSmrPtr<IVelaInstanceName>& name) const;

    // One producer of a streaming result: it adds to its own writer.
    template <class T>
    using Producer = std::function<void(IMultiResponse<T>&)>;

    // The producers of an instance enumeration: one per class of className
    // and its subclasses, each asking the class's provider.
    std::vector<Producer<VELSmrPtr<IVelaObject>>> instanceProducers(
        const VELString& className) const;
    std::vector<Producer<VELSmrPtr<IVelaInstanceName>>> instanceNameProducers(
        const VELString& className) const;

    // Runs the producers of a streaming operation one after the other on the
    // provider pool, each with its own writer, all taken before this returns.
    // A failure is reported on the operation and ends the run; the writers of
    // the producers not reached are closed unused.
    template <class T>
    void stream(IVelaMultiResponseOperation<T>& op, std::vector<Producer<T>> producers) const;

  private:
    bool post(std::function<void()> task) const;
    template <class T, class Enumerate>
    std::vector<Producer<T>> perClass(const VELString& className, Enumerate enumerate) const;
};

// Makes the failure being handled (call it from a catch block) the
// operation's outcome: its error context, and, with setCode, its error code.
// Returns the handler status reported (never 0).
int reportCaught(IVelaOperation& operation, bool setCode = true);

template <class T>
void OperationCall::stream(IVelaMultiResponseOperation<T>& op,
                           std::vector<Producer<T>> producers) const {
    std::vector<VELSmrPtr<MultiResponseWriter<T>>> writers;
    writers.reserve(producers.size());
    for (std::size_t i = 0; i < producers.size(); ++i) {
        writers.push_back(op.getResponse());
    }
    // The task holds the operation, so its collection outlives the producers.
    auto task = [self = operation, producers = std::move(producers), writers]() {
        std::size_t i = 0;
        try {
            for (; i < producers.size(); ++i) {
                producers[i](*writers[i]);
                writers[i]->Close();
            }
        } catch (...) {
            // Context first: the writer that sets the code wakes the consumer.
            writers[i]->setErrorCode(reportCaught(*self, false));
        }
        for (auto& w : writers) {
            w->Close();
        }
    };
    if (!post(std::move(task))) {
        fail(CIM_ERR_SERVER_IS_SHUTTING_DOWN, "The object manager is shutting down");
    }
}

}  // namespace tarn
