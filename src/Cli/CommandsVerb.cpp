#include "Cli/ScriptingPage.h"
#include "Cli/Verbs.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ombrel {

namespace {

class CommandsVerb final : public Verb {
public:
    void declare(CLI::App& options) override {
        options.add_flag("--markdown", asMarkdown_, "Write the page docs/scripting.md");
    }

    std::expected<void, VerbError> run(VerbRun&) override {
        const std::string text = asMarkdown_ ? scriptingPage() : textOfCommands();
        if (std::fputs(text.c_str(), stdout) == EOF || std::fflush(stdout) != 0) {
            return std::unexpected(
                VerbError{.message = std::string("standard output: ") + std::strerror(errno)});
        }
        return {};
    }

private:
    bool asMarkdown_ = false;
};

} // namespace

std::unique_ptr<Verb> makeCommandsVerb() {
    return std::make_unique<CommandsVerb>();
}

} // namespace ombrel
