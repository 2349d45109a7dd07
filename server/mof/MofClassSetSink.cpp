#include "mof/MofClassSetSink.h"

#include "vela/VelaBaseException.h"

namespace tarn {

MofClassSetSink::MofClassSetSink(std::shared_ptr<CClassSet> set) : _set(std::move(set)) {}

void MofClassSetSink::begin() {
    _pending.clear();
    _current = VELString();
}

void MofClassSetSink::nameSpace(const VELString& nameSpace) {
    _current = nameSpace;
    _pending.push_back(Pending{nameSpace, nullptr, nullptr, nullptr});
}

void MofClassSetSink::qualifierDecl(const VELSmrPtr<IQualifierDef>& decl) {
    _pending.push_back(Pending{_current, decl, nullptr, nullptr});
}

void MofClassSetSink::classDecl(const VELSmrPtr<CVelaClass>& cls) {
    _pending.push_back(Pending{_current, nullptr, cls, nullptr});
}

void MofClassSetSink::instance(const VELSmrPtr<IVelaObject>& instance) {
    _pending.push_back(Pending{_current, nullptr, nullptr, instance});
}

void MofClassSetSink::commit() {
    for (const auto& p : _pending) {
        if (!p.cls.isNull() && !_set->getClass(p.nameSpace, p.cls->getName()).isNull()) {
            VELString name = p.cls->getName();
            _pending.clear();
            throw VelaBaseException("InvalidData", "tarn::MofClassSetSink", "commit",
                                    "class " + name + " already exists in namespace " + p.nameSpace,
                                    11);
        }
    }
    for (const auto& p : _pending) {
        if (!p.qualifier.isNull()) {
            _set->addQualifierDef(p.nameSpace, p.qualifier);
        } else if (!p.cls.isNull()) {
            _set->addResolvedClass(p.nameSpace, p.cls);
        } else if (!p.instance.isNull()) {
            _instances[p.nameSpace].push_back(p.instance);
        } else {
            _set->addNameSpace(p.nameSpace);
        }
    }
    _pending.clear();
}

void MofClassSetSink::abort() noexcept {
    _pending.clear();
}

std::vector<VELSmrPtr<IVelaObject>> MofClassSetSink::getInstances(
    const VELString& nameSpace) const {
    auto it = _instances.find(nameSpace);
    return it == _instances.end() ? std::vector<VELSmrPtr<IVelaObject>>() : it->second;
}

}  // namespace tarn
