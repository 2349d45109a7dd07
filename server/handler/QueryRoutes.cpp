// The query operations: the query is compiled once against its class, then
// the class and each of its subclasses are enumerated by their providers and
// every instance is tested as it passes; only the matches, reduced to the
// selected properties, reach the client. Nothing is held beyond the one
// instance under test, so memory does not grow with the number examined.
#include "handler/Producers.h"
#include "handler/Route.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/IExecQueryOperation.h"

namespace tarn {

namespace {

using Instances = IMultiResponse<VELSmrPtr<IVelaObject>>;

// The instance with a path that names the namespace, which a query result
// carries (VALUE.OBJECTWITHPATH); providers may leave it out.
VELSmrPtr<IVelaObject> withNameSpace(const VELSmrPtr<IVelaObject>& instance,
                                     const VELString& nameSpace) {
    const VELSmrPtr<IVelaInstanceName>& path = instance->getPath();
    if (path.isNull() || (!path->getNameSpacePath().isNull() &&
                          !path->getNameSpacePath()->getNameSpace().isNull())) {
        return instance;
    }
    auto named = makeVELSmrPtr<CVelaInstanceName>(
        path->getClassName(), makeVELSmrPtr<CVelaNameSpacePath>(VELString(), nameSpace),
        path->isClassName());
    for (std::size_t i = 0; i < path->getKeyBindingCount(); ++i) {
        VELSmrPtr<IVelaKeyBinding> key = path->getKeyBinding(i);
        named->addKeyBinding(key->getPropertyName(), key->getValue());
    }
    auto copy = makeVELSmrPtr<CVelaObject>(instance->getClassName(), named);
    copy->reserve(instance->getPropertyCount());
    for (std::size_t i = 0; i < instance->getPropertyCount(); ++i) {
        copy->addProperty(instance->getProperty(i));
    }
    return copy;
}

// A provider's writer seen through the query: what does not match is
// dropped, the rest is projected and passed on.
class QueryFilter : public Instances {
  public:
    QueryFilter(const query::CompiledQuery& query, Instances& out, const VELString& nameSpace)
        : _query(query), _out(out), _nameSpace(nameSpace) {}

    bool add(VELSmrPtr<IVelaObject> item, bool wakeConsumer) override {
        if (item.isNull() || !_query.matches(*item)) {
            return true;
        }
        return _out.add(withNameSpace(_query.project(item), _nameSpace), wakeConsumer);
    }
    void setErrorCode(int code) override { _out.setErrorCode(code); }
    // The writer is closed by the handler once the provider returns.
    void Close() override {}

  private:
    const query::CompiledQuery& _query;
    Instances& _out;
    const VELString& _nameSpace;
};

void execQuery(OperationCall& call, IExecQueryOperation& op) {
    call.stream(op, queryProducers(call, compileQuery(call, op)));
}

const Route kRoutes[] = {
    route<execQuery>("ExecQuery", Access::Read),
};

}  // namespace

std::shared_ptr<const query::CompiledQuery> compileQuery(const OperationCall& call,
                                                         const IExecQueryOperation& op) {
    return query::CompiledQuery::compile(op.getQueryLanguage(), op.getQuery(), call.services.schema,
                                         call.nameSpace());
}

std::vector<OperationCall::Producer<VELSmrPtr<IVelaObject>>> queryProducers(
    const OperationCall& call, std::shared_ptr<const query::CompiledQuery> query) {
    ProviderContext context = call.context;
    // Providers must deliver what the condition reads, not only what is selected.
    context.propertyList = nullptr;
    std::vector<OperationCall::Producer<VELSmrPtr<IVelaObject>>> producers;
    for (const auto& cls : call.withSubclasses(query->queryClass())) {
        IInstanceProvider* provider = &call.instanceProvider(cls->getName());
        producers.push_back([provider, cls, context, query](Instances& out) {
            QueryFilter filter(*query, out, context.nameSpace);
            provider->enumerateInstances(context, cls, filter);
        });
    }
    return producers;
}

std::span<const Route> queryRoutes() {
    return kRoutes;
}

}  // namespace tarn
