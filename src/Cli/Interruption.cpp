#include "Cli/Interruption.h"

#include "Base/Check.h"

#include <array>
#include <atomic>
#include <csignal>

namespace ombrel {

namespace {

constexpr std::array endingSignals{SIGINT, SIGTERM, SIGHUP};
std::atomic<Progress*> interrupted = nullptr;
static_assert(std::atomic<Progress*>::is_always_lock_free);

/// Cancelling only stores into an atomic, which a signal handler may do. The handler stands once:
/// the next signal does what it does by default.
void cancelOnSignal(int) {
    if (Progress* progress = interrupted.load()) progress->cancel();
}

} // namespace

Interruption::Interruption(Progress& progress) {
    OMBREL_CHECK(interrupted.exchange(&progress) == nullptr, "one interruption at a time");
    for (const int signal : endingSignals) {
        struct sigaction before{};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler == SIG_IGN) continue; // run in the background, or by nohup
        struct sigaction action{};
        action.sa_handler = cancelOnSignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

Interruption::~Interruption() {
    for (const int signal : endingSignals) {
        struct sigaction current{};
        sigaction(signal, nullptr, &current);
        if (current.sa_handler == cancelOnSignal) std::signal(signal, SIG_DFL);
    }
    interrupted.store(nullptr);
}

} // namespace ombrel
