// tarn::CQualifier: the platform's qualifier value.
#pragma once

#include "tarn/IQualifier.h"

namespace tarn {

class CQualifier : public IQualifier {
  public:
    CQualifier(VELString name, VELSmrPtr<IVelaType> type, VELSmrPtr<IVelaValue> value,
               std::uint32_t flavor, VELString definingClassName = {})
        : _name(std::move(name)),
          _type(std::move(type)),
          _value(std::move(value)),
          _flavor(flavor),
          _definingClass(std::move(definingClassName)) {}

    const VELString& getName() const override { return _name; }
    const VELSmrPtr<IVelaType>& getType() const override { return _type; }
    std::uint32_t getFlavor() const override { return _flavor; }
    const VELSmrPtr<IVelaValue>& getValue() const override { return _value; }
    const VELString& getDefiningClassName() const override { return _definingClass; }

    // The same qualifier as specified in another class.
    static VELSmrPtr<IQualifier> rebind(const VELSmrPtr<IQualifier>& q, const VELString& cls) {
        return VELSmrPtr<IQualifier>(
            new CQualifier(q->getName(), q->getType(), q->getValue(), q->getFlavor(), cls));
    }

  private:
    VELString _name;
    VELSmrPtr<IVelaType> _type;
    VELSmrPtr<IVelaValue> _value;
    std::uint32_t _flavor;
    VELString _definingClass;
};

}  // namespace tarn
