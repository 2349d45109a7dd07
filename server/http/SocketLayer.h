// tarn::SocketLayer: the lowest layer of a server connection, below TLS when
// there is TLS. Its asynchronous operations (used by the I/O thread for the
// TLS handshake and for reading request heads) are the socket's own. Its
// synchronous operations (used by a worker while an adapter reads a body or
// writes a response) never block the thread longer than the deadline: they
// wait with poll() and fail with asio::error::timed_out when the deadline
// passes, with eof or a socket error when the peer is gone or the server
// shuts the socket down from another thread.
#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cerrno>
#include <chrono>
#include <ctime>

namespace tarn {

class SocketLayer {
  public:
    using Clock = std::chrono::steady_clock;
    using lowest_layer_type = boost::asio::ip::tcp::socket::lowest_layer_type;
    using executor_type = boost::asio::ip::tcp::socket::executor_type;

    // The descriptor is kept, so that the layer works while the socket is
    // out of the I/O thread's event loop (HTTPConnection::leaveEventLoop).
    explicit SocketLayer(boost::asio::ip::tcp::socket& socket)
        : _socket(&socket), _fd(socket.native_handle()) {}

    lowest_layer_type& lowest_layer() { return _socket->lowest_layer(); }
    const lowest_layer_type& lowest_layer() const { return _socket->lowest_layer(); }
    executor_type get_executor() { return _socket->get_executor(); }

    // Each synchronous operation may wait for readiness at most this long...
    void setTimeout(std::chrono::milliseconds timeout) { _timeout = timeout; }
    // ...and reads never past this point in time.
    void setReadDeadline(Clock::time_point deadline) { _readDeadline = deadline; }
    void clearReadDeadline() { _readDeadline = Clock::time_point::max(); }

    template <class MutableBufferSequence>
    std::size_t read_some(const MutableBufferSequence& buffers, boost::system::error_code& ec) {
        std::array<iovec, 8> iov;
        std::size_t n = toIovec(buffers, iov);
        if (n == 0) {
            ec = {};
            return 0;
        }
        Clock::time_point deadline = std::min(Clock::now() + _timeout, _readDeadline);
        for (;;) {
            msghdr msg{};
            msg.msg_iov = iov.data();
            msg.msg_iovlen = n;
            ssize_t r = ::recvmsg(fd(), &msg, MSG_DONTWAIT);
            if (r > 0) {
                ec = {};
                return static_cast<std::size_t>(r);
            }
            if (r == 0) {
                ec = boost::asio::error::eof;
                return 0;
            }
            int err = errno;
            if (err != EAGAIN && err != EWOULDBLOCK && err != EINTR) {
                ec = boost::system::error_code(err, boost::system::system_category());
                return 0;
            }
            if (err != EINTR && !wait(POLLIN, deadline, ec)) {
                return 0;
            }
        }
    }

    template <class ConstBufferSequence>
    std::size_t write_some(const ConstBufferSequence& buffers, boost::system::error_code& ec) {
        std::array<iovec, 8> iov;
        std::size_t n = toIovec(buffers, iov);
        if (n == 0) {
            ec = {};
            return 0;
        }
        Clock::time_point deadline = Clock::now() + _timeout;
        for (;;) {
            msghdr msg{};
            msg.msg_iov = iov.data();
            msg.msg_iovlen = n;
            ssize_t r = ::sendmsg(fd(), &msg, MSG_DONTWAIT | MSG_NOSIGNAL);
            if (r >= 0) {
                ec = {};
                return static_cast<std::size_t>(r);
            }
            int err = errno;
            if (err != EAGAIN && err != EWOULDBLOCK && err != EINTR) {
                ec = boost::system::error_code(err, boost::system::system_category());
                return 0;
            }
            if (err != EINTR && !wait(POLLOUT, deadline, ec)) {
                return 0;
            }
        }
    }

    template <class MutableBufferSequence>
    std::size_t read_some(const MutableBufferSequence& buffers) {
        boost::system::error_code ec;
        std::size_t n = read_some(buffers, ec);
        if (ec) {
            throw boost::system::system_error(ec);
        }
        return n;
    }

    template <class ConstBufferSequence>
    std::size_t write_some(const ConstBufferSequence& buffers) {
        boost::system::error_code ec;
        std::size_t n = write_some(buffers, ec);
        if (ec) {
            throw boost::system::system_error(ec);
        }
        return n;
    }

    template <class MutableBufferSequence, class Handler>
    auto async_read_some(const MutableBufferSequence& buffers, Handler&& handler) {
        return _socket->async_read_some(buffers, std::forward<Handler>(handler));
    }

    template <class ConstBufferSequence, class Handler>
    auto async_write_some(const ConstBufferSequence& buffers, Handler&& handler) {
        return _socket->async_write_some(buffers, std::forward<Handler>(handler));
    }

  private:
    int fd() const { return _fd; }

    template <class Buffers, std::size_t N>
    static std::size_t toIovec(const Buffers& buffers, std::array<iovec, N>& iov) {
        std::size_t n = 0;
        auto end = boost::asio::buffer_sequence_end(buffers);
        for (auto it = boost::asio::buffer_sequence_begin(buffers); it != end && n < N; ++it) {
            auto b = *it;
            if (b.size() == 0) {
                continue;
            }
            iov[n].iov_base = const_cast<void*>(static_cast<const void*>(b.data()));
            iov[n].iov_len = b.size();
            ++n;
        }
        return n;
    }

    // Waits for readiness until the deadline; false with ec set on time-out
    // or when the socket failed.
    bool wait(short events, Clock::time_point deadline, boost::system::error_code& ec) {
        for (;;) {
            // To the nanosecond: a deadline a fraction of a millisecond away
            // is waited for, not taken as passed.
            auto left =
                std::chrono::duration_cast<std::chrono::nanoseconds>(deadline - Clock::now());
            if (left.count() <= 0) {
                ec = boost::asio::error::timed_out;
                return false;
            }
            timespec ts{static_cast<time_t>(left.count() / 1000000000),
                        static_cast<long>(left.count() % 1000000000)};
            pollfd p{fd(), events, 0};
            int r = ::ppoll(&p, 1, &ts, nullptr);
            if (r > 0) {
                return true;  // ready, hung up or failed: the next call tells which
            }
            int err = errno;
            if (r < 0 && err != EINTR) {
                ec = boost::system::error_code(err, boost::system::system_category());
                return false;
            }
        }
    }

    boost::asio::ip::tcp::socket* _socket;
    int _fd;
    std::chrono::milliseconds _timeout{30000};
    Clock::time_point _readDeadline = Clock::time_point::max();
};

}  // namespace tarn
