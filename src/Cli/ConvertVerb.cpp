#include "Cli/NativeOutput.h"
#include "Cli/VerbRun.h"
#include "Cli/Verbs.h"
#include "IO/DocumentReader.h"

#include <CLI/CLI.hpp>

namespace ombrel {

namespace {

class ConvertVerb final : public Verb {
public:
    void declare(CLI::App& options) override {
        options.add_option("IN", input_, "File to open")->type_name("")->required();
        options.add_option("OUT", output_, "Document to write, ending in .ombrel")
            ->type_name("")
            ->required();
    }

    std::expected<void, VerbError> run(VerbRun& run) override {
        if (!isNativePath(output_)) {
            return std::unexpected(
                VerbError{ExitStatus::wrongUsage, "OUT must end in .ombrel (see export)"});
        }
        if (const auto checked = checkWritable(output_); !checked) return checked;
        run.progress().setText("Opening");
        const auto document = readDocument(input_, run.store(), run.progress());
        if (!document) return std::unexpected(VerbError{.message = document.error().text()});
        return writeNative(document->board, output_, run.progress());
    }

private:
    std::string input_;
    std::string output_;
};

} // namespace

std::unique_ptr<Verb> makeConvertVerb() {
    return std::make_unique<ConvertVerb>();
}

} // namespace ombrel
