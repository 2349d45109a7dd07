#include "vela/CIMUtil.h"

#include <array>
#include <cstdint>

#include "tarn/ISchemaCatalog.h"
#include "tarn/QualifierList.h"

const VELString CIMUtil::REFERENCE_KEY_QUALIFIER = "TARN_ReferenceKey";

namespace {

enum : std::uint8_t { Pass = 0, Special = 1, Illegal = 2, Cr = 3, High = 4 };

constexpr std::array<std::uint8_t, 256> makeTable() {
    std::array<std::uint8_t, 256> t{};
    for (int c = 0; c < 0x20; ++c) {
        t[c] = Illegal;
    }
    t['\t'] = Pass;
    t['\n'] = Pass;
    t['\r'] = Cr;
    t['&'] = Special;
    t['<'] = Special;
    t['>'] = Special;
    t['"'] = Special;
    t['\''] = Special;
    for (int c = 0x80; c < 0x100; ++c) {
        t[c] = High;
    }
    return t;
}

constexpr std::array<std::uint8_t, 256> kTable = makeTable();
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// Length of the valid UTF-8 sequence at s[i] that XML can carry, or 0.
std::size_t validSequence(std::string_view s, std::size_t i) {
    auto b = [&](std::size_t k) { return static_cast<unsigned char>(s[k]); };
    unsigned char c = b(i);
    std::size_t n;
    char32_t cp;
    if (c >= 0xC2 && c <= 0xDF) {
        n = 2;
        cp = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
        n = 3;
        cp = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
        n = 4;
        cp = c & 0x07;
    } else {
        return 0;
    }
    if (i + n > s.size()) {
        return 0;
    }
    for (std::size_t k = 1; k < n; ++k) {
        if ((b(i + k) & 0xC0) != 0x80) {
            return 0;
        }
        cp = (cp << 6) | (b(i + k) & 0x3F);
    }
    bool overlong = (n == 3 && cp < 0x800) || (n == 4 && cp < 0x10000);
    if (overlong || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF) || cp == 0xFFFE ||
        cp == 0xFFFF) {
        return 0;
    }
    return n;
}

// Calls out(piece) for each piece of the encoded text.
template <class Out>
void encode(std::string_view s, Out&& out) {
    std::size_t start = 0;
    std::size_t i = 0;
    while (i < s.size()) {
        std::uint8_t kind = kTable[static_cast<unsigned char>(s[i])];
        if (kind == Pass) {
            ++i;
            continue;
        }
        if (kind == High) {
            std::size_t n = validSequence(s, i);
            if (n) {
                i += n;
                continue;
            }
        }
        if (i > start) {
            out(s.substr(start, i - start));
        }
        switch (kind) {
            case Special:
                switch (s[i]) {
                    case '&':
                        out("&amp;");
                        break;
                    case '<':
                        out("&lt;");
                        break;
                    case '>':
                        out("&gt;");
                        break;
                    case '"':
                        out("&quot;");
                        break;
                    default:
                        out("&apos;");
                }
                break;
            case Cr:
                out("&#13;");
                break;
            default:
                out(kReplacement);
        }
        ++i;
        start = i;
    }
    if (start < s.size()) {
        out(s.substr(start));
    }
}

}  // namespace

bool CIMUtil::needsXmlEncoding(std::string_view s) {
    for (std::size_t i = 0; i < s.size();) {
        std::uint8_t kind = kTable[static_cast<unsigned char>(s[i])];
        if (kind == Pass) {
            ++i;
        } else if (kind == High) {
            std::size_t n = validSequence(s, i);
            if (!n) {
                return true;
            }
            i += n;
        } else {
            return true;
        }
    }
    return false;
}

VELString CIMUtil::xmlEncode(const VELString& text) {
    if (!needsXmlEncoding(text.view())) {
        return text;
    }
    std::string out;
    out.reserve(text.length() + text.length() / 8 + 8);
    encode(text.view(), [&](std::string_view piece) { out.append(piece); });
    return VELString(std::move(out));
}

void CIMUtil::xmlEncode(std::ostream& os, std::string_view text) {
    // Straight to the buffer: an escaped text is many short pieces, and
    // ostream::write builds a sentry for each.
    std::streambuf* buf = os.rdbuf();
    if (buf == nullptr) {
        os.setstate(std::ios_base::badbit);
        return;
    }
    encode(text, [&](std::string_view piece) {
        const auto n = static_cast<std::streamsize>(piece.size());
        if (os.good() && buf->sputn(piece.data(), n) != n) {
            os.setstate(std::ios_base::badbit);
        }
    });
}

namespace {

// The last class looked up by this thread: writing many instances of one
// class asks about the same class again and again.
struct ClassCache {
    const tarn::ISchemaCatalog* catalog = nullptr;
    std::uint64_t generation = 0;
    VELString nameSpace;
    VELString className;
    VELSmrPtr<IVelaClass> cls;
    bool hasReferenceKeys = false;
};

const ClassCache& cachedClass(const VELString& nameSpace, const VELString& className) {
    thread_local ClassCache cache;
    const tarn::ISchemaCatalog* catalog = tarn::ISchemaCatalog::installed();
    std::uint64_t gen = catalog ? catalog->generation() : 0;
    if (cache.catalog == catalog && cache.generation == gen && cache.className == className &&
        cache.nameSpace == nameSpace) {
        return cache;
    }
    cache.catalog = catalog;
    cache.generation = gen;
    cache.nameSpace = nameSpace;
    cache.className = className;
    cache.cls = catalog ? catalog->getClass(nameSpace, className) : VELSmrPtr<IVelaClass>();
    cache.hasReferenceKeys = false;
    if (!cache.cls.isNull()) {
        for (const VELString& key : cache.cls->getKeyNames()) {
            auto def = cache.cls->getPropertyDef(key);
            if (!def.isNull() && CIMUtil::isReferenceQualified(*def)) {
                cache.hasReferenceKeys = true;
                break;
            }
        }
    }
    return cache;
}

}  // namespace

bool CIMUtil::isReferenceQualified(const tarn::IPropertyDef& def) {
    const IVelaType& type = *def.getType();
    if (!def.isKey() || type.getTypeId() != CIMTypeId::String || type.isArray()) {
        return false;
    }
    return tarn::QualifierList::isTrue(def.getQualifier(REFERENCE_KEY_QUALIFIER));
}

bool CIMUtil::isReferenceQualified(const VELString& nameSpace, const VELString& className,
                                   const VELString& propertyName) {
    const ClassCache& c = cachedClass(nameSpace, className);
    if (!c.hasReferenceKeys) {
        return false;
    }
    auto def = c.cls->getPropertyDef(propertyName);
    return !def.isNull() && isReferenceQualified(*def);
}

bool CIMUtil::isEmbeddedQualified(const tarn::IPropertyDef& def) {
    return !def.getQualifier("EmbeddedInstance").isNull() ||
           !def.getQualifier("EmbeddedObject").isNull();
}

bool CIMUtil::isEmbeddedQualified(const VELString& nameSpace, const VELString& className,
                                  const VELString& propertyName) {
    const ClassCache& c = cachedClass(nameSpace, className);
    if (c.cls.isNull()) {
        return false;
    }
    auto def = c.cls->getPropertyDef(propertyName);
    return !def.isNull() && isEmbeddedQualified(*def);
}
