#include "vela/VELGenericHTTPOStream.h"

#include <cstdio>
#include <cstring>
#include <streambuf>

#include "vela/AdapterUtils.h"
#include "vela/VELHTTPResponse.h"
#include "vela/VELNetException.h"

namespace {
const char* const WHO = "VELGenericHTTPOStream";
// Full framing holds the whole body; beyond this it must be streamed (Chunked).
constexpr std::size_t kMaxFullBody = 1u << 30;
// The put area a Full body starts with.
constexpr std::size_t kFirstFullSize = 16384;
const char* typeName(VELGenericHTTPOStream::StreamType t) {
    switch (t) {
        case VELGenericHTTPOStream::Chunked:
            return "Chunked";
        case VELGenericHTTPOStream::Full:
            return "Full";
        default:
            return "NotEncoded";
    }
}
}  // namespace

// Chunked and NotEncoded write through a fixed put area; Full grows its put
// area (a string) to hold the whole body until finish().
class VELGenericHTTPOStream::Buffer : public std::streambuf {
  public:
    Buffer(VELGenericHTTPOStream& owner, std::size_t chunkSize)
        : _owner(owner), _chunkSize(chunkSize < 256 ? 256 : chunkSize) {}

    void configure(StreamType type) {
        std::string carried(pbase(), static_cast<std::size_t>(pptr() - pbase()));
        if (type == Full) {
            // A small answer is the common case: the put area grows as needed.
            _full.resize(std::max<std::size_t>(std::min<std::size_t>(_chunkSize, kFirstFullSize),
                                               carried.size() * 2));
            setp(_full.data(), _full.data() + _full.size());
        } else {
            if (!_fixed) {
                _fixed = std::make_unique_for_overwrite<char[]>(_chunkSize);
            }
            setp(_fixed.get(), _fixed.get() + _chunkSize);
            _full.clear();
            _full.shrink_to_fit();
        }
        _type = type;
        if (!carried.empty()) {
            sputn(carried.data(), static_cast<std::streamsize>(carried.size()));
        }
    }

    void setHead(std::string head) {
        if (_type == Full) {
            _head = std::move(head);
        } else {
            _head = std::move(head);
            _head.append("\r\n");
        }
    }

    std::uint64_t bodyBytes() const {
        return _emitted + static_cast<std::uint64_t>(pptr() - pbase());
    }
    bool broken() const { return _broken; }

    void finish() {
        if (_type == Full) {
            std::size_t used = static_cast<std::size_t>(pptr() - pbase());
            char length[64];
            int n = std::snprintf(length, sizeof length, "Content-Length: %zu\r\n\r\n", used);
            std::string_view parts[2] = {std::string_view(length, static_cast<std::size_t>(n)),
                                         std::string_view(_full.data(), used)};
            send(parts, used ? 2 : 1);
            _emitted += used;
            setp(_full.data(), _full.data() + _full.size());
            return;
        }
        if (_type == Chunked) {
            // The last data chunk and the end go out in one write: a small
            // answer costs the client one segment and the server one call.
            emitPutArea(true);
        } else if (emitPutArea(), !_head.empty()) {
            send(nullptr, 0);
        }
    }

