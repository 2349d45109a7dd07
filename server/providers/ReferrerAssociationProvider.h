// tarn::ReferrerAssociationProvider: the four association operations of a
// provider that can find the association instances referring to an object.
// A subclass says how it finds them (referrers); the objects at the other
// ends, the Role, ResultRole and ResultClass filters and the streaming of
// results are the same for every such provider, and live here.
#pragma once

#include <functional>
#include <vector>

#include "providers/ProviderRegistry.h"
#include "tarn/IAssociationProvider.h"
#include "tarn/ISchemaCatalog.h"

namespace tarn {

class ReferrerAssociationProvider : public IAssociationProvider {
  public:
    void associators(const ProviderContext& context, const Classes& assocClasses,
                     const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& resultClass,
                     const VELString& role, const VELString& resultRole,
                     IMultiResponse<VELSmrPtr<IVelaObject>>& out) override;
    void associatorNames(const ProviderContext& context, const Classes& assocClasses,
                         const VELSmrPtr<IVelaInstanceName>& objectName,
                         const VELString& resultClass, const VELString& role,
                         const VELString& resultRole,
                         IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override;
    void references(const ProviderContext& context, const Classes& assocClasses,
                    const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                    IMultiResponse<VELSmrPtr<IVelaObject>>& out) override;
    void referenceNames(const ProviderContext& context, const Classes& assocClasses,
                        const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                        IMultiResponse<VELSmrPtr<IVelaInstanceName>>& out) override;

  protected:
    ReferrerAssociationProvider(const ISchemaCatalog& schema, const ProviderRegistry& providers)
        : _schema(schema), _providers(providers) {}

    // The scalar reference value of a property, or null.
    static VELSmrPtr<IVelaInstanceName> referenceOf(const IVelaProperty& p);

    // An association instance that refers to the source object, and the
    // reference properties through which it does (those Role admits); false
    // from the callback ends the search.
    using Each = std::function<bool(const VELSmrPtr<IVelaObject>& association,
                                    const std::vector<VELString>& roles)>;
    virtual void referrers(const ProviderContext& context, const Classes& assocClasses,
                           const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& role,
                           const Each& each) const = 0;
    // The name of an object at the other end as results carry it.
    virtual VELSmrPtr<IVelaInstanceName> endName(const VELSmrPtr<IVelaInstanceName>& end,
                                                 const VELString& nameSpace) const {
        (void)nameSpace;
        return end;
    }

    const ISchemaCatalog& _schema;
    const ProviderRegistry& _providers;

  private:
    using EndCallback = std::function<bool(const VELSmrPtr<IVelaInstanceName>&)>;
    // Calls each with the names of the objects at the other ends, as the
    // association instances give them, until it returns false.
    void otherEnds(const ProviderContext& context, const Classes& assocClasses,
                   const VELSmrPtr<IVelaInstanceName>& objectName, const VELString& resultClass,
                   const VELString& role, const VELString& resultRole,
                   const EndCallback& each) const;
};

}  // namespace tarn
