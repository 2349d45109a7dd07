// CVelaObject: the platform's instance class. Properties are held by shared
// handle, so copying an instance handle or a property list never copies values.
#pragma once

#include <vector>

#include "vela/IVelaObject.h"

class CVelaObject : public IVelaObject {
  public:
    explicit CVelaObject(VELString className, VELSmrPtr<IVelaInstanceName> path = nullptr);

    // Appends a property (no check for duplicates; use setProperty to replace).
    void addProperty(VELSmrPtr<IVelaProperty> property);
    void addProperty(const VELString& name, VELSmrPtr<IVelaValue> value);
    // Replaces the property of that name (ignoring case) or appends it.
    void setProperty(VELSmrPtr<IVelaProperty> property);
    bool removeProperty(const VELString& name);
    void setPath(VELSmrPtr<IVelaInstanceName> path) { _path = std::move(path); }
    void setClassName(VELString className) { _className = std::move(className); }
    void reserve(std::size_t n) { _properties.reserve(n); }

    const VELString& getClassName() const override { return _className; }
    const VELSmrPtr<IVelaInstanceName>& getPath() const override { return _path; }
    std::size_t getPropertyCount() const override { return _properties.size(); }
    const VELSmrPtr<IVelaProperty>& getProperty(std::size_t index) const override;
    VELSmrPtr<IVelaProperty> getProperty(const VELString& name) const override;
    // Position of the named property, or -1.
    long findProperty(const VELString& name) const;

  private:
    VELString _className;
    VELSmrPtr<IVelaInstanceName> _path;
    std::vector<VELSmrPtr<IVelaProperty>> _properties;
};
