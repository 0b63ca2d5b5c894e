#include "Cli/ProgramRun.h"

#include "Base/Check.h"
#include "support/TestPlaces.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace ombrel {

namespace {

/// Outputs go to files in memory: no pipe to fill up, nobody to drain it.
int makeCapture(const char* name) {
    const int descriptor = ::memfd_create(name, MFD_CLOEXEC);
    OMBREL_CHECK(descriptor >= 0, "an output can be captured");
    return descriptor;
}

std::string takeCapture(int& descriptor) {
    std::string text;
    std::array<char, 65536> part;
    off_t offset = 0;
    while (true) {
        const ssize_t count = ::pread(descriptor, part.data(), part.size(), offset);
        if (count <= 0) break;
        text.append(part.data(), static_cast<std::size_t>(count));
        offset += count;
    }
    ::close(std::exchange(descriptor, -1));
    return text;
}

} // namespace

ProgramRun::ProgramRun(const std::vector<std::string>& arguments, const ProgramSetup& setup)
    : output_(makeCapture("output")), errors_(makeCapture("errors")) {
    const std::string program = TestPlaces::program();
    std::vector<const char*> argv{program.c_str()};
    for (const std::string& argument : arguments)
        argv.push_back(argument.c_str());
    argv.push_back(nullptr);
    process_ = ::fork();
    OMBREL_CHECK(process_ >= 0, "a process can be started");
    if (process_ != 0) return;
    ::dup2(::open("/dev/null", O_RDONLY), STDIN_FILENO);
    ::dup2(output_, STDOUT_FILENO);
    ::dup2(errors_, STDERR_FILENO);
    if (setup) setup();
    ::execv(program.c_str(), const_cast<char* const*>(argv.data()));
    ::_exit(127);
}

ProgramRun::~ProgramRun() {
    if (!hasEnded()) {
        sendSignal(SIGKILL);
        static_cast<void>(wait());
    }
    if (output_ >= 0) ::close(output_);
    if (errors_ >= 0) ::close(errors_);
}

void ProgramRun::sendSignal(int signal) const {
    if (!hasEnded_) ::kill(process_, signal);
}

bool ProgramRun::hasEnded() {
    if (!hasEnded_) hasEnded_ = ::waitpid(process_, &status_, WNOHANG) == process_;
    return hasEnded_;
}

ProgramResult ProgramRun::wait() {
    while (!hasEnded_)
        hasEnded_ = ::waitpid(process_, &status_, 0) == process_;
    return {
        .exitStatus = WIFEXITED(status_) ? WEXITSTATUS(status_) : -1,
        .signal = WIFSIGNALED(status_) ? WTERMSIG(status_) : 0,
        .output = takeCapture(output_),
        .errors = takeCapture(errors_),
    };
}

ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramSetup& setup) {
    return ProgramRun(arguments, setup).wait();
}

} // namespace ombrel
