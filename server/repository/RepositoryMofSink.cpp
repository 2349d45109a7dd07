#include "repository/RepositoryMofSink.h"

#include "vela/VelaBaseException.h"

namespace tarn {

void RepositoryMofSink::begin() {
    _txn.reset();
    _counts = Counts();
    _items = 0;
    _txn.emplace(_repo.beginTransaction());
}

void RepositoryMofSink::step() {
    if (++_items % 4096 == 0 && _progress) {
        _progress(_counts);
    }
}

void RepositoryMofSink::nameSpace(const VELString& nameSpace) {
    _current = nameSpace;
    if (!_txn->hasNameSpace(nameSpace)) {
        _txn->createNameSpace(nameSpace);
        ++_counts.nameSpaces;
    }
}

void RepositoryMofSink::qualifierDecl(const VELSmrPtr<IQualifierDef>& decl) {
    ++(_txn->addQualifierDecl(_current, decl) ? _counts.qualifiers : _counts.unchanged);
    step();
}

void RepositoryMofSink::classDecl(const VELSmrPtr<CVelaClass>& cls) {
    ++(_txn->addClass(_current, cls) ? _counts.classes : _counts.unchanged);
    step();
}

void RepositoryMofSink::instance(const VELSmrPtr<IVelaObject>& instance) {
    bool kept = false;
    _txn->createInstance(_current, *instance, &kept);
    ++(kept ? _counts.unchanged : _counts.instances);
    step();
}

void RepositoryMofSink::commit() {
    if (!_infoName.isNull()) {
        _txn->setInfo(_infoName, _infoValue);
    }
    _txn->commit();
    _txn.reset();
}

void RepositoryMofSink::abort() noexcept {
    _txn.reset();  // rolls back
}

}  // namespace tarn
