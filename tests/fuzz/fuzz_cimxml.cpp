// libFuzzer target: the CIM-XML request parser (VELCIMMessage and
// CIMUtil::parseEmbeddedInstance) on arbitrary bodies. Besides the
// sanitizers' checks, it asserts the parser's own promises: a rejected body
// has a reason and no requests, an accepted one no reason, and everything
// accepted can be read back without error.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "vela/CIMUtil.h"
#include "vela/IVelaClass.h"
#include "vela/IVelaNameSpacePath.h"
#include "vela/VELCIMMessage.h"
#include "vela/VelaBaseException.h"

namespace {

void check(bool ok) {
    if (!ok) {
        std::abort();
    }
}

void visit(const VELSmrPtr<IVelaObject>& object, int depth);

void visit(const VELSmrPtr<IVelaInstanceName>& name) {
    if (name.isNull()) {
        return;
    }
    name->toString();
    for (std::size_t i = 0; i < name->getKeyBindingCount(); ++i) {
        check(!name->getKeyBinding(i).isNull());
    }
}

void visit(const VELSmrPtr<IVelaValue>& value, int depth) {
    if (value.isNull() || depth > 16) {
        return;
    }
    std::ostringstream os;
    value->print(os);
    const IVelaType& type = *value->getType();
    if (type.isArray()) {
        auto list = value->getArray();
        if (!list.isNull()) {
            check(list->entries() == value->getArraySize());
            for (const auto& e : *list) {
                visit(e, depth + 1);
            }
        }
    } else if (value->isSet() && type.isReference()) {
        visit(value->getReference());
    } else if (value->isSet() && type.isEmbeddedObject()) {
        if (type.isClass() && !type.isInstance()) {
            value->getClass()->getName();
        } else if (!type.isClass()) {
            visit(value->getObject(), depth + 1);
        }
    }
}

void visit(const VELSmrPtr<IVelaObject>& object, int depth) {
    if (object.isNull()) {
        return;
    }
    visit(object->getPath());
    for (std::size_t i = 0; i < object->getPropertyCount(); ++i) {
        const auto& p = object->getProperty(i);
        check(!object->getProperty(p->getName()).isNull());
        visit(p->getValue(), depth);
    }
}

void visit(const VELSmrPtr<VELCIMMessage::MethodCallList>& calls) {
    if (calls.isNull()) {
        return;
    }
    for (const auto& call : *calls) {
        check(!call.isNull());
        check(!call->getMethodName().isNull());
        if (call->isIntrinsic()) {
            check(!call->getNameSpace().isNull());
        }
        if (!call->getTarget().isNull()) {
            visit(call->getTarget()->getValue(), 0);
        }
        for (const auto& p : *call->getParameterListPtr()) {
            check(call->getParameterByName(p->getName()) != nullptr);
            call->getParameterValueByName(p->getName());
            visit(p->getValue(), 0);
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string body(reinterpret_cast<const char*>(data), size);
    {
        VELCIMMessage m(body);
        if (m.isWellFormed()) {
            check(m.getErrorText().isNull());
            visit(m.getSimpleRequestList());
            visit(m.getSimpleExportRequestList());
        } else {
            check(!m.getErrorText().isNull());
            check(m.getSimpleRequestList().isNull() && m.getSimpleExportRequestList().isNull());
        }
    }
    try {
        visit(CIMUtil::parseEmbeddedInstance(body), 0);
    } catch (const VelaBaseException& e) {
        check(e.getType() == "InvalidData");
    }
    return 0;
}
