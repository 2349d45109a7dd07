#include "vela/IVelaProtocolAdapter.h"

IVelaProtocolAdapter::~IVelaProtocolAdapter() = default;

bool IVelaProtocolAdapter::canDeliverIndication(const VELSmrPtr<IVelaObject>&) {
    return false;
}

bool IVelaProtocolAdapter::deliverIndication(const VELString&, const VELSmrPtr<IVelaObject>&,
                                             const VELSmrPtr<IVelaObject>&,
                                             const VELSmrPtr<VELValSlist<VELString>>&) {
    return false;
}

void IVelaProtocolAdapter::encodeIndication(std::ostream&, const VELString&,
                                            const VELSmrPtr<IVelaObject>&,
                                            const VELSmrPtr<VELValSlist<VELString>>&) {}
