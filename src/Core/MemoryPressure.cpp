#include "Core/MemoryPressure.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace ombrel {

namespace {

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }

    int number() const { return number_; }

private:
    int number_;
};

/// Triggers as the kernel takes them: what stalls, for how long, within which time (microseconds).
/// Without privileges the time must be a multiple of two seconds.
struct Trigger {
    MemoryPressure level;
    const char* text;
};
constexpr std::array<Trigger, 2> triggers{{
    {MemoryPressure::critical, "full 200000 2000000"},
    {MemoryPressure::warning, "some 200000 2000000"},
}};

Descriptor openTrigger(const std::filesystem::path& path, const Trigger& trigger) {
    Descriptor file(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (file.number() < 0) return file;
    const std::size_t length = std::strlen(trigger.text) + 1;
    if (write(file.number(), trigger.text, length) != static_cast<ssize_t>(length)) {
        return Descriptor(-1);
    }
    return file;
}

/// The files that may tell, best first: the whole system, then the control group of this process.
std::vector<std::filesystem::path> pressureFiles() {
    std::vector<std::filesystem::path> files{"/proc/pressure/memory"};
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        constexpr std::string_view unified = "0::/";
        if (!line.starts_with(unified)) continue;
        for (const char* const root : {"/sys/fs/cgroup", "/sys/fs/cgroup/unified"}) {
            files.push_back(std::filesystem::path(root) / line.substr(unified.size()) /
                            "memory.pressure");
        }
    }
    return files;
}

class PressureStallSource final : public MemoryPressureSource {
public:
    PressureStallSource(std::vector<Descriptor> files, Descriptor stop)
        : files_(std::move(files)), stop_(std::move(stop)) {}

    ~PressureStallSource() override {
        if (!thread_.joinable()) return;
        const std::uint64_t one = 1;
        static_cast<void>(!write(stop_.number(), &one, sizeof one));
        thread_.join();
    }

    void start(Handler handler) override {
        // Signals stay with the threads that were there before.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before);
        thread_ = std::thread([this, handler = std::move(handler)] { watch(handler); });
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

private:
    void watch(const Handler& handler) const {
        pthread_setname_np(pthread_self(), "ombrel-pressure");
        std::array<pollfd, triggers.size() + 1> waits{};
        for (std::size_t i = 0; i < triggers.size(); ++i) {
            waits[i] = {files_[i].number(), POLLPRI, 0};
        }
        waits.back() = {stop_.number(), POLLIN, 0};
        for (;;) {
            if (poll(waits.data(), waits.size(), -1) < 0) {
                if (errno == EINTR) continue;
                return;
            }
            if (waits.back().revents != 0) return;
            report(waits, handler);
        }
    }

    /// Only the gravest of the events that came together.
    static void report(std::array<pollfd, triggers.size() + 1>& waits, const Handler& handler) {
        bool isReported = false;
        for (std::size_t i = 0; i < triggers.size(); ++i) {
            if ((waits[i].revents & (POLLERR | POLLNVAL)) != 0) {
                waits[i].fd = -1; // the control group is gone: poll passes over it from now on
            } else if ((waits[i].revents & POLLPRI) != 0 && !isReported) {
                handler(triggers[i].level);
                isReported = true;
            }
        }
    }

    const std::vector<Descriptor> files_; ///< one a trigger
    const Descriptor stop_;
    std::thread thread_;
};

} // namespace

std::unique_ptr<MemoryPressureSource> MemoryPressureSource::ofSystem() {
    for (const std::filesystem::path& path : pressureFiles()) {
        std::vector<Descriptor> files;
        files.reserve(triggers.size());
        for (const Trigger& trigger : triggers) {
            files.push_back(openTrigger(path, trigger));
        }
        if (files[0].number() < 0 || files[1].number() < 0) continue;
        Descriptor stop(eventfd(0, EFD_CLOEXEC));
        if (stop.number() < 0) return nullptr;
        return std::make_unique<PressureStallSource>(std::move(files), std::move(stop));
    }
    return nullptr;
}

} // namespace ombrel
