#include "repository/BinaryReader.h"

#include <bit>

#include "vela/VelaBaseException.h"

namespace tarn {

float BinaryReader::real32() {
    std::uint32_t bits = 0;
    for (unsigned i = 0; i < 4; ++i) {
        bits |= static_cast<std::uint32_t>(byte()) << (8 * i);
    }
    return std::bit_cast<float>(bits);
}

double BinaryReader::real64() {
    std::uint64_t bits = 0;
    for (unsigned i = 0; i < 8; ++i) {
        bits |= static_cast<std::uint64_t>(byte()) << (8 * i);
    }
    return std::bit_cast<double>(bits);
}

void BinaryReader::corrupt(const char* why) const {
    throw VelaBaseException("Repository", "tarn::BinaryReader", "read",
                            VELString("the repository is damaged: ") + _what + " " + why +
                                " (at byte " + VELString::valueOf(_pos) + ")",
                            1);
}

}  // namespace tarn
