// A run of survival_helper: another process that a test talks to by lines and ends as it likes.
// Killed and waited for at the end of the scope.
#pragma once

#include "Base/Check.h"
#include "support/TestPlaces.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace ombrel::test {

class HelperProcess {
public:
    explicit HelperProcess(const std::vector<std::string>& arguments) {
        const std::string program = TestPlaces::survivalHelper();
        std::vector<const char*> argv{program.c_str()};
        for (const std::string& argument : arguments)
            argv.push_back(argument.c_str());
        argv.push_back(nullptr);
        std::array<int, 2> lines{};
        OMBREL_CHECK(::pipe2(lines.data(), O_CLOEXEC) == 0, "a pipe can be made");
        process_ = ::fork();
        OMBREL_CHECK(process_ >= 0, "a process can be started");
        if (process_ == 0) {
            ::dup2(lines[1], STDOUT_FILENO);
            ::execv(program.c_str(), const_cast<char* const*>(argv.data()));
            ::_exit(127);
        }
        ::close(lines[1]);
        lines_ = lines[0];
    }
    ~HelperProcess() {
        kill();
        ::close(lines_);
    }
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    /// The next line it says; empty when it has ended.
    std::string line() {
        std::string text;
        char c = 0;
        while (::read(lines_, &c, 1) == 1 && c != '\n')
            text += c;
        return text;
    }
    void kill() {
        if (process_ < 0) return;
        ::kill(process_, SIGKILL);
        static_cast<void>(wait());
    }
    /// Its exit status; -1 where a signal ended it.
    int wait() {
        int status = 0;
        ::waitpid(std::exchange(process_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t process_ = -1;
    int lines_ = -1;
};

} // namespace ombrel::test
