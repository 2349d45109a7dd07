// VELSleep: suspends the calling thread. Used for pacing (retry intervals),
// never to wait for another thread.
#pragma once

#include <cstdint>

void VELSleep(std::uint32_t milliseconds);
