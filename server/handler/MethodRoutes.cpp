// Extrinsic methods: the call is checked against the method's definition in
// the target's class (the method exists, static methods may be called on the
// class, others need an instance that exists, input parameters are declared
// inputs and get their declared types, Required ones are given) and handed
// to the method provider of the class or of its nearest ancestor. The
// provider's results are typed as the method declares them; references in
// them get the namespace, so that clients can follow them.
#include "handler/Route.h"
#include "tarn/QualifierList.h"
#include "vela/CIMUtil.h"
#include "vela/CVelaActualParameter.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"
#include "vela/IVelaInvokeMethodOperation.h"

namespace tarn {

namespace {

using Parameters = IMethodProvider::Parameters;

// The type of a parameter or return value: a string qualified
// EmbeddedInstance or EmbeddedObject holds an instance.
template <class Def>
VELSmrPtr<IVelaType> declaredType(const Def& def, const VELSmrPtr<IVelaType>& type) {
    if (type->getTypeId() != CIMTypeId::String) {
        return type;
    }
    VELSmrPtr<IQualifier> q = def.getQualifier("EmbeddedInstance");
    if (!q.isNull() && !q->getValue().isNull() && q->getValue()->isSet() &&
        !q->getValue()->getType()->isArray()) {
        return CVelaType::embeddedInstance(q->getValue()->getString(), type->isArray());
    }
    if (QualifierList::isTrue(def.getQualifier("EmbeddedObject"))) {
        return CVelaType::make(CIMTypeId::Object, type->isArray(), VELString(), false, true, true);
    }
    return type;
}

bool isIn(const IParameterDef& def) {
    VELSmrPtr<IQualifier> q = def.getQualifier("In");
    return q.isNull() || QualifierList::isTrue(q);  // In is true unless said otherwise
}
bool isOut(const IParameterDef& def) {
    return QualifierList::isTrue(def.getQualifier("Out"));
}

class MethodCall {
  public:
    MethodCall(OperationCall& call, IVelaInvokeMethodOperation& op) : _call(call), _op(op) {}

    void run() {
        const VELSmrPtr<IVelaInstanceName>& target = _op.getObjectName();
        if (target.isNull()) {
            _call.fail(CIM_ERR_INVALID_PARAMETER, "The method call names no target");
        }
        _class = _call.services.schema.getClass(ns(), target->getClassName());
        if (_class.isNull()) {
            _call.fail(CIM_ERR_NOT_FOUND, "Class '" + target->getClassName() +
                                              "' does not exist in namespace '" + ns() + "'");
        }
        _method = _class->getMethodDef(_op.getMethodName());
        if (_method.isNull()) {
            _call.fail(CIM_ERR_METHOD_NOT_FOUND,
                       "Class " + _class->getName() + " has no method " + _op.getMethodName());
        }
        VELSmrPtr<Parameters> in = typedInputs();
        const bool isStatic = QualifierList::isTrue(_method->getQualifier("Static"));
        if (target->isClassName() || target->getKeyBindingCount() == 0) {
            if (!isStatic) {
                _call.fail(CIM_ERR_INVALID_PARAMETER,
                           what() + " is not static: call it on an instance, not on the class");
            }
        } else {
            // Throws CIM_ERR_NOT_FOUND for an instance that does not exist.
            _call.instanceProvider(_class->getName()).getInstance(_call.context, target);
        }
        IMethodProvider* provider = _call.services.providers.findMethodProvider(ns(), *_class);
        if (!provider) {
            _call.fail(CIM_ERR_METHOD_NOT_AVAILABLE, "No provider serves " + what());
        }
        Parameters out;
        VELSmrPtr<IVelaValue> result =
            provider->invokeMethod(_call.context, target, _method->getName(), *in, out);
        _op.setReturnValue(typedResult(result));
        _op.setOutParameters(typedOutputs(out));
    }

  private:
    const VELString& ns() const { return _call.nameSpace(); }
    VELString what() const { return "method " + _class->getName() + "." + _method->getName(); }

