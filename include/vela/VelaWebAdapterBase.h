// VelaWebAdapterBase: the identity of an adapter that serves plain web
// requests (pages, metrics) rather than a management protocol: Basic
// authentication, not advertised, no URL of its own, and not a management
// communication mechanism, so the interop namespace does not list it. A
// subclass gives its name and description and serves its requests.
#pragma once

#include <utility>

#include "vela/IVelaProtocolAdapter.h"

class VelaWebAdapterBase : public IVelaProtocolAdapter {
  public:
    VelaWebAdapterBase(VELString name, VELString description)
        : _name(std::move(name)), _description(std::move(description)) {}

    VELString getProtocol() const override { return "http"; }
    VELString getAdapterName() const override { return _name; }
    VELString getVersion() const override { return "1.0"; }
    bool getValidated() const override { return false; }
    std::uint16_t getStatus() const override { return 1; }
    std::uint16_t getCommunicationMechanism() const override { return 1; }  // Other
    VELString getCommunicationMechanismDescription() const override { return _description; }
    bool isManagementCommunicationMechanism() const override { return false; }
    VELSmrPtr<VELValSlist<std::uint16_t>> getFunctionalProfilesSupported() const override {
        return makeVELSmrPtr<VELValSlist<std::uint16_t>>();
    }
    VELSmrPtr<VELValSlist<VELString>> getFunctionalProfileDescriptions() const override {
        return makeVELSmrPtr<VELValSlist<VELString>>();
    }
    VELSmrPtr<VELValSlist<std::uint16_t>> getAuthenticationMechanismsSupported() const override {
        return makeVELSmrPtr<VELValSlist<std::uint16_t>>(VELValSlist<std::uint16_t>{3});  // Basic
    }
    VELSmrPtr<VELValSlist<VELString>> getAuthenticationMechanismDescriptions() const override {
        return makeVELSmrPtr<VELValSlist<VELString>>(VELValSlist<VELString>{"Basic"});
    }
    std::uint16_t getAdvertisedType() const override { return 1; }  // not advertised
    VELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>> getURL() const override {
        return makeVELSmrPtr<VELValSlist<VELSmrPtr<VelaURL>>>();
    }

  private:
    const VELString _name;
    const VELString _description;
};
