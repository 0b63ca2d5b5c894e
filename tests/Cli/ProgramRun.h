// Runs the built program as a user would: arguments in, exit status and both outputs out.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace ombrel {

struct ProgramResult {
    int exitStatus = -1; ///< -1 when a signal ended it
    int signal = 0;
    std::string output;
    std::string errors;
};

/// What is done in the new process before the program starts: limits, other files for its outputs.
using ProgramSetup = std::function<void()>;

class ProgramRun {
public:
    explicit ProgramRun(const std::vector<std::string>& arguments, const ProgramSetup& setup = {});
    ~ProgramRun();
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;

    void sendSignal(int signal) const;
    bool hasEnded();
    /// Waits for the end. Once.
    ProgramResult wait();

private:
    pid_t process_ = -1;
    int status_ = 0;
    bool hasEnded_ = false;
    int output_ = -1;
    int errors_ = -1;
};

ProgramResult runProgram(const std::vector<std::string>& arguments, const ProgramSetup& setup = {});

} // namespace ombrel
