#include "App/Shell/RunningInstance.h"

#include "Base/Log.h"
#include "Base/XdgFolders.h"

#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace ombrel {

namespace {

constexpr const char* lockName = "ombrel.lock";
constexpr const char* socketName = "ombrel.socket";
/// A message is its paths, each ended by a zero byte, then one more zero byte.
constexpr std::size_t largestMessage = 1 << 20;
constexpr char received = '\1';
constexpr auto retryInterval = std::chrono::milliseconds(20);

std::string messageOf(const RunningInstance::Files& files) {
    std::string message;
    for (const std::filesystem::path& file : files)
        message.append(file.native()).push_back('\0');
    message.push_back('\0');
    return message;
}

bool isComplete(const std::string& message) {
    return message == std::string(1, '\0') || message.ends_with(std::string(2, '\0'));
}

RunningInstance::Files filesOf(const std::string& message) {
    RunningInstance::Files files;
    for (std::size_t begin = 0; begin + 1 < message.size();) {
        const std::size_t end = message.find('\0', begin);
        if (end > begin) files.emplace_back(message.substr(begin, end - begin));
        begin = end + 1;
    }
    return files;
}

std::optional<sockaddr_un> addressOf(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof(address.sun_path)) return std::nullopt;
    std::memcpy(address.sun_path, path.c_str(), path.native().size());
    return address;
}

/// A descriptor, or -1.
int connectTo(const std::filesystem::path& path) {
    const auto address = addressOf(path);
    if (!address) return -1;
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) == 0)
        return descriptor;
    ::close(descriptor);
    return -1;
}

bool sendAndHear(int descriptor, const std::string& message, std::chrono::milliseconds patience) {
    const auto sent = ::send(descriptor, message.data(), message.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(message.size())) return false;
    pollfd waited{descriptor, POLLIN, 0};
    char answer = 0;
    return ::poll(&waited, 1, static_cast<int>(patience.count())) == 1 &&
           ::read(descriptor, &answer, 1) == 1 && answer == received;
}

} // namespace

struct RunningInstance::Visitor {
    int descriptor = -1;
    std::string message;
    std::unique_ptr<QSocketNotifier> notifier;

    ~Visitor() {
        notifier.reset();
        ::close(descriptor);
    }
};

std::filesystem::path RunningInstance::defaultFolder() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    const std::filesystem::path folder = runtime != nullptr ? runtime : "";
    std::error_code error;
    if (folder.is_absolute() && std::filesystem::is_directory(folder, error))
        return folder / "ombrel";
    return XdgFolders::fromEnvironment().state;
}

RunningInstance::RunningInstance(std::filesystem::path folder) : folder_(std::move(folder)) {}

RunningInstance::~RunningInstance() {
    visitors_.clear();
    notifier_.reset();
    if (socket_ < 0) return;
    ::unlink((folder_ / socketName).c_str()); // still under the lock
    ::close(socket_);
}

RunningInstance::Role RunningInstance::start(const Files& files,
                                             std::chrono::milliseconds patience) {
    if (const auto made = createPrivateFolder(folder_); !made) {
        Log::warning("Other processes cannot hand their files over: {}", made.error().text());
        return Role::alone;
    }
    auto lock = FileLock::take(folder_ / lockName);
    if (lock) {
        lock_ = std::move(*lock);
        return Role::first;
    }
    if (lock.error().code != EBUSY) return Role::alone;
    return handOver(files, patience) ? Role::handedOver : Role::alone;
}

// The other process may be about to listen, so a refused connection is tried again.
bool RunningInstance::handOver(const Files& files, std::chrono::milliseconds patience) const {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    do {
        if (const int descriptor = connectTo(folder_ / socketName); descriptor >= 0) {
            const bool isHeard = sendAndHear(descriptor, messageOf(files), patience);
            ::close(descriptor);
            return isHeard;
        }
        std::this_thread::sleep_for(retryInterval);
    } while (std::chrono::steady_clock::now() < deadline);
    return false;
}

bool RunningInstance::listen(std::function<void(const Files&)> receive) {
    const std::filesystem::path path = folder_ / socketName;
    const auto address = addressOf(path);
    if (!lock_ || !address) return false;
    ::unlink(path.c_str()); // of a process that was killed: the lock is ours
    socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (::bind(socket_, reinterpret_cast<const sockaddr*>(&*address), sizeof(*address)) != 0 ||
        ::listen(socket_, SOMAXCONN) != 0) {
        Log::warning("{}", FileError{path, errno}.text());
        ::close(std::exchange(socket_, -1));
        return false;
    }
    received_ = std::move(receive);
    notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { accept(); });
    return true;
}

void RunningInstance::accept() {
    const int descriptor = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (descriptor < 0) return;
    auto visitor = std::make_unique<Visitor>();
    visitor->descriptor = descriptor;
    visitor->notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    QObject::connect(visitor->notifier.get(), &QSocketNotifier::activated,
                     [this, at = visitor.get()] { read(*at); });
    visitors_.push_back(std::move(visitor));
}

void RunningInstance::read(Visitor& visitor) {
    char bytes[4096];
    const ssize_t count = ::read(visitor.descriptor, bytes, sizeof(bytes));
    if (count < 0 && errno == EAGAIN) return;
    if (count > 0) visitor.message.append(bytes, static_cast<std::size_t>(count));
    const bool isWhole = isComplete(visitor.message);
    if (count > 0 && !isWhole && visitor.message.size() < largestMessage) return;

    Files files;
    if (isWhole) {
        files = filesOf(visitor.message);
        static_cast<void>(::send(visitor.descriptor, &received, 1, MSG_NOSIGNAL));
    }
    // The notifier is in the middle of its signal and goes later.
    visitor.notifier->setEnabled(false);
    visitor.notifier.release()->deleteLater();
    std::erase_if(visitors_, [&](const auto& each) { return each.get() == &visitor; });
    if (isWhole) received_(files);
}

} // namespace ombrel
