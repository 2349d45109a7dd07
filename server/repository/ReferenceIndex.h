// tarn::ReferenceIndex: the repository's index of references, the table
//
//   refs (target, assoc, keys, role)
//
// with one row per reference property that has a value, of every instance of
// an association class. target is the instance referenced, in the normal
// form of references (InstanceChecker) relative to the association's
// namespace; assoc the row of the association's class (a class row belongs
// to one namespace); keys the association instance's canonical key text;
// role the reference property, in lower case. Rows are clustered by target
// and class, so that the association instances that reference an instance
// are found without reading any other: a traversal costs what its results
// cost, however many association instances the repository holds.
//
// The repository writes the rows in the transaction that writes the instance.
#pragma once

#include <utility>
#include <vector>

#include "repository/SchemaSnapshot.h"
#include "repository/SqliteConnection.h"
#include "vela/IVelaObject.h"

namespace tarn {

class ReferenceIndex {
  public:
    // (role in lower case, target) of each reference of an instance.
    using Targets = std::vector<std::pair<VELString, VELString>>;

    static constexpr const char* CREATE_TABLE =
        "CREATE TABLE refs (target TEXT NOT NULL, assoc INTEGER NOT NULL REFERENCES classes(id),"
        "  keys TEXT NOT NULL, role TEXT NOT NULL,"
        "  PRIMARY KEY (target, assoc, keys, role)) WITHOUT ROWID;";

    // The references of an instance of the class as the repository stores it
    // (every property, in class order, references typed); none unless the
    // class is an association.
    static Targets targetsOf(const ClassLayout& layout, const IVelaObject& instance,
                             const VELString& nameSpace);
    static void add(SqliteConnection& db, const ClassLayout& layout, const VELString& keys,
                    const Targets& targets);
    static void remove(SqliteConnection& db, const ClassLayout& layout, const VELString& keys,
                       const Targets& targets);

    // Brings the instances of a repository of format 1 to the stored form of
    // references (no host, always a namespace), which changes the key text of
    // instances whose keys are references, and fills the index. Runs inside
    // the caller's write transaction.
    static void rebuild(SqliteConnection& db, const SchemaSnapshot& schema);
};

}  // namespace tarn
