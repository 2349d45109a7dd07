#include "vela/VelaURL.h"

VELString VelaURL::toString() const {
    VELString s = _scheme + "://";
    if (_host.contains(":") && !_host.beginsWith("[")) {
        s += "[";
        s += _host;
        s += "]";
    } else {
        s += _host;
    }
    s += ":";
    s += VELString::valueOf(_port);
    return s;
}
