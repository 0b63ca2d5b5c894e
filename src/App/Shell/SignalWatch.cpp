#include "App/Shell/SignalWatch.h"

#include "Base/Check.h"

#include <QSocketNotifier>

#include <atomic>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace ombrel {

namespace {

std::atomic<int> handlerEnd = -1;

void handle(int) {
    const int errorBefore = errno;
    const char byte = 0;
    static_cast<void>(!::write(handlerEnd.load(), &byte, 1));
    errno = errorBefore;
}

} // namespace

SignalWatch::SignalWatch(std::function<void()> askedToEnd) {
    OMBREL_CHECK(handlerEnd.load() < 0, "one watch for signals at a time");
    const int type = SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK;
    OMBREL_CHECK(::socketpair(AF_UNIX, type, 0, sockets_.data()) == 0, "sockets can be made");
    handlerEnd = sockets_[0];
    notifier_ = std::make_unique<QSocketNotifier>(sockets_[1], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated,
                     [end = sockets_[1], askedToEnd = std::move(askedToEnd)] {
                         char bytes[16];
                         if (::read(end, bytes, sizeof(bytes)) > 0) askedToEnd();
                     });
    struct sigaction action{};
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < watched.size(); ++i)
        ::sigaction(watched[i], &action, &before_[i]);
}

SignalWatch::~SignalWatch() {
    for (std::size_t i = 0; i < watched.size(); ++i)
        ::sigaction(watched[i], &before_[i], nullptr);
    handlerEnd = -1;
    for (const int end : sockets_)
        ::close(end);
}

} // namespace ombrel
