// tarn::CQualifierDef: the platform's qualifier declaration.
#pragma once

#include "tarn/IQualifierDef.h"

namespace tarn {

class CQualifierDef : public IQualifierDef {
  public:
    CQualifierDef(VELString name, VELSmrPtr<IVelaType> type, VELSmrPtr<IVelaValue> defaultValue,
                  std::uint32_t scope, std::uint32_t flavor)
        : _name(std::move(name)),
          _type(std::move(type)),
          _default(std::move(defaultValue)),
          _scope(scope),
          _flavor(flavor) {}

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    std::uint32_t getFlavor() const override { return _flavor; }
    std::uint32_t getScope() const override { return _scope; }
    const VELSmrPtr<IVelaValue>& getDefaultValue() const override { return _default; }

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _type;
    VELSmrPtr<IVelaValue> _default;
    std::uint32_t _scope;
    std::uint32_t _flavor;
};

}  // namespace tarn
