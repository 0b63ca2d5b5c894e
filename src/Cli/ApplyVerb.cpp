#include "Base/AtomicFile.h"
#include "Base/Settings.h"
#include "Cli/NativeOutput.h"
#include "Cli/RasterOutput.h"
#include "Cli/VerbRun.h"
#include "Cli/Verbs.h"
#include "Commands/ColorModeCommands.h"
#include "Editor/ScriptRun.h"
#include "Engine/CpuDevice.h"
#include "Engine/Flattener.h"
#include "IO/DocumentReader.h"
#include "Tools/ToolRegistry.h"

#include <CLI/CLI.hpp>

#include <filesystem>

namespace ombrel {

namespace {

constexpr std::uint64_t largestScript = std::uint64_t{1} << 30;

std::unexpected<VerbError> failure(std::string message) {
    return std::unexpected(VerbError{.message = std::move(message)});
}

class ApplyVerb final : public Verb {
public:
    void declare(CLI::App& options) override {
        options.add_option("IN", input_, "File to open")->type_name("")->required();
        options.add_option("SCRIPT", script_, "Edits, as JSON")->type_name("")->required();
        options.add_option("-o,--output", output_.path, "File to write")
            ->type_name("OUT")
            ->required();
        output_.declareOptions(options);
    }

    std::expected<void, VerbError> run(VerbRun& run) override {
        const bool isNative = isNativePath(output_.path);
        const auto checked = isNative ? checkWritable(output_.path) : output_.check();
        if (!checked) return checked;
        const auto script = readScript();
        if (!script) return std::unexpected(script.error());
        run.progress().setText("Opening");
        auto document = readDocument(input_, run.store(), run.progress());
        if (!document) return failure(document.error().text());
        Board& board = document->board;
        auto edited = edit(document->state(), *script, run);
        if (!edited) return std::unexpected(edited.error());
        if (!isNative) return output_.write(*edited, run.store(), run.progress());
        board.writeNode(board.activeNodeID)->state = std::move(*edited);
        return writeNative(board, output_.path, run.progress());
    }

private:
    std::expected<EditScript, VerbError> readScript() const {
        const auto text = readSmallFile(script_, largestScript);
        if (!text) return failure(text.error().text());
        auto script = EditScript::parse(*text);
        if (!script) return failure(script_ + ": " + script.error().message);
        return std::move(*script);
    }

    std::expected<DocumentState, VerbError> edit(DocumentState state, const EditScript& script,
                                                 VerbRun& run) const {
        MainExecutor main;
        CpuDevice device;
        const auto session =
            DocumentSession::create({.main = main,
                                     .worker = ThreadPool::shared(),
                                     .store = run.store(),
                                     .device = device,
                                     .settings = Settings::shared()},
                                    std::move(state), "Open", {}, ToolRegistry::makeTools());
        const auto load = [&](const std::string& path) {
            return loadPicture(path, session->_state->canvas.profile, device, run);
        };
        const auto done = runScript(
            script, *session,
            {.main = main, .store = run.store(), .loadPicture = load, .progress = &run.progress()});
        if (!done) return failure(done.error().message);
        return *session->_state;
    }

    /// Paths count from the script's folder. The pixels come in the document's profile.
    std::expected<LoadedPicture, std::string> loadPicture(const std::string& path,
                                                          const ColorProfile& profile,
                                                          PixelDevice& device, VerbRun& run) const {
        const std::filesystem::path file = std::filesystem::path(script_).parent_path() / path;
        const auto document = readDocument(file, run.store(), run.progress());
        if (!document) return std::unexpected(document.error().text());
        DocumentState state = document->state();
        const CommandResult converted = ConvertProfileCommand{profile}.apply(
            state, {.store = run.store(), .device = device, .progress = &run.progress()});
        if (!converted) return std::unexpected(converted.error().text());
        auto pixels =
            Flattener::compositeGrid(state, device, run.store(), nullptr, &run.progress());
        if (!pixels) return std::unexpected(pixels.error().text());
        return LoadedPicture{std::move(*pixels), state.canvas.size};
    }

    std::string input_;
    std::string script_;
    RasterOutput output_;
};

} // namespace

std::unique_ptr<Verb> makeApplyVerb() {
    return std::make_unique<ApplyVerb>();
}

} // namespace ombrel