  protected:
    int_type overflow(int_type c) override {
        if (_type == Full) {
            std::size_t used = static_cast<std::size_t>(pptr() - pbase());
            if (used > kMaxFullBody) {
                throw VelaBaseException("HTTP", WHO, "overflow",
                                        "response body too large to be sent in one piece", 1);
            }
            _full.resize(_full.size() * 2);
            setp(_full.data(), _full.data() + _full.size());
            pbump(static_cast<int>(used));
        } else {
            emitPutArea();
        }
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            *pptr() = traits_type::to_char_type(c);
            pbump(1);
        }
        return traits_type::not_eof(c);
    }

    std::streamsize xsputn(const char* s, std::streamsize count) override {
        if (_type != Full && static_cast<std::size_t>(count) >= _chunkSize) {
            // Large pieces go out straight from the caller's memory.
            emitPutArea();
            emit(std::string_view(s, static_cast<std::size_t>(count)));
            return count;
        }
        return std::streambuf::xsputn(s, count);
    }

    int sync() override {
        if (_type == Full) {
            return 0;
        }
        if (pptr() > pbase()) {
            emitPutArea();
        } else if (!_head.empty()) {
            send(nullptr, 0);
        }
        return 0;
    }

  private:
    // last (Chunked only): the last chunk follows, even when nothing is held.
    void emitPutArea(bool last = false) {
        std::size_t used = static_cast<std::size_t>(pptr() - pbase());
        if (used == 0 && !last) {
            return;
        }
        emit(std::string_view(pbase(), used), last);
        setp(pbase(), epptr());
    }

    void emit(std::string_view data, bool last = false) {
        if (_owner._finished) {
            throw VelaBaseException("HTTP", WHO, "write", "the response has already ended", 1);
        }
        if (!_owner._headWritten) {
            _owner.writeDefaultHead();
        }
        if (_type == Chunked) {
            char size[32];
            int n = std::snprintf(size, sizeof size, "%zx\r\n", data.size());
            std::string_view parts[4] = {std::string_view(size, static_cast<std::size_t>(n)), data,
                                         "\r\n", "0\r\n\r\n"};
            if (data.empty()) {
                send(&parts[3], 1);
            } else {
                send(parts, last ? 4 : 3);
            }
        } else {
            send(&data, 1);
        }
        _emitted += data.size();
    }

    // Sends the held head (if any) and then the parts, in one gathered write.
    void send(const std::string_view* parts, std::size_t count) {
        if (_broken) {
            throw VELNetException(WHO, "the connection to the client has failed before", 1);
        }
        std::string_view all[5];
        std::size_t n = 0;
        if (!_head.empty()) {
            all[n++] = _head;
        }
        for (std::size_t i = 0; i < count && n < 5; ++i) {
            all[n++] = parts[i];
        }
        if (n == 0) {
            return;
        }
        try {
            _owner._socket.writeAll(all, n);
        } catch (...) {
            _broken = true;
            throw;
        }
        _owner._sentBytes = true;
        _head.clear();
    }

    VELGenericHTTPOStream& _owner;
    std::size_t _chunkSize;
    StreamType _type = NotEncoded;
    std::unique_ptr<char[]> _fixed;
    std::string _full;
    std::string _head;  // Full: without the final CRLF; else complete, not yet sent
    std::uint64_t _emitted = 0;
    bool _broken = false;
};

VELGenericHTTPOStream::VELGenericHTTPOStream(VELSocket& socket,
                                             VELHTTPOperation::ProtocolEnum protocol,
                                             bool keepAlive, std::size_t chunkSize)
    : std::ostream(nullptr),
      _socket(socket),
      _buffer(std::make_unique<Buffer>(*this, chunkSize)),
      _type(protocol == VELHTTPOperation::HTTP_1_1 ? Chunked : NotEncoded),
      _protocol(protocol),
      _keepAlive(keepAlive) {
    _buffer->configure(_type);
    rdbuf(_buffer.get());
    exceptions(std::ios::badbit);
}

VELGenericHTTPOStream::~VELGenericHTTPOStream() = default;

void VELGenericHTTPOStream::setStreamType(StreamType type) {
    if (type == Chunked && _protocol != VELHTTPOperation::HTTP_1_1) {
        type = NotEncoded;  // HTTP/1.0 clients do not know chunks
    }
    if (type == _type) {
        return;
    }
    if (_headWritten) {
        AdapterUtils::log(WHO,
                          VELString("Stream type ") + typeName(type) +
                              " ignored: the response head is already written as " +
                              typeName(_type),
                          2);
        return;
    }
    _type = type;
    _buffer->configure(type);
}

void VELGenericHTTPOStream::sendHead(std::string head, bool closesConnection) {
    if (_headWritten) {
        return;
    }
    _headWritten = true;
    _closeAfter = closesConnection;
    _buffer->setHead(std::move(head));
}

void VELGenericHTTPOStream::writeDefaultHead() {
    if (_response) {
        _response->writeResponseTo(*this);
    } else {
        VELHTTPResponse r(_protocol);
        r.writeResponseTo(*this);
    }
}

void VELGenericHTTPOStream::finish() {
    if (_finished) {
        return;
    }
    if (!_headWritten) {
        writeDefaultHead();
    }
    _buffer->finish();
    _finished = true;
}

bool VELGenericHTTPOStream::closesConnection() const {
    return _closeAfter || !_keepAlive || !_finished || _buffer->broken();
}

std::uint64_t VELGenericHTTPOStream::getBodyBytes() const {
    return _buffer->bodyBytes();
}

bool VELGenericHTTPOStream::isBroken() const {
    return _buffer->broken();
}
