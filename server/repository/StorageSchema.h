// tarn::StorageSchema: the tables of repository.db and its format version.
//
//   repository_meta (name, value)   format_version; default_schema once the
//                                   MOF of schema/ has been loaded
//   namespaces (id, name)           names ignore case
//   qualifiers (ns, name, definition)
//   classes (id, ns, name, superclass, definition)
//                                   a class's row comes after its superclass's
//   instances (class, keys, properties)
//                                   keyed by class row and canonical key text,
//                                   clustered so that a class's instances are
//                                   read in one range scan
//   refs (target, assoc, keys, role)
//                                   the index of references of association
//                                   instances (tarn::ReferenceIndex)
//
// Definitions and properties are in the binary form of tarn::SchemaCodec and
// tarn::InstanceCodec. The file carries SQLite's application id "TARN".
//
// The format version says how to read the tables. A database of an older
// version is upgraded in place, in one transaction, step by step (each step
// one function of upgrade()); a newer version is refused with a message that
// names both versions, since this code would misread it.
#pragma once

#include <memory>

#include "repository/SchemaSnapshot.h"
#include "repository/SqliteConnection.h"

namespace tarn {

class StorageSchema {
  public:
    // 1: the first; 2: the index of references.
    static constexpr int CURRENT_VERSION = 2;
    static constexpr std::int32_t APPLICATION_ID = 0x5441524E;  // "TARN"

    // Brings the database to the current format: creates the tables in an
    // empty file, upgrades an older format, and throws VelaBaseException
    // ("Repository", code 1) for a newer format or a file that is not a TARN
    // repository. True when the tables were created.
    static bool prepare(SqliteConnection& db);
    // The format version of an open repository.
    static int version(SqliteConnection& db);
    // The whole schema as the database holds it, read in the caller's
    // transaction. Throws VelaBaseException (code 1) for a damaged schema.
    static std::shared_ptr<const SchemaSnapshot> readSchema(SqliteConnection& db);

  private:
    static void create(SqliteConnection& db);
    // One step from version to version + 1.
    static void upgrade(SqliteConnection& db, int version);
};

}  // namespace tarn
