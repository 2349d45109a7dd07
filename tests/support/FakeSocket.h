// A VELSocket in memory: reads come from a script of segments, writes are
// collected; either side can be made to fail.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "vela/VELNetException.h"
#include "vela/VELSocket.h"

namespace tarntest {

class FakeSocket : public VELSocket {
  public:
    std::deque<std::string> reads;          // each readSome returns (part of) the front segment
    bool failReads = false;                 // throw once the segments are used up (else EOF)
    std::vector<std::size_t> readRequests;  // sizes asked for
    std::string written;
    std::size_t writeCalls = 0;
    std::size_t failAfter = std::string::npos;  // writes fail once this many bytes went out
    bool secure = false;
    bool loopback = true;
    int closeOption = CLOSE_OPTION_DEFAULT;

    std::size_t readSome(char* buffer, std::size_t size) override {
        readRequests.push_back(size);
        if (reads.empty()) {
            if (failReads) {
                throw VELNetException("FakeSocket", "read deadline passed", 1);
            }
            return 0;
        }
        std::string& front = reads.front();
        std::size_t n = std::min(size, front.size());
        front.copy(buffer, n);
        front.erase(0, n);
        if (front.empty()) {
            reads.pop_front();
        }
        return n;
    }
    void writeAll(const std::string_view* parts, std::size_t count) override {
        ++writeCalls;
        for (std::size_t i = 0; i < count; ++i) {
            if (written.size() + parts[i].size() > failAfter) {
                throw VELNetException("FakeSocket", "peer gone", 1);
            }
            written.append(parts[i]);
        }
    }
    using VELSocket::writeAll;
    bool isSecure() const override { return secure; }
    bool isLoopback() const override { return loopback; }
    VELString getLocalAddress() const override { return "127.0.0.1"; }
    std::uint16_t getLocalPort() const override { return 5988; }
    VELString getPeerAddress() const override { return "127.0.0.2"; }
    std::uint16_t getPeerPort() const override { return 40000; }
    void setCloseOption(int seconds) override { closeOption = seconds; }
    int getCloseOption() const override { return closeOption; }
};

}  // namespace tarntest
