// Requests to end that come as signals (SIGTERM, SIGHUP, SIGINT), brought to the event loop: a
// handler may do next to nothing, so it writes into a socket that the loop listens to. One at a
// time in a process.
#pragma once

#include <array>
#include <csignal>
#include <functional>
#include <memory>

class QSocketNotifier;

namespace ombrel {

class SignalWatch {
public:
    explicit SignalWatch(std::function<void()> askedToEnd);
    ~SignalWatch(); ///< the signals do what they did before
    SignalWatch(const SignalWatch&) = delete;
    SignalWatch& operator=(const SignalWatch&) = delete;

private:
    static constexpr std::array watched{SIGTERM, SIGHUP, SIGINT};

    std::array<struct sigaction, watched.size()> before_{};
    std::array<int, 2> sockets_{-1, -1};
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace ombrel
