#include "tarn/CClassSet.h"

#include "vela/VelaBaseException.h"

namespace tarn {

CClassSet::NameSpace& CClassSet::ensure(const VELString& nameSpace) {
    auto it = _nameSpaces.find(nameSpace);
    if (it == _nameSpaces.end()) {
        it = _nameSpaces.emplace(nameSpace, NameSpace{}).first;
        it->second.name = nameSpace;
        ++_generation;
    }
    return it->second;
}

const CClassSet::NameSpace* CClassSet::find(const VELString& nameSpace) const {
    auto it = _nameSpaces.find(nameSpace);
    return it == _nameSpaces.end() ? nullptr : &it->second;
}

void CClassSet::addNameSpace(const VELString& nameSpace) {
    ensure(nameSpace);
}

bool CClassSet::hasNameSpace(const VELString& nameSpace) const {
    return find(nameSpace) != nullptr;
}

std::vector<VELString> CClassSet::getNameSpaces() const {
    std::vector<VELString> out;
    for (const auto& kv : _nameSpaces) {
        out.push_back(kv.second.name);
    }
    return out;
}

void CClassSet::addQualifierDef(const VELString& nameSpace, const VELSmrPtr<IQualifierDef>& def) {
    NameSpace& ns = ensure(nameSpace);
    ++_generation;
    auto it = ns.qualifierIndex.find(def->getName());
    if (it != ns.qualifierIndex.end()) {
        ns.qualifiers[it->second] = def;
    } else {
        ns.qualifierIndex.emplace(def->getName(), ns.qualifiers.size());
        ns.qualifiers.push_back(def);
    }
}

VELSmrPtr<IQualifierDef> CClassSet::getQualifierDef(const VELString& nameSpace,
                                                    const VELString& name) const {
    const NameSpace* ns = find(nameSpace);
    if (!ns) {
        return nullptr;
    }
    auto it = ns->qualifierIndex.find(name);
    return it == ns->qualifierIndex.end() ? VELSmrPtr<IQualifierDef>() : ns->qualifiers[it->second];
}

std::vector<VELSmrPtr<IQualifierDef>> CClassSet::getQualifierDefs(
    const VELString& nameSpace) const {
    const NameSpace* ns = find(nameSpace);
    return ns ? ns->qualifiers : std::vector<VELSmrPtr<IQualifierDef>>();
}

VELSmrPtr<IVelaClass> CClassSet::addClass(const VELString& nameSpace,
                                          const VELSmrPtr<CVelaClass>& cls) {
    NameSpace& ns = ensure(nameSpace);
    VELSmrPtr<IVelaClass> super = checkNewClass(ns, *cls);
    cls->setNameSpace(ns.name);
    cls->resolve(super);
    insert(ns, cls);
    return cls;
}

VELSmrPtr<IVelaClass> CClassSet::addResolvedClass(const VELString& nameSpace,
                                                  const VELSmrPtr<CVelaClass>& cls) {
    if (!cls->isResolved()) {
        throw VelaBaseException("InvalidData", "tarn::CClassSet", "addResolvedClass",
                                "class " + cls->getName() + " is not resolved", 4);
    }
    NameSpace& ns = ensure(nameSpace);
    checkNewClass(ns, *cls);
    insert(ns, cls);
    return cls;
}

VELSmrPtr<IVelaClass> CClassSet::checkNewClass(const NameSpace& ns, const CVelaClass& cls) const {
    if (ns.classIndex.count(cls.getName())) {
        throw VelaBaseException(
            "InvalidData", "tarn::CClassSet", "addClass",
            "class " + cls.getName() + " already exists in namespace " + ns.name, 11);
    }
    if (cls.getSuperClassName().isNull()) {
        return nullptr;
    }
    auto it = ns.classIndex.find(cls.getSuperClassName());
    if (it == ns.classIndex.end()) {
        throw VelaBaseException("InvalidData", "tarn::CClassSet", "addClass",
                                "superclass " + cls.getSuperClassName() + " of class " +
                                    cls.getName() + " does not exist in namespace " + ns.name,
                                10);
    }
    return ns.classes[it->second];
}

void CClassSet::insert(NameSpace& ns, const VELSmrPtr<CVelaClass>& cls) {
    std::size_t pos = ns.classes.size();
    ++_generation;
    ns.classes.push_back(cls);
    ns.classIndex.emplace(cls->getName(), pos);
    ns.children[cls->getSuperClassName()].push_back(pos);
}

VELSmrPtr<IVelaClass> CClassSet::getClass(const VELString& nameSpace,
                                          const VELString& className) const {
    const NameSpace* ns = find(nameSpace);
    if (!ns) {
        return nullptr;
    }
    auto it = ns->classIndex.find(className);
    return it == ns->classIndex.end() ? VELSmrPtr<IVelaClass>() : ns->classes[it->second];
}

std::vector<VELSmrPtr<IVelaClass>> CClassSet::getSubclasses(const VELString& nameSpace,
                                                            const VELString& className,
                                                            bool deep) const {
    std::vector<VELSmrPtr<IVelaClass>> out;
    const NameSpace* ns = find(nameSpace);
    if (!ns) {
        return out;
    }
    // Breadth-first from the class, so that superclasses come before subclasses.
    std::vector<VELString> queue{className};
    for (std::size_t head = 0; head < queue.size(); ++head) {
        auto it = ns->children.find(queue[head]);
        if (it == ns->children.end()) {
            continue;
        }
        for (std::size_t pos : it->second) {
            out.push_back(ns->classes[pos]);
            if (deep) {
                queue.push_back(ns->classes[pos]->getName());
            }
        }
    }
    return out;
}

std::size_t CClassSet::classCount() const {
    std::size_t n = 0;
    for (const auto& kv : _nameSpaces) {
        n += kv.second.classes.size();
    }
    return n;
}

}  // namespace tarn
