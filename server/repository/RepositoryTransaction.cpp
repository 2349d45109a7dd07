#include "repository/RepositoryTransaction.h"

#include "repository/InstanceChecker.h"
#include "repository/InstanceCodec.h"
#include "repository/ReferenceIndex.h"
#include "repository/Repository.h"
#include "repository/RepositoryError.h"
#include "repository/RepositorySql.h"
#include "repository/SchemaCodec.h"
#include "tarn/CIMStatus.h"

namespace tarn {

namespace {

using E = RepositoryError;
using Sql = RepositorySql;

bool validNameSpaceName(const VELString& name) {
    if (name.isNull() || name.length() > 1024 || name[0] == '/' || name[name.length() - 1] == '/') {
        return false;
    }
    char previous = 0;
    for (char c : name.view()) {
        auto u = static_cast<unsigned char>(c);
        bool ok = std::isalnum(u) || c == '_' || u >= 0x80 || (c == '/' && previous != '/');
        if (!ok) {
            return false;
        }
        previous = c;
    }
    return true;
}

}  // namespace

RepositoryTransaction::RepositoryTransaction(Repository& repository) : _repo(&repository) {
    if (_repo->_writerThread.load() == std::this_thread::get_id()) {
        E::raise(CIM_ERR_FAILED, "beginTransaction",
                 "this thread already holds a write transaction of the repository");
    }
    // Writers take turns; a transaction is short, except a bulk load, which
    // others then wait for.
    _lock = std::unique_lock<std::mutex>(_repo->_writeMutex);
    _repo->_writerThread.store(std::this_thread::get_id());
    try {
        db().exec("BEGIN IMMEDIATE");
    } catch (...) {
        _repo->_writerThread.store(std::thread::id());
        throw;
    }
    // Schema changes are published under the writer lock, so this is the latest.
    _base = _repo->_catalog->current();
    _open = true;
}

RepositoryTransaction::RepositoryTransaction(RepositoryTransaction&& other) noexcept
    : _repo(other._repo),
      _lock(std::move(other._lock)),
      _base(std::move(other._base)),
      _working(std::move(other._working)),
      _open(std::exchange(other._open, false)) {}

RepositoryTransaction::~RepositoryTransaction() {
    rollback();
}

SqliteConnection& RepositoryTransaction::db() const {
    return *_repo->_writer;
}

void RepositoryTransaction::checkOpen() const {
    if (!_open) {
        E::raise(CIM_ERR_FAILED, "transaction", "the transaction has ended");
    }
}

SchemaSnapshot& RepositoryTransaction::editSchema() {
    if (!_working) {
        _working = std::make_shared<SchemaSnapshot>(*_base);
    }
    return *_working;
}

void RepositoryTransaction::end() noexcept {
    _open = false;
    _working.reset();
    _repo->_writerThread.store(std::thread::id());
    if (_lock.owns_lock()) {
        _lock.unlock();
    }
}

void RepositoryTransaction::commit() {
    checkOpen();
    try {
        db().exec("COMMIT");
    } catch (...) {
        db().rollbackQuietly();
        end();
        throw;
    }
    if (_working) {
        _repo->_catalog->publish(std::move(_working));
    }
    end();
}

void RepositoryTransaction::rollback() noexcept {
    if (!_open) {
        return;
    }
    db().rollbackQuietly();
    end();
}

void RepositoryTransaction::setInfo(const VELString& name, const VELString& value) {
    checkOpen();
    auto& st = db().statement(Sql::UPSERT_META);
    SqliteStatement::Scope scope(st);
    st.bindText(1, name.view()).bindText(2, value.view()).run();
}

// Schema -------------------------------------------------------------------

bool RepositoryTransaction::hasNameSpace(const VELString& nameSpace) const {
    return schema().find(nameSpace) != nullptr;
}

void RepositoryTransaction::createNameSpace(const VELString& nameSpace) {
    checkOpen();
    if (!validNameSpaceName(nameSpace)) {
        E::raise(CIM_ERR_INVALID_PARAMETER, "createNameSpace",
                 "'" + nameSpace +
                     "' is not a namespace name (names of letters, digits and _ separated by /)");
    }
    if (hasNameSpace(nameSpace)) {
        E::raise(CIM_ERR_ALREADY_EXISTS, "createNameSpace",
                 "namespace " + nameSpace + " already exists");
    }
    auto& st = db().statement(Sql::INSERT_NAMESPACE);
    SqliteStatement::Scope scope(st);
    st.bindText(1, nameSpace.view()).run();
    if (db().changes() == 0) {
        E::raise(CIM_ERR_ALREADY_EXISTS, "createNameSpace",
                 "namespace " + nameSpace + " already exists");
    }
    editSchema().addNameSpace(db().lastInsertId(), nameSpace);
}

void RepositoryTransaction::deleteNameSpace(const VELString& nameSpace) {
    checkOpen();
    const auto& ns = Repository::nameSpaceOf(schema(), nameSpace);
    const std::int64_t id = ns.id;
    const VELString name = ns.name;
    // Counted in the database: another process may have added a class that
    // this process's schema does not show yet.
    std::int64_t classes = 0;
    {
        auto& st = db().statement(Sql::COUNT_CLASSES_OF_NAMESPACE);
        SqliteStatement::Scope scope(st);
        st.bind(1, id);
        if (st.step()) {
            classes = st.columnInt(0);
        }
    }
    if (classes > 0) {
        E::raise(CIM_ERR_NAMESPACE_NOT_EMPTY, "deleteNameSpace",
                 "namespace " + name + " is not empty: it holds " + VELString::valueOf(classes) +
                     (classes == 1 ? " class" : " classes"));
    }
    for (const char* sql : {Sql::DELETE_QUALIFIERS_OF_NAMESPACE, Sql::DELETE_NAMESPACE}) {
        auto& st = db().statement(sql);
        SqliteStatement::Scope scope(st);
        st.bind(1, id).run();
    }
    editSchema().removeNameSpace(name);
}

bool RepositoryTransaction::addQualifierDecl(const VELString& nameSpace,
                                             const VELSmrPtr<IQualifierDef>& decl) {
    checkOpen();
    const auto& ns = Repository::nameSpaceOf(schema(), nameSpace);
    std::string data = SchemaCodec::encodeQualifierDecl(*decl);
    VELSmrPtr<IQualifierDef> existing = ns.findQualifier(decl->getName());
    if (!existing.isNull()) {
        if (SchemaCodec::encodeQualifierDecl(*existing) == data) {
            return false;
        }
        E::raise(CIM_ERR_ALREADY_EXISTS, "addQualifierDecl",
                 "qualifier " + decl->getName() + " is already declared differently in namespace " +
                     ns.name);
    }
    // Stored and served as it reads back, so that a restart changes nothing.
    VELSmrPtr<IQualifierDef> stored = SchemaCodec::decodeQualifierDecl(data);
    auto& st = db().statement(Sql::INSERT_QUALIFIER);
    SqliteStatement::Scope scope(st);
    st.bind(1, ns.id).bindText(2, stored->getName().view()).bindBlob(3, data).run();
    editSchema().setQualifier(ns.name, stored);
    return true;
}

bool RepositoryTransaction::addClass(const VELString& nameSpace, const VELSmrPtr<CVelaClass>& cls) {
    checkOpen();
    const auto& ns = Repository::nameSpaceOf(schema(), nameSpace);
    std::string data = SchemaCodec::encodeClass(*cls);
    if (ns.findClass(cls->getName())) {
        auto& st = db().statement(Sql::SELECT_CLASS);
        SqliteStatement::Scope scope(st);
        st.bind(1, ns.id).bindText(2, cls->getName().view());
        if (st.step() && st.columnBlob(0) == data) {
            return false;
        }
        E::raise(CIM_ERR_ALREADY_EXISTS, "addClass",
                 "class " + cls->getName() + " already exists in namespace " + ns.name +
                     " with a different definition");
    }
    VELSmrPtr<IVelaClass> super;
    if (!cls->getSuperClassName().isNull()) {
        const ClassLayout* s = ns.findClass(cls->getSuperClassName());
        if (!s) {
            E::raise(CIM_ERR_INVALID_SUPERCLASS, "addClass",
                     "superclass " + cls->getSuperClassName() + " of class " + cls->getName() +
                         " does not exist in namespace " + ns.name);
        }
        super = s->cls();
    }
    // The class is served as it will load after a restart: decoded from what
    // is stored and resolved against the stored superclass.
    VELSmrPtr<CVelaClass> stored = SchemaCodec::decodeClass(data, ns.name);
    try {
        stored->resolve(super);
    } catch (const VelaBaseException& e) {
        E::raise(CIM_ERR_INVALID_PARAMETER, "addClass",
                 "class " + cls->getName() + ": " + e.getMessage());
    }
    auto& st = db().statement(Sql::INSERT_CLASS);
    SqliteStatement::Scope scope(st);
    st.bind(1, ns.id)
        .bindText(2, stored->getName().view())
        .bindText(3, stored->getSuperClassName().view())
        .bindBlob(4, data)
        .run();
    editSchema().addClass(ns.name, stored, db().lastInsertId());
    return true;
}

// Instances ------------------------------------------------------------------

VELSmrPtr<IVelaInstanceName> RepositoryTransaction::createInstance(const VELString& nameSpace,
                                                                   const IVelaObject& instance,
                                                                   bool* keepIdentical) {
    checkOpen();
    const SchemaSnapshot& s = schema();
    const auto& ns = Repository::nameSpaceOf(s, nameSpace);
    const ClassLayout& layout = Repository::classOf(ns, instance.getClassName());
    InstanceChecker::NewInstance checked = InstanceChecker(s, ns).checkNew(layout, instance);
    std::string data = InstanceCodec::encode(*checked.instance);
    auto& st = db().statement(Sql::INSERT_INSTANCE);
    {
        SqliteStatement::Scope scope(st);
        st.bind(1, layout.id()).bindText(2, checked.keys.view()).bindBlob(3, data).run();
    }
    if (db().changes() == 0) {
        if (keepIdentical) {
            auto& sel = db().statement(Sql::SELECT_INSTANCE);
            SqliteStatement::Scope scope(sel);
            sel.bind(1, layout.id()).bindText(2, checked.keys.view());
            if (sel.step() && sel.columnBlob(0) == data) {
                *keepIdentical = true;
                return checked.path;
            }
        }
        E::raise(CIM_ERR_ALREADY_EXISTS, "createInstance",
                 "instance " + layout.name() + "." + checked.keys +
                     " already exists in namespace " + ns.name);
    }
    if (keepIdentical) {
        *keepIdentical = false;
    }
    ReferenceIndex::add(db(), layout, checked.keys,
                        ReferenceIndex::targetsOf(layout, *checked.instance, ns.name));
    return checked.path;
}

VELSmrPtr<IVelaObject> RepositoryTransaction::getInstance(const VELString& nameSpace,
                                                          const IVelaInstanceName& name) const {
    checkOpen();
    const ClassLayout* layout = nullptr;
    VELString keys;
    auto found = Repository::fetch(db(), schema(), nameSpace, name, &layout, &keys);
    if (found.isNull()) {
        E::raise(CIM_ERR_NOT_FOUND, "getInstance",
                 "instance " + layout->name() + "." + keys + " does not exist in namespace " +
                     nameSpace);
    }
    return found;
}

void RepositoryTransaction::modifyInstance(const VELString& nameSpace,
                                           const VELSmrPtr<IVelaInstanceName>& givenName,
                                           const IVelaObject& modified,
                                           const VELSmrPtr<VELValSlist<VELString>>& propertyList) {
    checkOpen();
    const SchemaSnapshot& s = schema();
    const auto& ns = Repository::nameSpaceOf(s, nameSpace);
    InstanceChecker checker(s, ns);
    VELSmrPtr<IVelaInstanceName> name = givenName.isNull() ? modified.getPath() : givenName;
    if (name.isNull()) {
        // Named by its own key properties.
        const ClassLayout& layout = Repository::classOf(ns, modified.getClassName());
        auto byKeys = makeVELSmrPtr<CVelaInstanceName>(layout.name());
        for (std::size_t k : layout.keys()) {
            auto p = modified.getProperty(layout.property(k)->getName());
            if (!p.isNull()) {
                byKeys->addKeyBinding(p->getName(), p->getValue());
            }
        }
        name = byKeys;
    }
    const ClassLayout* layout = nullptr;
    VELString keys;
    VELSmrPtr<CVelaObject> current = Repository::fetch(db(), s, nameSpace, *name, &layout, &keys);
    if (!modified.getClassName().isNull() &&
        !modified.getClassName().equalsIgnoreCase(layout->name())) {
        E::raise(CIM_ERR_INVALID_PARAMETER, "modifyInstance",
                 "the modified instance is of class " + modified.getClassName() +
                     ", its name of class " + layout->name());
    }
    if (current.isNull()) {
        E::raise(CIM_ERR_NOT_FOUND, "modifyInstance",
                 "instance " + layout->name() + "." + keys + " does not exist in namespace " +
                     nameSpace);
    }
    std::vector<VELSmrPtr<IVelaValue>> values(layout->size());
    for (std::size_t i = 0; i < layout->size(); ++i) {
        values[i] = current->getProperty(i)->getValue();
    }
    auto position = [&](const VELString& property) {
        long pos = layout->indexOf(property);
        if (pos < 0) {
            E::raise(CIM_ERR_INVALID_PARAMETER, "modifyInstance",
                     "class " + layout->name() + " has no property " + property);
        }
        return static_cast<std::size_t>(pos);
    };
    if (propertyList.isNull()) {
        for (std::size_t k = 0; k < modified.getPropertyCount(); ++k) {
            const auto& p = modified.getProperty(k);
            std::size_t i = position(p->getName());
            values[i] = checker.typeValue(*layout, i, p->getValue());
        }
    } else {
        for (const VELString& property : *propertyList) {
            std::size_t i = position(property);
            auto p = modified.getProperty(property);
            values[i] = checker.typeValue(
                *layout, i, p.isNull() ? layout->property(i)->getDefaultValue() : p->getValue());
        }
    }
    if (checker.canonicalKeys(*layout, values) != keys) {
        E::raise(
            CIM_ERR_INVALID_PARAMETER, "modifyInstance",
            "the key properties of instance " + layout->name() + "." + keys + " cannot be changed");
    }
    auto changed = checker.makeInstance(*layout, values, current->getPath());
    std::string data = InstanceCodec::encode(*changed);
    {
        auto& st = db().statement(Sql::UPDATE_INSTANCE);
        SqliteStatement::Scope scope(st);
        st.bind(1, layout->id()).bindText(2, keys.view()).bindBlob(3, data).run();
    }
    if (layout->isAssociation()) {
        // References that are not keys may change.
        auto before = ReferenceIndex::targetsOf(*layout, *current, ns.name);
        auto after = ReferenceIndex::targetsOf(*layout, *changed, ns.name);
        if (before != after) {
            ReferenceIndex::remove(db(), *layout, keys, before);
            ReferenceIndex::add(db(), *layout, keys, after);
        }
    }
}

void RepositoryTransaction::deleteInstance(const VELString& nameSpace,
                                           const IVelaInstanceName& name) {
    checkOpen();
    const SchemaSnapshot& s = schema();
    const auto& ns = Repository::nameSpaceOf(s, nameSpace);
    const ClassLayout& layout = Repository::classOf(ns, name.getClassName());
    VELString keys = InstanceChecker(s, ns).checkName(layout, name);
    bool deleted = false;
    if (layout.isAssociation()) {
        // Its rows of the index go with it.
        VELSmrPtr<CVelaObject> gone;
        {
            auto& st = db().statement(Sql::DELETE_INSTANCE_RETURNING);
            SqliteStatement::Scope scope(st);
            st.bind(1, layout.id()).bindText(2, keys.view());
            while (st.step()) {
                gone = InstanceCodec::decode(st.columnBlob(0), layout, ns.path);
            }
        }
        if (!gone.isNull()) {
            deleted = true;
            ReferenceIndex::remove(db(), layout, keys,
                                   ReferenceIndex::targetsOf(layout, *gone, ns.name));
        }
    } else {
        auto& st = db().statement(Sql::DELETE_INSTANCE);
        SqliteStatement::Scope scope(st);
        st.bind(1, layout.id()).bindText(2, keys.view()).run();
        deleted = db().changes() != 0;
    }
    if (!deleted) {
        E::raise(
            CIM_ERR_NOT_FOUND, "deleteInstance",
            "instance " + layout.name() + "." + keys + " does not exist in namespace " + ns.name);
    }
}

}  // namespace tarn
