#include "repository/SchemaSnapshot.h"

#include <algorithm>

#include "tarn/CIMStatus.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/VelaBaseException.h"

namespace tarn {

const ClassLayout* SchemaSnapshot::NameSpace::findClass(const VELString& className) const {
    auto it = classIndex.find(className);
    return it == classIndex.end() ? nullptr : classes[it->second].get();
}

VELSmrPtr<IQualifierDef> SchemaSnapshot::NameSpace::findQualifier(const VELString& name) const {
    auto it = qualifierIndex.find(name);
    return it == qualifierIndex.end() ? VELSmrPtr<IQualifierDef>() : qualifiers[it->second];
}

std::vector<const ClassLayout*> SchemaSnapshot::NameSpace::subclasses(const VELString& className,
                                                                      bool deep) const {
    std::vector<const ClassLayout*> out;
    // Breadth first, so that superclasses come before their subclasses.
    std::vector<const VELString*> queue{&className};
    for (std::size_t head = 0; head < queue.size(); ++head) {
        auto it = children.find(*queue[head]);
        if (it == children.end()) {
            continue;
        }
        for (std::size_t pos : it->second) {
            const ClassLayout* c = classes[pos].get();
            out.push_back(c);
            if (deep) {
                queue.push_back(&c->name());
            }
        }
    }
    return out;
}

const SchemaSnapshot::NameSpace* SchemaSnapshot::find(const VELString& nameSpace) const {
    auto it = _nameSpaces.find(nameSpace);
    return it == _nameSpaces.end() ? nullptr : it->second.get();
}

std::vector<VELString> SchemaSnapshot::nameSpaceNames() const {
    std::vector<VELString> out;
    out.reserve(_nameSpaces.size());
    for (const auto& kv : _nameSpaces) {
        out.push_back(kv.second->name);
    }
    return out;
}

std::size_t SchemaSnapshot::classCount() const {
    std::size_t n = 0;
    for (const auto& kv : _nameSpaces) {
        n += kv.second->classes.size();
    }
    return n;
}

SchemaSnapshot::NameSpace& SchemaSnapshot::edit(const VELString& nameSpace) {
    auto it = _nameSpaces.find(nameSpace);
    if (it == _nameSpaces.end()) {
        throw VelaBaseException("InvalidNamespace", "tarn::SchemaSnapshot", "edit",
                                "namespace " + nameSpace + " does not exist",
                                CIM_ERR_INVALID_NAMESPACE);
    }
    if (!_owned.count(it->second.get())) {
        it->second = std::make_shared<NameSpace>(*it->second);
        _owned.insert(it->second.get());
    }
    return *it->second;
}

void SchemaSnapshot::addNameSpace(std::int64_t id, const VELString& name) {
    auto ns = std::make_shared<NameSpace>();
    ns->id = id;
    ns->name = name;
    ns->path = VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath(VELString(), name));
    _owned.insert(ns.get());
    _nameSpaces[name] = std::move(ns);
}

void SchemaSnapshot::removeNameSpace(const VELString& name) {
    auto it = _nameSpaces.find(name);
    if (it != _nameSpaces.end()) {
        _owned.erase(it->second.get());
        _nameSpaces.erase(it);
    }
}

void SchemaSnapshot::setQualifier(const VELString& nameSpace,
                                  const VELSmrPtr<IQualifierDef>& decl) {
    NameSpace& ns = edit(nameSpace);
    auto it = ns.qualifierIndex.find(decl->getName());
    if (it != ns.qualifierIndex.end()) {
        ns.qualifiers[it->second] = decl;
        return;
    }
    // Kept in name order, the order in which they are stored.
    auto pos =
        std::lower_bound(ns.qualifiers.begin(), ns.qualifiers.end(), decl,
                         [](const VELSmrPtr<IQualifierDef>& a, const VELSmrPtr<IQualifierDef>& b) {
                             return a->getName().compareToIgnoreCase(b->getName()) < 0;
                         });
    ns.qualifiers.insert(pos, decl);
    ns.qualifierIndex.clear();
    for (std::size_t i = 0; i < ns.qualifiers.size(); ++i) {
        ns.qualifierIndex.emplace(ns.qualifiers[i]->getName(), i);
    }
}

const ClassLayout& SchemaSnapshot::addClass(const VELString& nameSpace,
                                            const VELSmrPtr<CVelaClass>& cls, std::int64_t id) {
    NameSpace& ns = edit(nameSpace);
    std::size_t pos = ns.classes.size();
    ns.classes.push_back(std::make_shared<const ClassLayout>(cls, id));
    ns.classIndex.emplace(cls->getName(), pos);
    ns.children[cls->getSuperClassName()].push_back(pos);
    return *ns.classes.back();
}

}  // namespace tarn
