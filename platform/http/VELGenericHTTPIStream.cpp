#include "vela/VELGenericHTTPIStream.h"

#include <cstring>
#include <streambuf>

#include "vela/VELHTTPException.h"

// The get area is first the caller's buffered bytes (read in place), then the
// stream's own buffer, refilled from the socket. Large reads bypass the buffer.
class VELGenericHTTPIStream::Buffer : public std::streambuf {
  public:
    Buffer(VELSocket& socket, std::string_view buffered, std::size_t size)
        : _socket(socket), _size(size < 512 ? 512 : size) {
        char* b = const_cast<char*>(buffered.data());  // never written through
        setg(b, b, b + buffered.size());
    }

    std::uint64_t bytesRead() const {
        return _before + static_cast<std::uint64_t>(gptr() - eback());
    }
    std::string_view unread() const {
        return std::string_view(gptr(), static_cast<std::size_t>(egptr() - gptr()));
    }
    bool readFromSocket() const { return _readFromSocket; }
    bool atEnd() const { return _eof; }
    void setHook(std::function<void()> hook) { _hook = std::move(hook); }
    void setLimit(std::uint64_t bytes) { _limit = bytes; }

  protected:
    int_type underflow() override {
        if (gptr() < egptr()) {
            return traits_type::to_int_type(*gptr());
        }
        _before += static_cast<std::uint64_t>(egptr() - eback());
        setg(nullptr, nullptr, nullptr);
        if (!_storage) {
            _storage = std::make_unique<char[]>(_size);
        }
        std::size_t n = fromSocket(_storage.get(), _size);
        if (n == 0) {
            return traits_type::eof();
        }
        setg(_storage.get(), _storage.get(), _storage.get() + n);
        return traits_type::to_int_type(*gptr());
    }

    std::streamsize xsgetn(char* s, std::streamsize count) override {
        std::streamsize done = 0;
        while (done < count) {
            std::streamsize avail = egptr() - gptr();
            if (avail > 0) {
                std::streamsize n = std::min(avail, count - done);
                std::memcpy(s + done, gptr(), static_cast<std::size_t>(n));
                gbump(static_cast<int>(n));
                done += n;
                continue;
            }
            if (static_cast<std::size_t>(count - done) >= _size) {
                // Straight into the caller's memory: the body is copied once.
                _before += static_cast<std::uint64_t>(egptr() - eback());
                setg(nullptr, nullptr, nullptr);
                std::size_t n = fromSocket(s + done, static_cast<std::size_t>(count - done));
                if (n == 0) {
                    break;
                }
                _before += n;
                done += static_cast<std::streamsize>(n);
                continue;
            }
            if (traits_type::eq_int_type(underflow(), traits_type::eof())) {
                break;
            }
        }
        return done;
    }

    std::streamsize showmanyc() override {
        std::streamsize avail = egptr() - gptr();
        return avail > 0 ? avail : (_eof ? -1 : 0);
    }

  private:
    std::size_t fromSocket(char* into, std::size_t size) {
        if (_eof) {
            return 0;
        }
        if (!_readFromSocket) {
            _readFromSocket = true;
            if (_hook) {
                auto hook = std::move(_hook);
                _hook = nullptr;
                hook();
            }
        }
        if (_limit != 0) {
            if (_fromSocket >= _limit) {
                throw VELHTTPException(
                    "VELGenericHTTPIStream",
                    "Request body exceeds the server's limit of " +
                        VELString::valueOf(static_cast<unsigned long long>(_limit)) + " bytes",
                    4);
            }
            size = static_cast<std::size_t>(std::min<std::uint64_t>(size, _limit - _fromSocket));
        }
        std::size_t n = _socket.readSome(into, size);
        if (n == 0) {
            _eof = true;
        }
        _fromSocket += n;
        return n;
    }

    VELSocket& _socket;
    std::size_t _size;
    std::unique_ptr<char[]> _storage;
    std::uint64_t _before = 0;  // bytes of earlier get areas and direct reads
    std::uint64_t _fromSocket = 0;
    std::uint64_t _limit = 0;
    bool _readFromSocket = false;
    bool _eof = false;
    std::function<void()> _hook;
};

VELGenericHTTPIStream::VELGenericHTTPIStream(VELSocket& socket, std::string_view buffered,
                                             std::size_t bufferSize)
    : std::istream(nullptr),
      _socket(socket),
      _buffer(std::make_unique<Buffer>(socket, buffered, bufferSize)) {
    rdbuf(_buffer.get());
    exceptions(std::ios::badbit);
}

VELGenericHTTPIStream::~VELGenericHTTPIStream() = default;

std::uint64_t VELGenericHTTPIStream::getBytesRead() const {
    return _buffer->bytesRead();
}

std::string_view VELGenericHTTPIStream::getUnread() const {
    return _buffer->unread();
}

bool VELGenericHTTPIStream::hasReadFromSocket() const {
    return _buffer->readFromSocket();
}

bool VELGenericHTTPIStream::hasReachedEnd() const {
    return _buffer->atEnd();
}

void VELGenericHTTPIStream::setReadLimit(std::uint64_t bytes) {
    _buffer->setLimit(bytes);
}

void VELGenericHTTPIStream::setBeforeSocketRead(std::function<void()> hook) {
    _buffer->setHook(std::move(hook));
}
