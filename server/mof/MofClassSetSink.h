// tarn::MofClassSetSink: keeps the result of MOF compilations in memory, in a
// tarn::CClassSet (qualifier declarations and classes) and a list of
// instances per namespace. Its class set can be the catalog of later
// compilations, so that a schema can be compiled in several steps. A compilation's result is
// applied at commit only, and only when all its classes can be added.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "mof/IMofSink.h"
#include "tarn/CClassSet.h"

namespace tarn {

class MofClassSetSink : public IMofSink {
  public:
    explicit MofClassSetSink(std::shared_ptr<CClassSet> set = std::make_shared<CClassSet>());

    void begin() override;
    void nameSpace(const VELString& nameSpace) override;
    void qualifierDecl(const VELSmrPtr<IQualifierDef>& decl) override;
    void classDecl(const VELSmrPtr<CVelaClass>& cls) override;
    void instance(const VELSmrPtr<IVelaObject>& instance) override;
    // Throws VelaBaseException (code 11) when a class already exists; then nothing is applied.
    void commit() override;
    void abort() noexcept override;

    const std::shared_ptr<CClassSet>& classSet() const { return _set; }
    // The instances of a namespace, in the order they were compiled.
    std::vector<VELSmrPtr<IVelaObject>> getInstances(const VELString& nameSpace) const;

  private:
    struct Pending {
        VELString nameSpace;
        VELSmrPtr<IQualifierDef> qualifier;
        VELSmrPtr<CVelaClass> cls;
        VELSmrPtr<IVelaObject> instance;
    };

    std::shared_ptr<CClassSet> _set;
    std::map<VELString, std::vector<VELSmrPtr<IVelaObject>>, VELStringLessIgnoreCase> _instances;
    std::vector<Pending> _pending;
    VELString _current;
};

}  // namespace tarn
