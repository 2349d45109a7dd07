// The association operations: Associators, AssociatorNames, References and
// ReferenceNames.
//
// The source object is an instance: the association classes that can link it
// (the request's AssocClass and its subclasses, else every association class
// of the namespace, less those whose references cannot name the source
// object through Role) are asked through their association providers, the
// repository's index unless a provider module claims a class; one call per
// provider with all its classes, results streamed as they are found.
//
// The source object is a class: the schema answers (its association classes
// and their references, which AssociationSchema keeps per schema generation). An association class
// takes part when one of its references (Role, if given) refers to the class
// or to one of its superclasses. References answers those association
// classes, Associators the classes their other references refer to (each
// once), the name operations the classes' paths.
//
// A filter that names a class the namespace lacks matches nothing.
#include <algorithm>

#include "handler/Producers.h"
#include "handler/Route.h"
#include "providers/MappedResponse.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaValue.h"
#include "vela/IVelaAssociatorNamesOperation.h"
#include "vela/IVelaAssociatorsOperation.h"
#include "vela/IVelaReferenceNamesOperation.h"
#include "vela/IVelaReferencesOperation.h"

namespace tarn {

namespace {

using Names = VELSmrPtr<IVelaInstanceName>;
using Values = VELSmrPtr<IVelaValue>;

using Role = AssociationSchema::Role;
using Association = AssociationSchema::Association;

bool matches(const VELString& filter, const VELString& name) {
    return filter.isNull() || name.equalsIgnoreCase(filter);
}

// What a request asks, checked against the schema. Copied into the
// producers, which outlive the handler's call.
struct Traversal {
    const ISchemaCatalog* schema;
    // The namespace's association classes.
    std::shared_ptr<const AssociationSchema::Table> table;
    VELString nameSpace;
    Names object;
    VELSmrPtr<IVelaClass> objectClass;
    VELString assocClass;
    VELString resultClass;
    VELString role;
    VELString resultRole;
    // A filter names a class that does not exist.
    bool matchesNothing = false;

    Traversal(const OperationCall& call, const Names& objectName, VELString assoc, VELString result,
              VELString role_, VELString resultRole_)
        : schema(&call.services.schema),
          table(call.services.associations.of(call.nameSpace())),
          nameSpace(call.nameSpace()),
          object(objectName),
          assocClass(std::move(assoc)),
          resultClass(std::move(result)),
          role(std::move(role_)),
          resultRole(std::move(resultRole_)) {
        if (object.isNull() || object->getClassName().isNull()) {
            call.fail(CIM_ERR_INVALID_PARAMETER, "No object name given");
        }
        objectClass = schema->getClass(nameSpace, object->getClassName());
        if (objectClass.isNull()) {
            call.fail(CIM_ERR_INVALID_PARAMETER, "Class '" + object->getClassName() +
                                                     "' does not exist in namespace '" + nameSpace +
                                                     "'");
        }
        for (const VELString* filter : {&assocClass, &resultClass}) {
            if (!filter->isNull() && schema->getClass(nameSpace, *filter).isNull()) {
                matchesNothing = true;
            }
        }
    }

    bool isClass() const { return object->isClassName(); }

    bool refersToObject(const Role& r) const {
        return matches(role, r.name) && objectClass->isA(r.refClass);
    }

    // The association classes of the namespace that can refer to the source
    // object, superclasses first: of AssocClass when it is given, and of
    // ResultClass for References (whose results are the associations).
    std::vector<const Association*> associations(bool resultIsAssociation) const {
        std::vector<const Association*> found;
        if (matchesNothing) {
            return found;
        }
        for (const Association& a : *table) {
            if ((!assocClass.isNull() && !a.cls->isA(assocClass)) ||
                (resultIsAssociation && !resultClass.isNull() && !a.cls->isA(resultClass))) {
                continue;
            }
            if (std::any_of(a.roles.begin(), a.roles.end(),
                            [&](const Role& r) { return refersToObject(r); })) {
                found.push_back(&a);
            }
        }
        return found;
    }

    // Whether an association class has another end that the result filters
    // can admit; a class without one need not be asked.
    bool mayHaveOtherEnd(const Association& a) const {
        VELSmrPtr<IVelaClass> wanted;
        if (!resultClass.isNull()) {
            wanted = schema->getClass(nameSpace, resultClass);
        }
        const auto& roles = a.roles;
        for (const Role& from : roles) {
            if (!refersToObject(from)) {
                continue;
            }
            for (const Role& to : roles) {
                if (to.name.equalsIgnoreCase(from.name) || !matches(resultRole, to.name)) {
                    continue;
                }
                if (wanted.isNull()) {
                    return true;
                }
                // The end's instance may be of a subclass of the reference's class.
                auto refClass = schema->getClass(nameSpace, to.refClass);
                if (wanted->isA(to.refClass) ||
                    (!refClass.isNull() && refClass->isA(resultClass))) {
                    return true;
                }
            }
        }
        return false;
    }

