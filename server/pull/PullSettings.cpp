#include "pull/PullSettings.h"

#include <algorithm>

#include "vela/TARNConfigManager.h"

namespace tarn {

PullSettings PullSettings::fromConfiguration() {
    PullSettings s;
    TARNConfigManager& c = TARNConfigManager::getInstance();
    c.getUint32("Pull", "MaxObjectCount", s.maxObjectCount);
    c.getUint32("Pull", "DefaultObjectCount", s.defaultObjectCount);
    c.getUint32("Pull", "DefaultOperationTimeout", s.defaultOperationTimeout);
    c.getUint32("Pull", "MaxOperationTimeout", s.maxOperationTimeout);
    c.getBool("Pull", "AllowUnlimitedTimeout", s.allowUnlimitedTimeout);
    c.getUint32("Pull", "BatchWaitMs", s.batchWaitMs);
    c.getUint32("Pull", "QueueCapacity", s.queueCapacity);
    c.getUint32("Pull", "MaxOpen", s.maxOpen);
    c.getUint32("Pull", "MaxOpenPerUser", s.maxOpenPerUser);
    s.maxObjectCount = std::max<std::uint32_t>(s.maxObjectCount, 1);
    s.defaultObjectCount = std::min(s.defaultObjectCount, s.maxObjectCount);
    s.defaultOperationTimeout = std::max<std::uint32_t>(s.defaultOperationTimeout, 1);
    s.maxOperationTimeout = std::max(s.maxOperationTimeout, s.defaultOperationTimeout);
    s.queueCapacity = std::clamp<std::uint32_t>(s.queueCapacity, 1, 1000000);
    return s;
}

}  // namespace tarn
