#include "handler/OperationHandler.h"

#include "tarn/security/ISecurityToken.h"
#include "vela/AdapterUtils.h"
#include "vela/IVelaCreateInstanceOperation.h"
#include "vela/IVelaDeleteInstanceOperation.h"
#include "vela/IVelaEnumerateInstanceNamesOperation.h"
#include "vela/IVelaEnumerateInstancesOperation.h"
#include "vela/IVelaGetClassOperation.h"
#include "vela/IVelaGetInstanceOperation.h"
#include "vela/IVelaModifyInstanceOperation.h"
#include "vela/TARNClientInfo.h"

namespace tarn {

namespace {

const char* const WHO = "tarn::OperationHandler";

[[noreturn]] void fail(int code, const VELString& message) {
    throw VelaBaseException("CIM", WHO, "processOperation", message, code);
}

OperationHandler::Access accessOf(IVelaOperation& op) {
    if (dynamic_cast<IVelaCreateInstanceOperation*>(&op) ||
        dynamic_cast<IVelaModifyInstanceOperation*>(&op) ||
        dynamic_cast<IVelaDeleteInstanceOperation*>(&op)) {
        return OperationHandler::Access::Write;
    }
    return OperationHandler::Access::Read;
}

const char* accessName(OperationHandler::Access a) {
    switch (a) {
        case OperationHandler::Access::Read:
            return "read";
        case OperationHandler::Access::Write:
            return "write";
        default:
            return "administer";
    }
}

ProviderContext contextOf(IVelaOperation& op) {
    ProviderContext ctx;
    ctx.nameSpace = op.getNameSpace();
    VELSmrPtr<TARNClientInfo> client = op.getClientInfo();
    if (!client.isNull()) {
        ctx.userName = client->getUserName();
        ctx.roles = client->getRoles();
    }
    if (ctx.roles.isNull()) {
        ctx.roles = makeVELSmrPtr<VELValSlist<VELString>>();
    }
    if (auto* pl = dynamic_cast<IVelaPropertyListOperation*>(&op)) {
        ctx.propertyList = pl->getPropertyList();
    }
    return ctx;
}

void report(IVelaOperation& op, const VelaBaseException& e) {
    int code = e.getCode() == 0 ? 1 : e.getCode();
    VELSmrPtr<VelaBaseException> context(new VelaBaseException(e));
    context->setCode(code);
    op.setErrorContext(context);
    op.setErrorCode(code);
}

// Runs the provider calls of a streaming operation, one writer per class,
// on a provider thread. A failure is reported on the operation; the writers
// of the classes not reached are closed unused.
template <class T, class Call>
bool runStreaming(WorkerPool& pool, const VELSmrPtr<IVelaOperation>& self,
                  IVelaMultiResponseOperation<T>& op, std::vector<VELSmrPtr<IVelaClass>> classes,
                  Call call) {
    std::vector<VELSmrPtr<MultiResponseWriter<T>>> writers;
    writers.reserve(classes.size());
    for (std::size_t i = 0; i < classes.size(); ++i) {
        writers.push_back(op.getResponse());
    }
    // The task holds the operation, so its collection outlives the providers.
    auto task = [self, classes = std::move(classes), writers, call]() mutable {
        std::size_t i = 0;
        try {
            for (; i < classes.size(); ++i) {
                call(classes[i], *writers[i]);
                writers[i]->Close();
            }
        } catch (const VelaBaseException& e) {
            // Context first: the writer that sets the code wakes the consumer.
            VELSmrPtr<VelaBaseException> context(new VelaBaseException(e));
            int code = e.getCode() == 0 ? 1 : e.getCode();
            context->setCode(code);
            self->setErrorContext(context);
            writers[i]->setErrorCode(code);
        } catch (const std::exception& e) {
            self->setErrorContext(VELSmrPtr<VelaBaseException>(
                new VelaBaseException("CIM", WHO, "provider", e.what(), 1)));
            writers[i]->setErrorCode(1);
        }
        for (auto& w : writers) {
            w->Close();
        }
    };
    return pool.post(std::move(task));
}

}  // namespace

OperationHandler::OperationHandler(const ISchemaCatalog& schema, const ProviderRegistry& providers,
                                   WorkerPool& providerPool)
    : _schema(schema), _providers(providers), _pool(providerPool) {}

bool OperationHandler::allows(const VELValSlist<VELString>& roles, Access access) {
    for (const VELString& role : roles) {
        if (role.equalsIgnoreCase("admin")) {
            return true;
        }
        if (role.equalsIgnoreCase("writer") && access != Access::Admin) {
            return true;
        }
        if (role.equalsIgnoreCase("reader") && access == Access::Read) {
            return true;
        }
    }
    return false;
}

void OperationHandler::processOperation(const VELSmrPtr<IVelaOperation>& operation) {
    try {
        _process(operation);
    } catch (const VelaBaseException& e) {
        report(*operation, e);
        AdapterUtils::log(WHO,
                          operation->getOperationName() + " failed: " + e.getMessage() + " (code " +
                              VELString::valueOf(e.getCode()) + ")",
                          4);
    } catch (const std::exception& e) {
        report(*operation, VelaBaseException("CIM", WHO, "processOperation", e.what(), 1));
    }
}

VELSmrPtr<IVelaClass> OperationHandler::_requireClass(const VELString& nameSpace,
                                                      const VELString& className) const {
    if (className.isNull()) {
        fail(4, "No class name given");
    }
    VELSmrPtr<IVelaClass> cls = _schema.getClass(nameSpace, className);
    if (cls.isNull()) {
        fail(5, "Class '" + className + "' does not exist in namespace '" + nameSpace + "'");
    }
    return cls;
}

std::vector<VELSmrPtr<IVelaClass>> OperationHandler::_subtree(
    const VELString& nameSpace, const VELSmrPtr<IVelaClass>& cls) const {
    std::vector<VELSmrPtr<IVelaClass>> classes{cls};
    for (const VELString& name : _schema.getSubclassNames(nameSpace, cls->getName())) {
        VELSmrPtr<IVelaClass> sub = _schema.getClass(nameSpace, name);
        if (!sub.isNull()) {
            classes.push_back(sub);
        }
    }
    return classes;
}

void OperationHandler::_checkProviders(const VELString& nameSpace,
                                       const std::vector<VELSmrPtr<IVelaClass>>& classes) const {
    for (const auto& c : classes) {
        _provider(nameSpace, c->getName());
    }
}

IInstanceProvider& OperationHandler::_provider(const VELString& nameSpace,
                                               const VELString& className) const {
    IInstanceProvider* p = _providers.findInstanceProvider(nameSpace, className);
    if (!p) {
        fail(7, "No provider serves the instances of class '" + className + "'");
    }
    return *p;
}

void OperationHandler::_process(const VELSmrPtr<IVelaOperation>& operation) {
    IVelaOperation& op = *operation;
    ProviderContext ctx = contextOf(op);
    Access access = accessOf(op);
    if (!allows(*ctx.roles, access)) {
        fail(2, "User '" + ctx.userName + "' may not " + accessName(access) + " (" +
                    op.getOperationName() + ")");
    }
    const VELString& ns = op.getNameSpace();
    if (!_schema.hasNameSpace(ns)) {
        fail(3, "Namespace '" + ns + "' does not exist");
    }

    if (auto* getClass = dynamic_cast<IVelaGetClassOperation*>(&op)) {
        // The whole definition; the adapter applies LocalOnly, the qualifier
        // and class origin flags and the property list while writing it.
        getClass->setClass(_requireClass(ns, op.getClassName()));
        return;
    }
    if (auto* get = dynamic_cast<IVelaGetInstanceOperation*>(&op)) {
        const VELSmrPtr<IVelaInstanceName>& name = get->getName();
        _requireClass(ns, name->getClassName());
        get->setInstance(_provider(ns, name->getClassName()).getInstance(ctx, name));
        return;
    }
    if (auto* create = dynamic_cast<IVelaCreateInstanceOperation*>(&op)) {
        const VELSmrPtr<IVelaObject>& instance = create->getInstance();
        _requireClass(ns, instance->getClassName());
        create->setInstanceName(
            _provider(ns, instance->getClassName()).createInstance(ctx, instance));
        return;
    }
    if (auto* modify = dynamic_cast<IVelaModifyInstanceOperation*>(&op)) {
        VELSmrPtr<IVelaInstanceName> name = modify->getInstanceName();
        if (name.isNull()) {
            name = modify->getInstance()->getPath();
        }
        if (name.isNull()) {
            fail(4, "The modified instance has no name");
        }
        _requireClass(ns, name->getClassName());
        _provider(ns, name->getClassName())
            .modifyInstance(ctx, name, modify->getInstance(), modify->getPropertyList());
        return;
    }
    if (auto* del = dynamic_cast<IVelaDeleteInstanceOperation*>(&op)) {
        const VELSmrPtr<IVelaInstanceName>& name = del->getInstanceName();
        _requireClass(ns, name->getClassName());
        _provider(ns, name->getClassName()).deleteInstance(ctx, name);
        return;
    }
    if (auto* enumerate = dynamic_cast<IVelaEnumerateInstancesOperation*>(&op)) {
        auto classes = _subtree(ns, _requireClass(ns, op.getClassName()));
        const ProviderRegistry& providers = _providers;
        auto call = [ctx, &providers](const VELSmrPtr<IVelaClass>& cls,
                                      IMultiResponse<VELSmrPtr<IVelaObject>>& out) {
            providers.findInstanceProvider(ctx.nameSpace, cls->getName())
                ->enumerateInstances(ctx, cls, out);
        };
        _checkProviders(ns, classes);
        if (!runStreaming(_pool, operation, *enumerate, std::move(classes), call)) {
            fail(28, "The object manager is shutting down");
        }
        return;
    }
    if (auto* names = dynamic_cast<IVelaEnumerateInstanceNamesOperation*>(&op)) {
        auto classes = _subtree(ns, _requireClass(ns, op.getClassName()));
        const ProviderRegistry& providers = _providers;
        auto call = [ctx, &providers](const VELSmrPtr<IVelaClass>& cls,
                                      IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) {
            providers.findInstanceProvider(ctx.nameSpace, cls->getName())
                ->enumerateInstanceNames(ctx, cls, out);
        };
        _checkProviders(ns, classes);
        if (!runStreaming(_pool, operation, *names, std::move(classes), call)) {
            fail(28, "The object manager is shutting down");
        }
        return;
    }
    fail(7, "The operation " + op.getOperationName() + " is not supported");
}

}  // namespace tarn
