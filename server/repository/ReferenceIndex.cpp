#include "repository/ReferenceIndex.h"

#include "repository/InstanceChecker.h"
#include "repository/InstanceCodec.h"
#include "repository/RepositorySql.h"
#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

using Sql = RepositorySql;

const char* const WHO = "tarn::ReferenceIndex";

// Rows read per step of the rebuild, which rewrites rows as it goes.
constexpr std::int64_t REBUILD_CHUNK = 512;

// Brings one stored instance to the current stored form. Returns its new
// canonical keys and properties; false when it cannot be read as its class
// says (it is left as it is).
bool normalise(const InstanceChecker& checker, const ClassLayout& layout,
               const SchemaSnapshot::NameSpace& ns, std::string_view data,
               VELSmrPtr<CVelaObject>& instance, VELString& keys) {
    try {
        auto stored = InstanceCodec::decode(data, layout, ns.path);
        std::vector<VELSmrPtr<IVelaValue>> values(layout.size());
        for (std::size_t i = 0; i < layout.size(); ++i) {
            values[i] = stored->getProperty(i)->getValue();
            if (layout.storedType(i)->isReference()) {
                values[i] = checker.typeValue(layout, i, values[i]);
            }
        }
        keys = checker.canonicalKeys(layout, values);
        instance = checker.makeInstance(layout, values, checker.makePath(layout, values));
        return true;
    } catch (const VelaBaseException& e) {
        AdapterUtils::log(WHO,
                          "An instance of " + layout.name() + " in " + ns.name +
                              " keeps its stored form: " + e.getMessage(),
                          2);
        return false;
    }
}

}  // namespace

ReferenceIndex::Targets ReferenceIndex::targetsOf(const ClassLayout& layout,
                                                  const IVelaObject& instance,
                                                  const VELString& nameSpace) {
    Targets targets;
    if (!layout.isAssociation()) {
        return targets;
    }
    for (std::size_t pos : layout.references()) {
        const auto& value = instance.getProperty(pos)->getValue();
        if (value.isNull() || !value->isSet() || value->isUntyped()) {
            continue;
        }
        targets.emplace_back(layout.property(pos)->getName().toLower(),
                             InstanceChecker::normalForm(*value->getReference(), nameSpace));
    }
    return targets;
}

void ReferenceIndex::add(SqliteConnection& db, const ClassLayout& layout, const VELString& keys,
                         const Targets& targets) {
    auto& st = db.statement(Sql::INSERT_REFERENCE);
    for (const auto& [role, target] : targets) {
        SqliteStatement::Scope scope(st);
        st.bindText(1, target.view())
            .bind(2, layout.id())
            .bindText(3, keys.view())
            .bindText(4, role.view())
            .run();
    }
}

void ReferenceIndex::remove(SqliteConnection& db, const ClassLayout& layout, const VELString& keys,
                            const Targets& targets) {
    auto& st = db.statement(Sql::DELETE_REFERENCE);
    for (const auto& [role, target] : targets) {
        SqliteStatement::Scope scope(st);
        st.bindText(1, target.view())
            .bind(2, layout.id())
            .bindText(3, keys.view())
            .bindText(4, role.view())
            .run();
    }
}

void ReferenceIndex::rebuild(SqliteConnection& db, const SchemaSnapshot& schema) {
    for (const VELString& name : schema.nameSpaceNames()) {
        const SchemaSnapshot::NameSpace& ns = *schema.find(name);
        InstanceChecker checker(schema, ns);
        for (const auto& layout : ns.classes) {
            if (!layout->holdsReferences()) {
                continue;
            }
            std::string after;
            for (;;) {
                std::vector<std::pair<std::string, std::string>> rows;
                {
                    auto& scan = db.statement(Sql::SCAN_INSTANCES_FROM);
                    SqliteStatement::Scope scope(scan);
                    scan.bind(1, layout->id()).bindText(2, after).bind(3, REBUILD_CHUNK);
                    while (scan.step()) {
                        rows.emplace_back(scan.columnText(0), scan.columnBlob(1));
                    }
                }
                if (rows.empty()) {
                    break;
                }
                after = rows.back().first;
                for (const auto& [oldKeys, data] : rows) {
                    VELSmrPtr<CVelaObject> instance;
                    VELString keys;
                    if (!normalise(checker, *layout, ns, data, instance, keys)) {
                        continue;
                    }
                    std::string encoded = InstanceCodec::encode(*instance);
                    if (keys.view() != oldKeys) {
                        // Rewritten under its new key text. A row that named
                        // the same instance by another host is a duplicate
                        // now: the first one stays.
                        {
                            auto& del = db.statement(Sql::DELETE_INSTANCE);
                            SqliteStatement::Scope scope(del);
                            del.bind(1, layout->id()).bindText(2, oldKeys).run();
                        }
                        auto& ins = db.statement(Sql::INSERT_INSTANCE);
                        SqliteStatement::Scope scope(ins);
                        ins.bind(1, layout->id())
                            .bindText(2, keys.view())
                            .bindBlob(3, encoded)
                            .run();
                        if (db.changes() == 0) {
                            AdapterUtils::log(WHO,
                                              "Dropped instance " + layout->name() + "." +
                                                  VELString(oldKeys) + " in " + ns.name +
                                                  ", a second copy of " + keys,
                                              2);
                            continue;
                        }
                    } else if (encoded != data) {
                        auto& upd = db.statement(Sql::UPDATE_INSTANCE);
                        SqliteStatement::Scope scope(upd);
                        upd.bind(1, layout->id())
                            .bindText(2, keys.view())
                            .bindBlob(3, encoded)
                            .run();
                    }
                    add(db, *layout, keys, targetsOf(*layout, *instance, ns.name));
                }
            }
        }
    }
}

}  // namespace tarn
