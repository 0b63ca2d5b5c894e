#include "Cli/RasterOutput.h"
#include "Cli/VerbRun.h"
#include "Cli/Verbs.h"
#include "IO/DocumentReader.h"

#include <CLI/CLI.hpp>

namespace ombrel {

namespace {

class ExportVerb final : public Verb {
public:
    void declare(CLI::App& options) override {
        options.add_option("IN", input_, "File to open")->type_name("")->required();
        options.add_option("OUT", output_.path, "File to write")->type_name("")->required();
        output_.declareOptions(options);
    }

    std::expected<void, VerbError> run(VerbRun& run) override {
        if (const auto checked = output_.check(); !checked) return checked;
        run.progress().setText("Opening");
        const auto document = readDocument(input_, run.store(), run.progress());
        if (!document) return std::unexpected(VerbError{.message = document.error().text()});
        return output_.write(document->state(), run.store(), run.progress());
    }

private:
    std::string input_;
    RasterOutput output_;
};

} // namespace

std::unique_ptr<Verb> makeExportVerb() {
    return std::make_unique<ExportVerb>();
}

} // namespace ombrel
