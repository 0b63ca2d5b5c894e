#include "Commands/Command.h"

#include "Engine/CpuDevice.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

struct RenameCommand {
    LayerID layerID;
    std::string layerName;

    std::string name() const { return "Rename"; }
    std::optional<std::string> coalescingKey() const { return "rename"; }
    CommandResult apply(DocumentState& state, const CommandContext&) const {
        const bool found = state.update(
            layerID, [&](LayerNode& node) { node.writeProperties().name = layerName; });
        if (!found) return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
        return {};
    }
    bool operator==(const RenameCommand&) const = default;
};

struct SlowCommand {
    std::string name() const { return "Slow"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState&, const CommandContext&) const { return {}; }
    bool operator==(const SlowCommand&) const = default;
};

} // namespace

TEST(Command, holdsAnyCommandAsAValue) {
    TestDocument document;
    document.layer("A");
    DocumentState state = document.state();
    CpuDevice device;
    const CommandContext context{.store = document.store(), .device = device};
    const RenameCommand rename{state.allNodes().front().id(), "B"};
    const Command command = rename;

    EXPECT_EQ(command.name(), "Rename");
    EXPECT_EQ(command.coalescingKey(), "rename");
    EXPECT_FALSE(command.runsOnQueue());
    ASSERT_TRUE(command.apply(state, context));
    EXPECT_EQ(state.allNodes().front().properties().name, "B");

    ASSERT_NE(command.as<RenameCommand>(), nullptr);
    EXPECT_EQ(command.as<SlowCommand>(), nullptr);
    EXPECT_EQ(command, Command(rename));
    EXPECT_NE(command, Command(SlowCommand{}));

    const Command slow = SlowCommand{};
    EXPECT_TRUE(slow.runsOnQueue());
    EXPECT_EQ(slow.coalescingKey(), std::nullopt);

    const CommandResult missing =
        Command(RenameCommand{LayerID::make(), "C"}).apply(state, context);
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().text(), "The layer no longer exists.");
}

} // namespace ombrel
