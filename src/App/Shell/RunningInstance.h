// One process a user: the first holds a lock and listens on a socket in the user's runtime folder;
// later ones hand their files to it and end. Handing over needs neither a display nor a toolkit.
// The lock dies with its holder, so that a socket left behind is never mistaken for a process.
#pragma once

#include "Base/FileLock.h"

#include <chrono>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class QSocketNotifier;

namespace ombrel {

class RunningInstance {
public:
    using Files = std::vector<std::filesystem::path>;

    enum class Role {
        first,      ///< listen() now
        handedOver, ///< another process has the files
        alone,      ///< another process is there and does not answer, or there is no folder for it
    };

    /// `$XDG_RUNTIME_DIR`, or else the state folder.
    static std::filesystem::path defaultFolder();

    explicit RunningInstance(std::filesystem::path folder = defaultFolder());
    ~RunningInstance(); ///< others may be first from now on
    RunningInstance(const RunningInstance&) = delete;
    RunningInstance& operator=(const RunningInstance&) = delete;

    /// Waits for the other process's answer for at most `patience`.
    Role start(const Files& files,
               std::chrono::milliseconds patience = std::chrono::milliseconds(3000));
    /// Files (perhaps none: then a window is wanted) that other processes were started with. On the
    /// thread of the event loop; only where the role is `first`. False where nobody can be heard.
    [[nodiscard]] bool listen(std::function<void(const Files& files)> received);

private:
    struct Visitor;

    bool handOver(const Files& files, std::chrono::milliseconds patience) const;
    void accept();
    void read(Visitor& visitor);

    const std::filesystem::path folder_;
    std::optional<FileLock> lock_;
    int socket_ = -1;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::vector<std::unique_ptr<Visitor>> visitors_;
    std::function<void(const Files&)> received_;
};

} // namespace ombrel
