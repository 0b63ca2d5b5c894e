// Damaged commands: valid JSON changed at random, as a tree and as text. Whatever comes out is a
// message or a command, which then is applied; nothing else may happen.
#include "Commands/CommandRegistry.h"
#include "Commands/EditScript.h"

#include "Commands/RandomValues.h"
#include "Engine/CpuDevice.h"
#include "TestSeed.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <set>

namespace ombrel {

namespace {

class Mutator {
public:
    Mutator(test::RandomValues& values, std::vector<LayerID> ids)
        : values_(values), ids_(std::move(ids)) {}

    /// Changes one value somewhere inside.
    void change(Json& json) {
        if (json.is_structured() && !json.empty() && !values_.oneIn(4)) {
            auto place = json.begin();
            std::advance(place, static_cast<std::ptrdiff_t>(values_.below(json.size())));
            if (values_.oneIn(8))
                json.erase(place);
            else
                change(*place);
            return;
        }
        if (json.is_object() && values_.oneIn(2))
            json["extra"] = anything();
        else if (json.is_array() && values_.oneIn(2))
            json.push_back(anything());
        else
            json = anything();
    }

    /// Changes, drops or doubles bytes.
    void change(std::string& text) {
        const std::size_t place = values_.below(text.size());
        switch (values_.below(3)) {
        case 0:
            text[place] = static_cast<char>(values_.below(256));
            break;
        case 1:
            text.erase(place, 1 + values_.below(20));
            break;
        default:
            text.insert(place, text.substr(values_.below(text.size()), values_.below(40)));
        }
    }

private:
    Json anything() {
        const Json all[] = {nullptr,
                            true,
                            0,
                            -1,
                            UINT64_MAX,
                            INT64_MIN,
                            0.5,
                            1e308,
                            "nan",
                            "",
                            "#123456",
                            "sendToBack",
                            Json::array(),
                            Json::object(),
                            {1, 2, 3},
                            {{"name", "Sky"}},
                            {{"active", true}},
                            {{"fill", "#FFFFFF"}},
                            {{"file", "x.png"}},
                            {{"layer", {{"name", "Sky"}}}, {"value", 1}},
                            ids_[values_.below(ids_.size())].rawValue.text(),
                            values_.id().rawValue.text()};
        return all[values_.below(std::size(all))];
    }

    test::RandomValues& values_;
    std::vector<LayerID> ids_;
};

} // namespace

TEST(CommandMutation, damagedCommandsGiveAMessageOrACommand) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    TestDocument document({300, 200});
    document.layer("Sky").filled(PremultipliedColor::white()).group("G").layer("A").end().active();
    test::RandomValues values(seed, document.store());
    Mutator mutator(values, {document.id("Sky"), document.id("G"), document.id("A")});
    CpuDevice device;
    const CommandContext applying{.store = document.store(), .device = device};
    LayerIDSource newIDs(seed);
    const DecodingContext context{
        .state = document.state(),
        .store = document.store(),
        .newIDs = newIDs,
        .loadPicture = [](const std::string&) -> std::expected<LoadedPicture, std::string> {
            return std::unexpected("no file");
        }};
    int faults = 0;
    int commands = 0;
    const auto tryOut = [&](const Json& json) {
        const Decoded<Command> command = decodeCommand(json, context);
        if (!command) {
            EXPECT_FALSE(command.error().message.empty());
            ++faults;
            return;
        }
        ++commands;
        EXPECT_TRUE(encodeCommand(*command).is_object());
        DocumentState state = document.state();
        const CommandResult result = command->apply(state, applying);
        if (!result) return;
        EXPECT_FALSE(state.root->children.empty());
        std::set<LayerID> ids;
        for (const LayerNode& node : state.allNodes())
            EXPECT_TRUE(ids.insert(node.id()).second) << compactText(json);
    };
    const auto damage = [&]<typename T>() {
        SCOPED_TRACE(T::schema().name);
        for (int round = 0; round < 150; ++round) {
            const Json json = encodeCommand(values.command<T>());
            Json changed = json;
            for (std::uint64_t i = values.below(3); i < 3; ++i)
                mutator.change(changed);
            tryOut(changed);
            std::string text = compactText(json);
            for (std::uint64_t i = values.below(3); i < 3; ++i)
                mutator.change(text);
            if (const auto parsed = parseJson(text)) tryOut(*parsed);
            EditScript::parse(R"({"steps": [)" + text + "]}");
        }
    };
    test::forEachCommandType(damage, AllCommands());
    // Both ways are really taken.
    EXPECT_GT(faults, 500);
    EXPECT_GT(commands, 100);
}

} // namespace ombrel
