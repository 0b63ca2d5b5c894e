// Lets the files of this process grow no further for the scope, as a full disk does.
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace ombrel::test {

class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : signalBefore_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limited{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, signalBefore_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_{};
    void (*signalBefore_)(int);
};

} // namespace ombrel::test