    VELSmrPtr<Parameters> typedInputs() {
        auto typed = makeVELSmrPtr<Parameters>();
        std::vector<VELString> given;
        const auto& in = _op.getInParameters();
        for (const auto& p : in.isNull() ? Parameters() : *in) {
            if (p.isNull()) {
                continue;
            }
            VELSmrPtr<IParameterDef> def = _method->getParameter(p->getName());
            if (def.isNull()) {
                _call.fail(CIM_ERR_INVALID_PARAMETER, what() + " has no parameter " + p->getName());
            }
            if (!isIn(*def)) {
                _call.fail(CIM_ERR_INVALID_PARAMETER,
                           "Parameter " + def->getName() + " of " + what() + " is not an input");
            }
            VELSmrPtr<IVelaType> type = declaredType(*def, def->getType());
            VELSmrPtr<IVelaValue> value;
            try {
                value = typedInput(p->getValue(), type);
            } catch (const VelaBaseException& e) {
                _call.fail(CIM_ERR_INVALID_PARAMETER,
                           "Parameter " + def->getName() + " of " + what() + ": " + e.getMessage());
            }
            if (!value.isNull() && value->isSet()) {
                given.push_back(def->getName());
            }
            typed->append(makeVELSmrPtr<CVelaActualParameter>(def->getName(), value, type));
        }
        for (auto it = _method->getParameters(); it->hasNext();) {
            VELSmrPtr<IParameterDef> def = it->next();
            if (!isIn(*def) || !QualifierList::isTrue(def->getQualifier("Required"))) {
                continue;
            }
            bool found = false;
            for (const VELString& g : given) {
                found = found || g.equalsIgnoreCase(def->getName().view());
            }
            if (!found) {
                _call.fail(CIM_ERR_INVALID_PARAMETER, "The required parameter " + def->getName() +
                                                          " of " + what() + " is missing");
            }
        }
        return typed;
    }

    // The value as the parameter's type; throws VelaBaseException saying why it cannot be.
    VELSmrPtr<IVelaValue> typedInput(const VELSmrPtr<IVelaValue>& value,
                                     const VELSmrPtr<IVelaType>& type) const {
        if (value.isNull() || !value->isSet()) {
            return CVelaValue::makeNull(type);
        }
        if (type->isEmbeddedObject()) {
            return embedded(value, type);
        }
        VELSmrPtr<IVelaValue> typed = CVelaValue::convertTo(value, type);
        if (type->isReference()) {
            auto list = typed->getType()->isArray() ? typed->getArray()
                                                    : makeVELSmrPtr<IVelaValue::ValueList>();
            if (!typed->getType()->isArray()) {
                list->append(typed);
            }
            for (const auto& v : *list) {
                if (!v.isNull() && v->isSet()) {
                    checkClass(v->getReference()->getClassName(), type->getReferenceClassName(),
                               "refers to");
                }
            }
        }
        return typed;
    }

    // Embedded instances arrive as instances, or as the text of an INSTANCE element.
    VELSmrPtr<IVelaValue> embedded(const VELSmrPtr<IVelaValue>& value,
                                   const VELSmrPtr<IVelaType>& type) const {
        auto one = [&](const VELSmrPtr<IVelaValue>& v) -> CVelaValue::Scalar {
            if (v.isNull() || !v->isSet()) {
                return CVelaValue::Scalar();
            }
            VELSmrPtr<IVelaObject> object;
            const IVelaType& t = *v->getType();
            if (t.getTypeId() == CIMTypeId::Object && !v->isUntyped() && !t.isClass()) {
                object = v->getObject();
            } else if (t.getTypeId() == CIMTypeId::String || v->isUntyped()) {
                object = CIMUtil::parseEmbeddedInstance(v->getString());
            }
            if (object.isNull()) {
                throw VelaBaseException("TypeMismatch", "tarn::MethodRoutes", "typedInput",
                                        "a " + t.getName() + " value is not an embedded instance",
                                        CIM_ERR_TYPE_MISMATCH);
            }
            checkClass(object->getClassName(), type->getReferenceClassName(), "is an instance of");
            return CVelaValue::Scalar(object);
        };
        if (value->getType()->isArray() != type->isArray()) {
            throw VelaBaseException("TypeMismatch", "tarn::MethodRoutes", "typedInput",
                                    type->isArray() ? "one value given where an array is expected"
                                                    : "an array given where one value is expected",
                                    CIM_ERR_TYPE_MISMATCH);
        }
        if (!type->isArray()) {
            return makeVELSmrPtr<CVelaValue>(type, one(value));
        }
        auto elements = std::make_shared<CVelaValue::ScalarArray>();
        // The list is held here: the loop would not keep a temporary pointer alive.
        const auto given = value->getArray();
        for (const auto& e : *given) {
            elements->push_back(one(e));
        }
        return makeVELSmrPtr<CVelaValue>(type,
                                         std::shared_ptr<const CVelaValue::ScalarArray>(elements));
    }

