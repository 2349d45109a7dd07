// tarn::AssociationSchema: the association classes of each namespace with
// their references, derived from the schema once per schema generation for
// the association routes, which would otherwise walk every class of the
// namespace on every request (a schema such as the DMTF CIM Schema holds
// hundreds of association classes among thousands). Thread-safe.
#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "tarn/ISchemaCatalog.h"

namespace tarn {

class AssociationSchema {
  public:
    // A scalar reference property of an association class.
    struct Role {
        VELString name;
        VELString refClass;
    };
    struct Association {
        VELSmrPtr<IVelaClass> cls;
        std::vector<Role> roles;
    };
    // Superclasses before subclasses.
    using Table = std::vector<Association>;

    explicit AssociationSchema(const ISchemaCatalog& schema) : _schema(schema) {}

    // The association classes of the namespace (empty when it does not exist).
    std::shared_ptr<const Table> of(const VELString& nameSpace) const;

  private:
    struct Entry {
        std::uint64_t generation = 0;
        std::shared_ptr<const Table> table;
    };

    const ISchemaCatalog& _schema;
    mutable std::mutex _m;
    mutable std::unordered_map<VELString, Entry, VELStringHashIgnoreCase, VELStringEqualIgnoreCase>
        _tables;
};

}  // namespace tarn
