// tarn::InstancePaths: comparing instance paths the way clients send them
// back. A path a client received carries tarnd's host, perhaps another name
// of the machine, or none; its keys may come typed or as untyped text, and a
// reference key may come as a reference or as the text of a path. Providers
// that keep no canonical key text of their own compare paths with these.
#pragma once

#include "vela/IVelaInstanceName.h"

namespace tarn {

class InstancePaths {
  public:
    // The namespace of the path, or nameSpace when it names none.
    static const VELString& nameSpaceOf(const IVelaInstanceName& path, const VELString& nameSpace);
    // The path itself when it names its namespace, else a copy in nameSpace:
    // a path that leaves the request's namespace behind names it.
    static VELSmrPtr<IVelaInstanceName> withNameSpace(const VELSmrPtr<IVelaInstanceName>& path,
                                                      const VELString& nameSpace);

    // Whether the paths name the same instance: the same class and namespace
    // (ignoring case; a path without namespace is in nameSpace), and keys of
    // the same names (ignoring case) with the same values; reference values
    // are compared the same way, in the namespace of the path holding them.
    // Hosts do not count.
    static bool same(const IVelaInstanceName& a, const IVelaInstanceName& b,
                     const VELString& nameSpace);
};

}  // namespace tarn
