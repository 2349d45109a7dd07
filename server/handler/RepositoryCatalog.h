// tarn::RepositoryCatalog: the operation handler's view of the repository's
// schema (answered from its class cache, without touching the database).
#pragma once

#include "handler/ISchemaCatalog.h"
#include "repository/Repository.h"

namespace tarn {

class RepositoryCatalog : public ISchemaCatalog {
  public:
    explicit RepositoryCatalog(const Repository& repository) : _repository(repository) {}

    bool hasNameSpace(const VELString& nameSpace) const override {
        return _repository.hasNameSpace(nameSpace);
    }
    VELSmrPtr<IVelaClass> getClass(const VELString& nameSpace,
                                   const VELString& className) const override {
        return _repository.getSchemaCache()->getClass(nameSpace, className);
    }
    std::vector<VELString> getSubclassNames(const VELString& nameSpace,
                                            const VELString& className) const override {
        return _repository.enumerateClassNames(nameSpace, className, true);
    }

  private:
    const Repository& _repository;
};

}  // namespace tarn
