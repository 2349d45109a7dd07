// tarn::query::CompiledQuery: a WQL or DMTF:CQL query parsed once and
// resolved against the class it selects from, ready to test instances as
// they stream past.
//
// Compiling checks the query against the schema: the class exists, every
// property named belongs to it (or, after an embedded instance property of a
// known class, to that class), and each comparison joins types that can be
// compared; a literal compared with a datetime, char16 or reference property
// is read as such once, here. Failures are thrown as VelaBaseException:
// CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED for an unknown language,
// CIM_ERR_INVALID_QUERY (with the position) for anything wrong in the text.
//
// A compiled query is immutable (apart from lookup hints, kept in relaxed
// atomics) and may test instances on any number of threads at once. It
// refers to the catalog it was compiled with, for ISA; the catalog must
// outlive it. Instances of subclasses are tested like those of the class:
// properties are found by name.
#pragma once

#include <memory>

#include "query/LikePattern.h"
#include "query/QuerySyntax.h"
#include "query/QueryValue.h"
#include "tarn/ISchemaCatalog.h"
#include "vela/IVelaObject.h"

namespace tarn::query {

class CompiledQuery {
  public:
    // instanceNameSpace: where the classes of embedded instances (for ISA
    // and their properties) are looked up when nameSpace lacks them, as for
    // an indication filter of the interop namespace that watches instances
    // of another.
    static std::shared_ptr<const CompiledQuery> compile(const VELString& language,
                                                        const VELString& text,
                                                        const ISchemaCatalog& schema,
                                                        const VELString& nameSpace,
                                                        const VELString& instanceNameSpace = {});

    ~CompiledQuery();
    CompiledQuery(const CompiledQuery&) = delete;
    CompiledQuery& operator=(const CompiledQuery&) = delete;

    Language language() const { return _language; }
    // The class the query selects from, as the schema defines it.
    const VELSmrPtr<IVelaClass>& queryClass() const { return _class; }
    // The properties selected, as the class spells them, in the order of the
    // select list; null when the query selects all ("*").
    const VELSmrPtr<VELValSlist<VELString>>& propertyList() const { return _propertyList; }

    // The WHERE condition holds (true when there is none).
    bool matches(const IVelaObject& instance) const;
    Truth evaluate(const IVelaObject& instance) const;
    // The instance reduced to the selected properties (the same instance
    // when all are selected); its path stays.
    VELSmrPtr<IVelaObject> project(const VELSmrPtr<IVelaObject>& instance) const;

    struct Node;

  private:
    CompiledQuery() = default;

    Language _language = Language::WQL;
    VELSmrPtr<IVelaClass> _class;
    VELSmrPtr<VELValSlist<VELString>> _propertyList;
    std::unique_ptr<Node> _where;
    const ISchemaCatalog* _schema = nullptr;
    VELString _nameSpace;
    VELString _instanceNameSpace;

    friend class QueryCompiler;
};

}  // namespace tarn::query
