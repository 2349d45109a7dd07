// IFilterQuery: the filter of a pulled enumeration: its text, and its property conditions by name
// once parsed.
#pragma once

#include <map>

#include "vela/IVelaOperation.h"

class IFilterQuery : public virtual IVelaOperation {
  public:
    using FilterMap = std::map<VELString, VELString, VELStringLessIgnoreCase>;
    virtual const VELString& getFilterQuery() const = 0;
    virtual void setFilterQuery(const VELString& query) = 0;
    virtual const FilterMap& getFilterMap() const = 0;
};
