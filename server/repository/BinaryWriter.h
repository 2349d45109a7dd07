// tarn::BinaryWriter: appends the repository's compact binary form to a byte
// string. Unsigned integers are LEB128 varints, signed ones zigzag varints,
// reals IEEE 754 in little-endian byte order, and texts a varint length
// followed by the bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tarn {

class BinaryWriter {
  public:
    explicit BinaryWriter(std::string& out) : _out(out) {}

    void byte(std::uint8_t b) { _out.push_back(static_cast<char>(b)); }
    void varint(std::uint64_t v) {
        while (v >= 0x80) {
            _out.push_back(static_cast<char>((v & 0x7F) | 0x80));
            v >>= 7;
        }
        _out.push_back(static_cast<char>(v));
    }
    void svarint(std::int64_t v) {
        varint((static_cast<std::uint64_t>(v) << 1) ^ static_cast<std::uint64_t>(v >> 63));
    }
    void real32(float f);
    void real64(double d);
    void string(std::string_view s) {
        varint(s.size());
        _out.append(s);
    }

  private:
    std::string& _out;
};

}  // namespace tarn