    // Class targets: the classes at the other ends, each once.
    std::vector<VELSmrPtr<IVelaClass>> associatedClasses() const {
        std::vector<VELSmrPtr<IVelaClass>> found;
        for (const Association* a : associations(false)) {
            const auto& roles = a->roles;
            for (const Role& from : roles) {
                if (!refersToObject(from)) {
                    continue;
                }
                for (const Role& to : roles) {
                    if (to.name.equalsIgnoreCase(from.name) || !matches(resultRole, to.name)) {
                        continue;
                    }
                    auto end = schema->getClass(nameSpace, to.refClass);
                    if (end.isNull() || (!resultClass.isNull() && !end->isA(resultClass)) ||
                        std::any_of(found.begin(), found.end(), [&](const auto& c) {
                            return c->getName().equalsIgnoreCase(end->getName());
                        })) {
                        continue;
                    }
                    found.push_back(end);
                }
            }
        }
        return found;
    }

    Names classPath(const IVelaClass& cls) const {
        return Names(new CVelaInstanceName(
            cls.getName(), VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath({}, nameSpace)),
            true));
    }
};

// One producer per association provider, each asking it about the classes
// it serves, superclasses first.
template <class T, class Ask>
std::vector<OperationCall::Producer<T>> perProvider(const OperationCall& call, const Traversal& t,
                                                    bool resultIsAssociation, Ask ask) {
    std::vector<std::pair<IAssociationProvider*, IAssociationProvider::Classes>> groups;
    for (const Association* a : t.associations(resultIsAssociation)) {
        if (!resultIsAssociation && !t.mayHaveOtherEnd(*a)) {
            continue;
        }
        const VELSmrPtr<IVelaClass>& cls = a->cls;
        IAssociationProvider* provider =
            call.services.providers.findAssociationProvider(t.nameSpace, cls->getName());
        if (!provider) {
            call.fail(CIM_ERR_NOT_SUPPORTED,
                      "No provider follows the associations of class '" + cls->getName() + "'");
        }
        auto group = std::find_if(groups.begin(), groups.end(),
                                  [&](const auto& g) { return g.first == provider; });
        if (group == groups.end()) {
            group = groups.insert(groups.end(), {provider, {}});
        }
        group->second.push_back(cls);
    }
    std::vector<OperationCall::Producer<T>> producers;
    for (auto& [provider, classes] : groups) {
        producers.push_back(
            [provider = provider, classes = std::move(classes), t, context = call.context,
             ask](IMultiResponse<T>& out) { ask(*provider, context, classes, t, out); });
    }
    return producers;
}

// The one producer of a class target's results.
template <class T, class Each>
std::vector<OperationCall::Producer<T>> fromSchema(const Traversal& t, Each each) {
    return {[t, each](IMultiResponse<T>& out) { each(t, out); }};
}

using Objects = VELSmrPtr<IVelaObject>;

// The results of an instance target as values, for Associators and References.
std::vector<OperationCall::Producer<Values>> asValues(
    std::vector<OperationCall::Producer<Objects>> producers) {
    std::vector<OperationCall::Producer<Values>> wrapped;
    for (auto& p : producers) {
        wrapped.push_back([p = std::move(p)](IMultiResponse<Values>& out) {
            // The objects of a provider's associators, as values.
            MappedResponse<Objects, Values> objects(
                out, [](Objects o) { return CVelaValue::makeObject(o); });
            p(objects);
        });
    }
    return wrapped;
}

std::vector<OperationCall::Producer<Objects>> associatorProducers(const OperationCall& call,
                                                                  const Traversal& t) {
    return perProvider<Objects>(call, t, false,
                                [](IAssociationProvider& provider, const ProviderContext& context,
                                   const IAssociationProvider::Classes& classes, const Traversal& t,
                                   IMultiResponse<Objects>& out) {
                                    provider.associators(context, classes, t.object, t.resultClass,
                                                         t.role, t.resultRole, out);
                                });
}

std::vector<OperationCall::Producer<Names>> associatorNameProducers(const OperationCall& call,
                                                                    const Traversal& t) {
    return perProvider<Names>(call, t, false,
                              [](IAssociationProvider& provider, const ProviderContext& context,
                                 const IAssociationProvider::Classes& classes, const Traversal& t,
                                 IMultiResponse<Names>& out) {
                                  provider.associatorNames(context, classes, t.object,
                                                           t.resultClass, t.role, t.resultRole,
                                                           out);
                              });
}

std::vector<OperationCall::Producer<Objects>> referenceProducers(const OperationCall& call,
                                                                 const Traversal& t) {
    return perProvider<Objects>(call, t, true,
                                [](IAssociationProvider& provider, const ProviderContext& context,
                                   const IAssociationProvider::Classes& classes, const Traversal& t,
                                   IMultiResponse<Objects>& out) {
                                    provider.references(context, classes, t.object, t.role, out);
                                });
}

std::vector<OperationCall::Producer<Names>> referenceNameProducers(const OperationCall& call,
                                                                   const Traversal& t) {
    return perProvider<Names>(call, t, true,
                              [](IAssociationProvider& provider, const ProviderContext& context,
                                 const IAssociationProvider::Classes& classes, const Traversal& t,
                                 IMultiResponse<Names>& out) {
                                  provider.referenceNames(context, classes, t.object, t.role, out);
                              });
}

// A traversal from an instance (the pulled forms take no class).
Traversal fromInstance(const OperationCall& call, const Names& object, VELString assocClass,
                       VELString resultClass, VELString role, VELString resultRole) {
    Traversal t(call, object, std::move(assocClass), std::move(resultClass), std::move(role),
                std::move(resultRole));
    if (t.isClass()) {
        call.fail(CIM_ERR_INVALID_PARAMETER,
                  "InstanceName names the class '" + object->getClassName() + "', not an instance");
    }
    return t;
}

void associators(OperationCall& call, IVelaAssociatorsOperation& op) {
    Traversal t(call, op.getObjectName(), op.getAssocClass(), op.getResultClass(), op.getRole(),
                op.getResultRole());
    if (t.isClass()) {
        call.stream(op, fromSchema<Values>(t, [](const Traversal& t, IMultiResponse<Values>& out) {
                        for (const auto& cls : t.associatedClasses()) {
                            if (!out.add(CVelaValue::makeClass(cls), true)) {
                                return;
                            }
                        }
                    }));
        return;
    }
    call.stream(op, asValues(associatorProducers(call, t)));
}

void associatorNames(OperationCall& call, IVelaAssociatorNamesOperation& op) {
    Traversal t(call, op.getObjectName(), op.getAssocClass(), op.getResultClass(), op.getRole(),
                op.getResultRole());
    if (t.isClass()) {
        call.stream(op, fromSchema<Names>(t, [](const Traversal& t, IMultiResponse<Names>& out) {
                        for (const auto& cls : t.associatedClasses()) {
                            if (!out.add(t.classPath(*cls), true)) {
                                return;
                            }
                        }
                    }));
        return;
    }
    call.stream(op, associatorNameProducers(call, t));
}

void references(OperationCall& call, IVelaReferencesOperation& op) {
    Traversal t(call, op.getObjectName(), VELString(), op.getResultClass(), op.getRole(),
                VELString());
    if (t.isClass()) {
        call.stream(op, fromSchema<Values>(t, [](const Traversal& t, IMultiResponse<Values>& out) {
                        for (const Association* a : t.associations(true)) {
                            if (!out.add(CVelaValue::makeClass(a->cls), true)) {
                                return;
                            }
                        }
                    }));
        return;
    }
    call.stream(op, asValues(referenceProducers(call, t)));
}

void referenceNames(OperationCall& call, IVelaReferenceNamesOperation& op) {
    Traversal t(call, op.getObjectName(), VELString(), op.getResultClass(), op.getRole(),
                VELString());
    if (t.isClass()) {
        call.stream(op, fromSchema<Names>(t, [](const Traversal& t, IMultiResponse<Names>& out) {
                        for (const Association* a : t.associations(true)) {
                            if (!out.add(t.classPath(*a->cls), true)) {
                                return;
                            }
                        }
                    }));
        return;
    }
    call.stream(op, referenceNameProducers(call, t));
}

const Route kRoutes[] = {
    route<associators>("Associators", Access::Read),
    route<associatorNames>("AssociatorNames", Access::Read),
    route<references>("References", Access::Read),
    route<referenceNames>("ReferenceNames", Access::Read),
};

}  // namespace

AssociationProducers<VELSmrPtr<IVelaObject>> associatorProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& assocClass, const VELString& resultClass, const VELString& role,
    const VELString& resultRole) {
    return associatorProducers(
        call, fromInstance(call, object, assocClass, resultClass, role, resultRole));
}

AssociationProducers<VELSmrPtr<IVelaInstanceName>> associatorNameProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& assocClass, const VELString& resultClass, const VELString& role,
    const VELString& resultRole) {
    return associatorNameProducers(
        call, fromInstance(call, object, assocClass, resultClass, role, resultRole));
}

AssociationProducers<VELSmrPtr<IVelaObject>> referenceProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& resultClass, const VELString& role) {
    return referenceProducers(call, fromInstance(call, object, {}, resultClass, role, {}));
}

AssociationProducers<VELSmrPtr<IVelaInstanceName>> referenceNameProducers(
    const OperationCall& call, const VELSmrPtr<IVelaInstanceName>& object,
    const VELString& resultClass, const VELString& role) {
    return referenceNameProducers(call, fromInstance(call, object, {}, resultClass, role, {}));
}

std::span<const Route> associationRoutes() {
    return kRoutes;
}

}  // namespace tarn
