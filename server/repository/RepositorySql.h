// tarn::RepositorySql: the SQL the repository runs. Connections cache their
// prepared statements by the address of these texts (one definition each).
#pragma once

namespace tarn {

struct RepositorySql {
    static constexpr const char* SELECT_META = "SELECT value FROM repository_meta WHERE name=?1";
    static constexpr const char* UPSERT_META =
        "INSERT INTO repository_meta (name, value) VALUES (?1, ?2) "
        "ON CONFLICT (name) DO UPDATE SET value=excluded.value";

    static constexpr const char* SELECT_NAMESPACES = "SELECT id, name FROM namespaces ORDER BY id";
    static constexpr const char* INSERT_NAMESPACE =
        "INSERT INTO namespaces (name) VALUES (?1) ON CONFLICT DO NOTHING";
    static constexpr const char* COUNT_CLASSES_OF_NAMESPACE =
        "SELECT count(*) FROM classes WHERE ns=?1";
    static constexpr const char* DELETE_QUALIFIERS_OF_NAMESPACE =
        "DELETE FROM qualifiers WHERE ns=?1";
    static constexpr const char* DELETE_NAMESPACE = "DELETE FROM namespaces WHERE id=?1";

    static constexpr const char* SELECT_QUALIFIERS = "SELECT ns, definition FROM qualifiers";
    static constexpr const char* SELECT_QUALIFIER =
        "SELECT definition FROM qualifiers WHERE ns=?1 AND name=?2";
    static constexpr const char* INSERT_QUALIFIER =
        "INSERT INTO qualifiers (ns, name, definition) VALUES (?1, ?2, ?3)";

    static constexpr const char* SELECT_CLASSES =
        "SELECT id, ns, name, definition FROM classes ORDER BY id";
    static constexpr const char* SELECT_CLASS =
        "SELECT definition FROM classes WHERE ns=?1 AND name=?2";
    static constexpr const char* INSERT_CLASS =
        "INSERT INTO classes (ns, name, superclass, definition) VALUES (?1, ?2, ?3, ?4)";

    static constexpr const char* SELECT_INSTANCE =
        "SELECT properties FROM instances WHERE class=?1 AND keys=?2";
    static constexpr const char* SCAN_INSTANCES =
        "SELECT properties FROM instances WHERE class=?1 ORDER BY keys";
    static constexpr const char* COUNT_INSTANCES = "SELECT count(*) FROM instances WHERE class=?1";
    static constexpr const char* COUNT_INSTANCES_BY_NAMESPACE =
        "SELECT n.name, (SELECT count(*) FROM instances i JOIN classes c ON i.class=c.id "
        "WHERE c.ns=n.id) FROM namespaces n ORDER BY n.name";
    static constexpr const char* INSERT_INSTANCE =
        "INSERT INTO instances (class, keys, properties) VALUES (?1, ?2, ?3) "
        "ON CONFLICT DO NOTHING";
    static constexpr const char* UPDATE_INSTANCE =
        "UPDATE instances SET properties=?3 WHERE class=?1 AND keys=?2";
    static constexpr const char* DELETE_INSTANCE =
        "DELETE FROM instances WHERE class=?1 AND keys=?2";
    static constexpr const char* DELETE_INSTANCE_RETURNING =
        "DELETE FROM instances WHERE class=?1 AND keys=?2 RETURNING properties";
    static constexpr const char* SCAN_INSTANCES_FROM =
        "SELECT keys, properties FROM instances WHERE class=?1 AND keys>?2 ORDER BY keys LIMIT ?3";

    static constexpr const char* INSERT_REFERENCE =
        "INSERT INTO refs (target, assoc, keys, role) VALUES (?1, ?2, ?3, ?4) "
        "ON CONFLICT DO NOTHING";
    static constexpr const char* DELETE_REFERENCE =
        "DELETE FROM refs WHERE target=?1 AND assoc=?2 AND keys=?3 AND role=?4";
    static constexpr const char* SELECT_REFERRERS =
        "SELECT assoc, keys, role FROM refs WHERE target=?1 ORDER BY assoc, keys, role";
};

}  // namespace tarn
