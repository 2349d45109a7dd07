#include "repository/BinaryWriter.h"

#include <bit>
#include <cstring>

namespace tarn {

namespace {

template <class U>
void little(std::string& out, U bits) {
    for (std::size_t i = 0; i < sizeof(U); ++i) {
        out.push_back(static_cast<char>(bits & 0xFF));
        bits >>= 8;
    }
}

}  // namespace

void BinaryWriter::real32(float f) {
    little(_out, std::bit_cast<std::uint32_t>(f));
}

void BinaryWriter::real64(double d) {
    little(_out, std::bit_cast<std::uint64_t>(d));
}

}  // namespace tarn
