// tarn::BinaryReader: reads what tarn::BinaryWriter wrote. Every read is
// checked against the end of the data: a stored value that is cut short or
// malformed (a damaged database) raises VelaBaseException ("Repository",
// code 1) instead of reading past the buffer.
#pragma once

#include <cstdint>
#include <string_view>

namespace tarn {

class BinaryReader {
  public:
    // what names the data in error messages ("class CIM_Foo", "instance").
    explicit BinaryReader(std::string_view data, const char* what = "stored data")
        : _data(data), _what(what) {}

    std::uint8_t byte() {
        if (_pos >= _data.size()) {
            corrupt("ends early");
        }
        return static_cast<std::uint8_t>(_data[_pos++]);
    }
    std::uint64_t varint() {
        std::uint64_t v = 0;
        for (unsigned shift = 0; shift < 64; shift += 7) {
            std::uint8_t b = byte();
            v |= static_cast<std::uint64_t>(b & 0x7F) << shift;
            if (!(b & 0x80)) {
                return v;
            }
        }
        corrupt("has an overlong number");
    }
    std::int64_t svarint() {
        std::uint64_t u = varint();
        return static_cast<std::int64_t>(u >> 1) ^ -static_cast<std::int64_t>(u & 1);
    }
    // A count of items that each take at least one byte: larger than what is
    // left means damaged data, not an allocation to attempt.
    std::size_t count() {
        std::uint64_t n = varint();
        if (n > remaining()) {
            corrupt("has a count larger than its data");
        }
        return static_cast<std::size_t>(n);
    }
    float real32();
    double real64();
    // A view into the data; valid as long as the data is.
    std::string_view string() {
        std::uint64_t n = varint();
        if (n > remaining()) {
            corrupt("has a text longer than its data");
        }
        std::string_view s = _data.substr(_pos, static_cast<std::size_t>(n));
        _pos += static_cast<std::size_t>(n);
        return s;
    }
    void skip(std::size_t n) {
        if (n > remaining()) {
            corrupt("ends early");
        }
        _pos += n;
    }

    bool atEnd() const { return _pos == _data.size(); }
    std::size_t remaining() const { return _data.size() - _pos; }
    [[noreturn]] void corrupt(const char* why) const;

  private:
    std::string_view _data;
    std::size_t _pos = 0;
    const char* _what;
};

}  // namespace tarn
