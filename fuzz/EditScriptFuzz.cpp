// Any text as a script of edits: it is refused with words, or becomes steps. Each command, decoded
// against the document as it is then, is refused with words too or encodes to JSON that gives the
// same command again; and it does what it says or fails with words. Commands with large numbers
// (huge canvases) are not carried out: that takes long, rightly.
#include "Base/Check.h"
#include "Commands/CommandRegistry.h"
#include "Commands/EditScript.h"
#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <set>

using namespace ombrel;

namespace {

constexpr double largestNumber = 400;
constexpr std::size_t mostLayers = 64;

bool isSmall(const Json& json) {
    if (json.is_number()) return std::abs(json.get<double>()) <= largestNumber;
    if (!json.is_structured()) return true;
    for (const Json& each : json)
        if (!isSmall(each)) return false;
    return true;
}

/// A layer, and a group with a layer in it, under the names that scripts of the corpus use.
DocumentState startingState(TileStore& store) {
    DocumentState state;
    state.canvas.size = {300, 200};
    PixelLayer sky = PixelLayer::named("Sky");
    sky.pixels.fill({10, 20, 200, 100}, PremultipliedColor::white(), store);
    GroupLayer group = GroupLayer::named("G");
    group.children.emplace_back(PixelLayer::named("A"));
    GroupLayer& root = state.root.write();
    root.children.emplace_back(std::move(sky));
    root.children.emplace_back(std::move(group));
    state.activeLayerID = root.children.front().id();
    return state;
}

class ScriptReader {
public:
    explicit ScriptReader(TileStore& store) : store_(store), states_{startingState(store)} {}

    void run(const EditScript::CommandStep& step) {
        const Decoded<Command> command = decoded(step.command);
        if (!command) return;
        const Json json = encodeCommand(*command);
        const Decoded<Command> again = decoded(json);
        OMBREL_CHECK(again && encodeCommand(*again) == json, "what was written is read");
        DocumentState state = states_[present_];
        if (!isSmall(json) || state.allNodes().size() > mostLayers) return;
        const CommandResult result = command->apply(state, {.store = store_, .device = device_});
        if (!result) {
            OMBREL_CHECK(!result.error().text().empty(), "an error has words");
            return;
        }
        expectSound(state);
        states_.resize(++present_);
        states_.push_back(std::move(state));
    }
    /// Tools want a session.
    void run(const EditScript::ToolStep&) {}
    void run(const EditScript::KeyStep&) {}
    void run(const EditScript::UndoStep& step) {
        present_ -= std::min(present_, static_cast<std::size_t>(step.count));
    }
    void run(const EditScript::RedoStep& step) {
        present_ += std::min(states_.size() - 1 - present_, static_cast<std::size_t>(step.count));
    }

private:
    Decoded<Command> decoded(const Json& json) {
        const auto load = [](const std::string&) -> std::expected<LoadedPicture, std::string> {
            return std::unexpected("no pictures here");
        };
        Decoded<Command> command = decodeCommand(
            json,
            {.state = states_[present_], .store = store_, .newIDs = newIDs_, .loadPicture = load});
        OMBREL_CHECK(command || !command.error().message.empty(), "an error has words");
        return command;
    }
    static void expectSound(const DocumentState& state) {
        std::set<LayerID> ids;
        for (const LayerNode& node : state.allNodes())
            OMBREL_CHECK(ids.insert(node.id()).second, "layers differ in their identifiers");
        OMBREL_CHECK(!state.activeLayerID || state.find(*state.activeLayerID) != nullptr,
                     "the active layer is one of the document");
    }

    TileStore& store_;
    CpuDevice device_;
    LayerIDSource newIDs_{1};
    std::vector<DocumentState> states_;
    std::size_t present_ = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto store =
        TileStore::create({.residentBytes = 1 << 28, .compressedBytes = 1 << 28, .poolBytes = 0},
                          std::filesystem::temp_directory_path());
    const auto script = EditScript::parse({reinterpret_cast<const char*>(data), size});
    if (!script) {
        OMBREL_CHECK(!script.error().message.empty(), "an error has words");
        return 0;
    }
    ScriptReader reader(*store);
    for (const EditScript::Step& step : script->steps)
        std::visit([&](const auto& each) { reader.run(each); }, step);
    return 0;
}
