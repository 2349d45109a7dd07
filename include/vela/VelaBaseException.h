// VelaBaseException: the platform's exception. It carries a type (a short
// category such as "InvalidData"), the component and function where it was
// raised, a message, a numeric code (an operation-handler status where it
// reaches a client) and, optionally, CIM_Error instances for the ERROR element.
#pragma once

#include <exception>

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class IVelaObject;

class VelaBaseException : public std::exception {
  public:
    using InstanceList = VELValSlist<VELSmrPtr<IVelaObject>>;

    // type: category; who: component or function that raised it; where: the
    // function inside that component (may be empty); message: what went wrong.
    VelaBaseException(VELString type, VELString who, VELString where, VELString message,
                      int code = 0, VELSmrPtr<InstanceList> instances = nullptr);
    ~VelaBaseException() override;

    const VELString& getType() const noexcept { return _type; }
    const VELString& getWho() const noexcept { return _who; }
    const VELString& getWhere() const noexcept { return _where; }
    // "who::where", or who alone when where is empty.
    VELString getLocation() const;
    const VELString& getMessage() const noexcept { return _message; }
    int getCode() const noexcept { return _code; }
    void setCode(int code) noexcept { _code = code; }
    const VELSmrPtr<InstanceList>& getInstances() const noexcept { return _instances; }
    void setInstances(VELSmrPtr<InstanceList> instances) { _instances = std::move(instances); }

    // The text used in logs: type + " Exception thrown in '" + location + "': " + message.
    VELString toString() const;
    const char* what() const noexcept override;

  private:
    VELString _type;
    VELString _who;
    VELString _where;
    VELString _message;
    int _code;
    VELSmrPtr<InstanceList> _instances;
    mutable VELString _what;
};
