// tarn::RepositoryMofSink: writes the result of a MOF compilation into a
// repository in one transaction, so that a compilation is stored entirely or
// not at all. Use the repository's schema cache as the compilation's
// context, so that the MOF sees the classes and qualifiers already stored.
//
// What is already there: a namespace is reused; a qualifier declaration, a
// class or an instance that is identical to the stored one is left as it is
// (and counted as unchanged); one that differs fails the whole compilation
// (CIM_ERR_ALREADY_EXISTS), since the repository never changes a class
// under its instances and MOF does not say whether to replace an instance.
#pragma once

#include <functional>
#include <optional>

#include "mof/IMofSink.h"
#include "repository/Repository.h"

namespace tarn {

class RepositoryMofSink : public IMofSink {
  public:
    struct Counts {
        std::size_t nameSpaces = 0;  // created
        std::size_t qualifiers = 0;
        std::size_t classes = 0;
        std::size_t instances = 0;
        std::size_t unchanged = 0;  // identical declarations and instances kept
    };

    explicit RepositoryMofSink(Repository& repository) : _repo(repository) {}

    // Called every few thousand items while writing.
    void onProgress(std::function<void(const Counts&)> progress) {
        _progress = std::move(progress);
    }
    // A bookkeeping value written in the same transaction (see
    // RepositoryTransaction::setInfo).
    void setInfoOnCommit(VELString name, VELString value) {
        _infoName = std::move(name);
        _infoValue = std::move(value);
    }

    void begin() override;
    void nameSpace(const VELString& nameSpace) override;
    void qualifierDecl(const VELSmrPtr<IQualifierDef>& decl) override;
    void classDecl(const VELSmrPtr<CVelaClass>& cls) override;
    void instance(const VELSmrPtr<IVelaObject>& instance) override;
    void commit() override;
    void abort() noexcept override;

    // What the last compilation wrote (valid after commit).
    const Counts& counts() const { return _counts; }

  private:
    void step();

    Repository& _repo;
    std::optional<RepositoryTransaction> _txn;
    VELString _current;
    Counts _counts;
    std::size_t _items = 0;
    std::function<void(const Counts&)> _progress;
    VELString _infoName;
    VELString _infoValue;
};

}  // namespace tarn