    // The class named is required or one of its subclasses.
    void checkClass(const VELString& className, const VELString& required,
                    const char* relation) const {
        if (required.isNull()) {
            return;
        }
        VELSmrPtr<IVelaClass> cls = _call.services.schema.getClass(ns(), className);
        if (cls.isNull() || !cls->isA(required)) {
            throw VelaBaseException("TypeMismatch", "tarn::MethodRoutes", "checkClass",
                                    "the value " + VELString(relation) + " " + className +
                                        ", which is not a " + required,
                                    CIM_ERR_TYPE_MISMATCH);
        }
    }

    // A reference that names no namespace names the call's.
    VELSmrPtr<IVelaInstanceName> qualified(const VELSmrPtr<IVelaInstanceName>& ref) const {
        if (ref.isNull() || (!ref->getNameSpacePath().isNull() &&
                             !ref->getNameSpacePath()->getNameSpace().isNull())) {
            return ref;
        }
        auto named = makeVELSmrPtr<CVelaInstanceName>(
            ref->getClassName(), makeVELSmrPtr<CVelaNameSpacePath>(VELString(), ns()),
            ref->isClassName());
        for (std::size_t i = 0; i < ref->getKeyBindingCount(); ++i) {
            VELSmrPtr<IVelaKeyBinding> key = ref->getKeyBinding(i);
            named->addKeyBinding(key->getPropertyName(), key->getValue());
        }
        return named;
    }

    // A provider's value as the declared type; CIM_ERR_FAILED when it cannot be.
    VELSmrPtr<IVelaValue> typedOutput(const VELSmrPtr<IVelaValue>& value,
                                      const VELSmrPtr<IVelaType>& type, const VELString& what) {
        if (value.isNull() || !value->isSet()) {
            return CVelaValue::makeNull(type);
        }
        VELSmrPtr<IVelaValue> typed;
        try {
            typed = type->isEmbeddedObject() ? embedded(value, type)
                                             : CVelaValue::convertTo(value, type);
        } catch (const VelaBaseException& e) {
            _call.fail(CIM_ERR_FAILED,
                       "The provider returned a bad value for " + what + ": " + e.getMessage());
        }
        if (!type->isReference()) {
            return typed;
        }
        if (!type->isArray()) {
            return CVelaValue::makeReference(qualified(typed->getReference()));
        }
        auto elements = std::make_shared<CVelaValue::ScalarArray>();
        const auto values = typed->getArray();  // held for the loop, as above
        for (const auto& e : *values) {
            elements->push_back(e.isNull() || !e->isSet()
                                    ? CVelaValue::Scalar()
                                    : CVelaValue::Scalar(qualified(e->getReference())));
        }
        return makeVELSmrPtr<CVelaValue>(type,
                                         std::shared_ptr<const CVelaValue::ScalarArray>(elements));
    }

    VELSmrPtr<IVelaValue> typedResult(const VELSmrPtr<IVelaValue>& result) {
        return typedOutput(result, declaredType(*_method, _method->getReturnType()),
                           "the return value of " + what());
    }

    VELSmrPtr<Parameters> typedOutputs(const Parameters& out) {
        auto typed = makeVELSmrPtr<Parameters>();
        for (const auto& p : out) {
            if (p.isNull()) {
                continue;
            }
            VELSmrPtr<IParameterDef> def = _method->getParameter(p->getName());
            if (def.isNull() || !isOut(*def)) {
                _call.fail(CIM_ERR_FAILED, "The provider returned " + p->getName() +
                                               ", which is not an output parameter of " + what());
            }
            VELSmrPtr<IVelaType> type = declaredType(*def, def->getType());
            typed->append(makeVELSmrPtr<CVelaActualParameter>(
                def->getName(), typedOutput(p->getValue(), type, "parameter " + def->getName()),
                type));
        }
        return typed;
    }

    OperationCall& _call;
    IVelaInvokeMethodOperation& _op;
    VELSmrPtr<IVelaClass> _class;
    VELSmrPtr<IMethodDef> _method;
};

void invokeMethod(OperationCall& call, IVelaInvokeMethodOperation& op) {
    MethodCall(call, op).run();
}

const Route kRoutes[] = {
    route<invokeMethod>(INVOKE_METHOD_ROUTE, Access::Write),
};

}  // namespace

std::span<const Route> methodRoutes() {
    return kRoutes;
}

}  // namespace tarn
