// What every headless verb is: options that it declares, and work that ends well or with one
// message. The table of all verbs is the only place where they are listed.
#pragma once

#include <expected>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

namespace ombrel {

class VerbRun;

enum class ExitStatus { done = 0, failed = 1, wrongUsage = 2 };

struct VerbError {
    ExitStatus status = ExitStatus::failed;
    std::string message; ///< for the user, without a line break
};

class Verb {
public:
    virtual ~Verb() = default;

    /// Adds its options; they are bound to this object, which outlives the parsing.
    virtual void declare(CLI::App& options) = 0;
    /// Called once, after parsing. Results are written only when complete.
    virtual std::expected<void, VerbError> run(VerbRun& run) = 0;
};

struct VerbEntry {
    const char* name;
    const char* summary;
    std::unique_ptr<Verb> (*make)();
};

std::span<const VerbEntry> verbs();

} // namespace ombrel
