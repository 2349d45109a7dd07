// tarn::InstanceCodec: the binary form of an instance's properties in the
// repository: a format byte, the number of stored properties, then each as
// its name and its value (tarn::ValueCodec). Properties without a value are
// not stored; on reading, every property of the class is present, in class
// order, unset when nothing was stored for it. Stored properties the class
// no longer has are skipped.
#pragma once

#include <string>
#include <string_view>

#include "repository/ClassLayout.h"
#include "vela/CVelaObject.h"

namespace tarn {

class InstanceCodec {
  public:
    static std::string encode(const IVelaObject& instance);
    // The instance with its path (nameSpace, class, keys). Throws
    // VelaBaseException ("Repository", code 1) on damaged data.
    static VELSmrPtr<CVelaObject> decode(std::string_view data, const ClassLayout& layout,
                                         const VELSmrPtr<IVelaNameSpacePath>& nameSpace);
    // The path alone; other properties are skipped without being built.
    static VELSmrPtr<IVelaInstanceName> decodeName(std::string_view data, const ClassLayout& layout,
                                                   const VELSmrPtr<IVelaNameSpacePath>& nameSpace);
};

}  // namespace tarn
