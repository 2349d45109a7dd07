#include "CIMXMLDocument.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "vela/VelaBaseException.h"

namespace tarn {

namespace {

// Sizes of pugixml's node and attribute records on a 64-bit system (eight and
// five pointers), used to bound the tree before it is built.
constexpr std::size_t kNodeBytes = 8 * sizeof(void*);
constexpr std::size_t kAttributeBytes = 5 * sizeof(void*);

constexpr unsigned kParseOptions = pugi::parse_escapes | pugi::parse_eol | pugi::parse_cdata |
                                   pugi::parse_wconv_attribute | pugi::parse_embed_pcdata |
                                   pugi::parse_ws_pcdata_single | pugi::parse_declaration |
                                   pugi::parse_fragment;

[[noreturn]] void reject(const VELString& why) {
    throw VelaBaseException("InvalidData", "tarn::CIMXMLDocument", "parse", why, 4);
}

VELString at(std::size_t offset) {
    return " at byte " + VELString::valueOf(static_cast<unsigned long long>(offset));
}

enum : std::uint8_t { Plain, Lt, Eq, Amp, Control, High };

constexpr std::array<std::uint8_t, 256> makeClasses() {
    std::array<std::uint8_t, 256> t{};
    for (int c = 0; c < 0x20; ++c) {
        t[c] = Control;
    }
    t['\t'] = Plain;
    t['\n'] = Plain;
    t['\r'] = Plain;
    t['<'] = Lt;
    t['='] = Eq;
    t['&'] = Amp;
    for (int c = 0x80; c < 0x100; ++c) {
        t[c] = High;
    }
    return t;
}

constexpr std::array<std::uint8_t, 256> kClasses = makeClasses();

bool isXmlChar(std::uint32_t c) {
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// One pass over the text before pugixml sees it.
class Prescan {
  public:
    Prescan(const char* text, std::size_t size)
        : _p(reinterpret_cast<const unsigned char*>(text)), _n(size) {}

    void run() {
        std::size_t i = 0;
        while (i < _n) {
            i = skipPlainWords(i);
            if (i >= _n) {
                break;
            }
            unsigned char c = _p[i];
            switch (kClasses[c]) {
                case Plain:
                    ++i;
                    break;
                case Lt:
                    i = markup(i);
                    break;
                case Eq:
                    ++_attributes;
                    ++i;
                    break;
                case Amp:
                    i = reference(i);
                    break;
                case Control:
                    control(i);
                case High:
                    i = utf8(i);
                    break;
            }
        }
    }

    std::size_t elements() const { return _elements; }
    std::size_t attributes() const { return _attributes; }

  private:
    // Skips plain characters (printable ASCII other than '<', '=' and '&',
    // and blanks), the bulk of any document: whole 8-byte words first.
    std::size_t skipPlainWords(std::size_t i) const {
        constexpr std::uint64_t ones = 0x0101010101010101ULL;
        constexpr std::uint64_t highs = 0x8080808080808080ULL;
        auto hasZeroByte = [](std::uint64_t v) { return (v - ones) & ~v & highs; };
        while (_n - i >= 8) {
            std::uint64_t w;
            std::memcpy(&w, _p + i, 8);
            // Bytes below 0x20 (checked on bytes without their top bit, so that
            // the subtraction cannot borrow across bytes), bytes with the top
            // bit set, and the three special characters.
            std::uint64_t low = ((w & ~highs) + (0x80 - 0x20) * ones) & highs;
            std::uint64_t special = (~low & highs) | (w & highs) | hasZeroByte(w ^ ('<' * ones)) |
                                    hasZeroByte(w ^ ('=' * ones)) | hasZeroByte(w ^ ('&' * ones));
            if (special) {
                break;
            }
            i += 8;
        }
        while (i < _n && kClasses[_p[i]] == Plain) {
            ++i;
        }
        return i;
    }

    bool startsWith(std::size_t i, std::string_view s) const {
        return _n - i >= s.size() && std::memcmp(_p + i, s.data(), s.size()) == 0;
    }

    [[noreturn]] void control(std::size_t i) const {
        static const char hex[] = "0123456789ABCDEF";
        char code[] = {'0', 'x', hex[_p[i] >> 4], hex[_p[i] & 15], 0};
        reject(VELString(_p[i] == 0 ? "NUL character" : "control character ") +
               (_p[i] == 0 ? "" : code) + at(i) + " is not allowed in XML");
    }

    // Checks the UTF-8 sequence at i and returns the offset after it.
    std::size_t utf8(std::size_t i) const {
        unsigned char c = _p[i];
        std::size_t len;
        std::uint32_t cp;
        if (c >= 0xC2 && c <= 0xDF) {
            len = 2;
            cp = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            len = 3;
            cp = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            len = 4;
            cp = c & 0x07;
        } else {
            reject("invalid UTF-8" + at(i));
        }
        if (_n - i < len) {
            reject("truncated UTF-8 sequence" + at(i));
        }
        for (std::size_t k = 1; k < len; ++k) {
            if ((_p[i + k] & 0xC0) != 0x80) {
                reject("invalid UTF-8" + at(i));
            }
            cp = (cp << 6) | (_p[i + k] & 0x3F);
        }
        if ((len == 3 && cp < 0x800) || (len == 4 && cp < 0x10000)) {
            reject("overlong UTF-8 sequence" + at(i));
        }
        if (!isXmlChar(cp)) {
            reject("character U+" + hex(cp) + at(i) + " is not allowed in XML");
        }
        return i + len;
    }

    static VELString hex(std::uint32_t v) {
        static const char digits[] = "0123456789ABCDEF";
        char buf[8];
        int n = 0;
        do {
            buf[n++] = digits[v & 15];
            v >>= 4;
        } while (v);
        while (n < 4) {
            buf[n++] = '0';
        }
        VELString s;
        while (n > 0) {
            s += buf[--n];
        }
        return s;
    }

    // Checks the characters of [i, end) that pugixml passes through unparsed
    // (comments, CDATA sections, processing instructions).
    void plainText(std::size_t i, std::size_t end) const {
        while (i < end) {
            std::uint8_t k = kClasses[_p[i]];
            if (k == Control) {
                control(i);
            }
            i = k == High ? utf8(i) : i + 1;
        }
    }

    // Skips a section from i to its terminator, checking its characters.
    std::size_t section(std::size_t i, std::size_t skip, std::string_view end, const char* what) {
        const void* found = memmem(_p + i + skip, _n - i - skip, end.data(), end.size());
        if (!found) {
            reject(VELString("unterminated ") + what + at(i));
        }
        std::size_t stop = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - _p);
        plainText(i + skip, stop);
        return stop + end.size();
    }

    std::size_t markup(std::size_t i) {
        if (startsWith(i, "</")) {
            return i + 2;
        }
        if (startsWith(i, "<!--")) {
            return section(i, 4, "-->", "comment");
        }
        if (startsWith(i, "<![CDATA[")) {
            ++_elements;
            return section(i, 9, "]]>", "CDATA section");
        }
        if (startsWith(i, "<?")) {
            ++_elements;
            return section(i, 2, "?>", "processing instruction");
        }
        if (startsWith(i, "<!DOCTYPE")) {
            reject("a DOCTYPE declaration" + at(i) + " is not accepted");
        }
        if (startsWith(i, "<!")) {
            reject("markup declaration" + at(i) + " is not allowed in a document");
        }
        ++_elements;
        return i + 1;
    }

    // Checks the entity or character reference at i and returns the offset
    // after it: only the predefined entities and references to characters
    // that XML can carry are accepted.
    std::size_t reference(std::size_t i) const {
        std::size_t j = i + 1;
        if (j < _n && _p[j] == '#') {
            ++j;
            bool isHex = j < _n && _p[j] == 'x';
            if (isHex) {
                ++j;
            }
            std::uint32_t cp = 0;
            std::size_t digits = 0;
            for (; j < _n && _p[j] != ';'; ++j, ++digits) {
                unsigned char d = _p[j];
                int v;
                if (d >= '0' && d <= '9') {
                    v = d - '0';
                } else if (isHex && d >= 'a' && d <= 'f') {
                    v = d - 'a' + 10;
                } else if (isHex && d >= 'A' && d <= 'F') {
                    v = d - 'A' + 10;
                } else {
                    reject("malformed character reference" + at(i));
                }
                if (digits >= 8) {
                    reject("character reference out of range" + at(i));
                }
                cp = cp * (isHex ? 16 : 10) + static_cast<std::uint32_t>(v);
            }
            if (j >= _n || digits == 0) {
                reject("malformed character reference" + at(i));
            }
            if (!isXmlChar(cp)) {
                reject("character reference" + at(i) + " names a character XML cannot carry");
            }
            return j + 1;
        }
        static const std::string_view predefined[] = {"amp;", "lt;", "gt;", "quot;", "apos;"};
        for (std::string_view name : predefined) {
            if (startsWith(j, name)) {
                return j + name.size();
            }
        }
        std::size_t end = j;
        while (end < _n && end - j < 32 && _p[end] != ';' && kClasses[_p[end]] == Plain &&
               _p[end] != ' ') {
            ++end;
        }
        if (end < _n && _p[end] == ';' && end > j) {
            reject("reference to the undeclared entity &" +
                   VELString(reinterpret_cast<const char*>(_p + j), end - j) + ";" + at(i));
        }
        reject("a bare '&'" + at(i) + " must be written &amp;");
    }

    const unsigned char* _p;
    std::size_t _n;
    std::size_t _elements = 0;
    std::size_t _attributes = 0;
};

bool isBlank(const char* s) {
    for (; *s; ++s) {
        if (*s != ' ' && *s != '\t' && *s != '\n' && *s != '\r') {
            return false;
        }
    }
    return true;
}

}  // namespace

CIMXMLDocument::CIMXMLDocument(char* text, std::size_t size) {
    Prescan scan(text, size);
    scan.run();
    std::size_t tree = scan.elements() * kNodeBytes + scan.attributes() * kAttributeBytes;
    if (tree > size * kTreeBytesPerTextByte + kTreeAllowance) {
        reject("markup too dense: " +
               VELString::valueOf(static_cast<unsigned long long>(scan.elements())) + " tags and " +
               VELString::valueOf(static_cast<unsigned long long>(scan.attributes())) +
               " attributes in " + VELString::valueOf(static_cast<unsigned long long>(size)) +
               " bytes");
    }
    // The NUL after the text is part of the buffer, so that pugixml has a
    // terminator of its own and does not take the last character for one.
    pugi::xml_parse_result r =
        _doc.load_buffer_inplace(text, size + 1, kParseOptions, pugi::encoding_utf8);
    if (!r) {
        reject("not well-formed XML: " + VELString(r.description()) +
               at(static_cast<std::size_t>(r.offset)));
    }
    bool first = true;
    for (pugi::xml_node n = _doc.first_child(); n; n = n.next_sibling()) {
        switch (n.type()) {
            case pugi::node_declaration: {
                if (!first) {
                    reject("the XML declaration" + at(static_cast<std::size_t>(n.offset_debug())) +
                           " must come first");
                }
                pugi::xml_attribute enc = n.attribute("encoding");
                if (enc && !VELString(enc.value()).equalsIgnoreCase("utf-8")) {
                    reject("unsupported encoding \"" + VELString(enc.value()).substring(0, 32) +
                           "\": requests are UTF-8");
                }
                break;
            }
            case pugi::node_element:
                if (_root) {
                    reject("a second root element" +
                           at(static_cast<std::size_t>(n.offset_debug())));
                }
                _root = n;
                break;
            case pugi::node_pcdata:
                if (isBlank(n.value())) {
                    break;
                }
                [[fallthrough]];
            default:
                reject("text outside the root element" +
                       at(static_cast<std::size_t>(n.offset_debug())));
        }
        first = false;
    }
    if (!_root) {
        reject("no root element");
    }
}

void CIMXMLDocument::clear() {
    _root = pugi::xml_node();
    _doc.reset();
}

}  // namespace tarn
