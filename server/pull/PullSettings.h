// tarn::PullSettings: the limits of pulled enumerations ([Pull] in tarn.conf).
#pragma once

#include <cstdint>

namespace tarn {

struct PullSettings {
    // Results in one open or pull response at most, whatever MaxObjectCount asks.
    std::uint32_t maxObjectCount = 10000;
    // Results of an open or pull that gives no MaxObjectCount.
    std::uint32_t defaultObjectCount = 100;
    // Seconds an enumeration stays open after its last response, when the
    // open gives no OperationTimeout, and the most it may ask for.
    std::uint32_t defaultOperationTimeout = 60;
    std::uint32_t maxOperationTimeout = 3600;
    // Whether OperationTimeout 0 (never expire) is allowed.
    bool allowUnlimitedTimeout = false;
    // How long a response waits for its batch before it answers with what it has.
    std::uint32_t batchWaitMs = 3000;
    // Results an open enumeration holds between its paused producer and the next pull.
    std::uint32_t queueCapacity = 64;
    // Open enumerations in all and per user.
    std::uint32_t maxOpen = 256;
    std::uint32_t maxOpenPerUser = 64;

    static PullSettings fromConfiguration();
};

}  // namespace tarn
