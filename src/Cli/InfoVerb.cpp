#include "Cli/DocumentDescription.h"
#include "Cli/VerbRun.h"
#include "Cli/Verbs.h"
#include "IO/DocumentReader.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace ombrel {

namespace {

class InfoVerb final : public Verb {
public:
    void declare(CLI::App& options) override {
        options.add_option("IN", input_, "File to describe")->type_name("")->required();
        options.add_flag("--json", asJson_, "Write JSON instead of text");
    }

    std::expected<void, VerbError> run(VerbRun& run) override {
        const auto document = readDocument(input_, run.store(), run.progress());
        if (!document) {
            return std::unexpected(VerbError{.message = document.error().text()});
        }
        const Json description = describeAsJson(*document);
        const std::string text =
            asJson_ ? indentedText(description) + "\n" : textOfDescription(description);
        if (std::fputs(text.c_str(), stdout) == EOF || std::fflush(stdout) != 0) {
            return std::unexpected(
                VerbError{.message = std::string("standard output: ") + std::strerror(errno)});
        }
        return {};
    }

private:
    std::string input_;
    bool asJson_ = false;
};

} // namespace

std::unique_ptr<Verb> makeInfoVerb() {
    return std::make_unique<InfoVerb>();
}

} // namespace ombrel
