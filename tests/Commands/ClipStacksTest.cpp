// What is added, copied or moved beside a clip stack leaves every layer the base it had.
#include "Commands/ClipStacks.h"

#include "Commands/ArrangeCommands.h"
#include "Commands/ClipboardCommands.h"
#include "Commands/CommandRun.h"
#include "Commands/DuplicateLayersCommand.h"
#include "TestSeed.h"

#include <fmt/format.h>
#include <map>
#include <random>

namespace ombrel {
namespace {

using Arrangement = ArrangeLayersCommand::Arrangement;

class ClipStacksTest : public testing::Test {
protected:
    /// Bottom to top; clipped layers with an accent, groups in brackets.
    static std::string text(const std::vector<LayerNode>& nodes) {
        std::string text;
        for (const LayerNode& node : nodes) {
            text += fmt::format("{}{}{}", text.empty() ? "" : " ", node.properties().name,
                                node.properties().clipsToBelow ? "'" : "");
            if (const GroupLayer* group = node.group())
                text += fmt::format("({})", ClipStacksTest::text(group->children));
        }
        return text;
    }
    std::string after(const Command& command) {
        return text(run_.after(state(), command).root->children);
    }
    std::string arranged(std::vector<std::string_view> names, Arrangement arrangement) {
        return after(ArrangeLayersCommand{ids(names), arrangement, true});
    }
    std::string duplicated(std::vector<std::string_view> names) {
        return after(DuplicateLayersCommand::of(state(), ids(names)));
    }
    std::string pasted(std::string_view active) {
        DocumentState chosen = state();
        chosen.activeLayerID = document_.id(active);
        const PasteLayersCommand command{{PixelLayer::named("New"), GroupLayer::named("G")}};
        return text(run_.after(chosen, command).root->children);
    }
    std::vector<LayerID> ids(const std::vector<std::string_view>& names) {
        std::vector<LayerID> ids;
        for (const std::string_view name : names)
            ids.push_back(document_.id(name));
        return ids;
    }
    const DocumentState& state() { return document_.state(); }

    TestDocument document_ = std::move(TestDocument()
                                           .layer("Low")
                                           .layer("A")
                                           .layer("a")
                                           .clipped()
                                           .layer("b")
                                           .clipped()
                                           .hidden()
                                           .group("X")
                                           .layer("In")
                                           .end()
                                           .layer("x")
                                           .clipped()
                                           .layer("Top")
                                           .active());
    test::CommandRun run_{document_.store()};
};

/// What each clipped layer that has a base clips to.
std::map<LayerID, LayerID> basesOf(const std::vector<LayerNode>& nodes) {
    std::map<LayerID, LayerID> bases;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const std::size_t base = ClipStacks::baseOf(nodes, i);
        if (base != i) bases[nodes[i].id()] = nodes[base].id();
        if (const GroupLayer* group = nodes[i].group()) bases.merge(basesOf(group->children));
    }
    return bases;
}

} // namespace

TEST_F(ClipStacksTest, arrangingMovesABaseWithItsLayersOverWholeStacks) {
    EXPECT_EQ(arranged({"A"}, Arrangement::bringForward), "Low X(In) x' A a' b' Top");
    EXPECT_EQ(arranged({"X"}, Arrangement::sendBackward), "Low X(In) x' A a' b' Top");
    EXPECT_EQ(arranged({"Low"}, Arrangement::bringForward), "A a' b' Low X(In) x' Top");
    EXPECT_EQ(arranged({"Top"}, Arrangement::sendBackward), "Low A a' b' Top X(In) x'");
    EXPECT_EQ(arranged({"A", "a"}, Arrangement::bringToFront), "Low X(In) x' Top A a' b'");
    EXPECT_EQ(arranged({"X", "Low"}, Arrangement::sendToBack), "Low X(In) x' A a' b' Top");
    // A clipped layer alone moves among those that clip to the same.
    EXPECT_EQ(arranged({"a"}, Arrangement::bringForward), "Low A b' a' X(In) x' Top");
    EXPECT_EQ(arranged({"b"}, Arrangement::sendToBack), "Low A b' a' X(In) x' Top");
    for (const auto arrangement : {Arrangement::bringForward, Arrangement::bringToFront,
                                   Arrangement::sendBackward, Arrangement::sendToBack})
        EXPECT_EQ(arranged({"x"}, arrangement), text(state().root->children));
    EXPECT_EQ(after(ArrangeLayersCommand{ids({"A"}), Arrangement::bringForward}),
              "Low a' A b' X(In) x' Top")
        << "a plain step is one place";
}

TEST_F(ClipStacksTest, copiesOfABaseGoAboveItsStack) {
    EXPECT_EQ(duplicated({"A"}), "Low A a' b' A X(In) x' Top");
    EXPECT_EQ(duplicated({"A", "b"}), "Low A a' b' A b' X(In) x' Top");
    EXPECT_EQ(duplicated({"a"}), "Low A a' a' b' X(In) x' Top");
    EXPECT_EQ(duplicated({"X", "x", "Low"}), "Low Low A a' b' X(In) x' X(In) x' Top");
}

TEST_F(ClipStacksTest, whatIsPastedGoesAboveTheStackOfTheActiveLayer) {
    EXPECT_EQ(pasted("A"), "Low A a' b' New G() X(In) x' Top");
    EXPECT_EQ(pasted("a"), "Low A a' b' New G() X(In) x' Top");
    EXPECT_EQ(pasted("b"), "Low A a' b' New G() X(In) x' Top");
    EXPECT_EQ(pasted("Low"), "Low New G() A a' b' X(In) x' Top");
    EXPECT_EQ(pasted("X"), "Low A a' b' X(In New G()) x' Top") << "a group takes it in";
    EXPECT_EQ(pasted("x"), "Low A a' b' X(In) x' New G() Top");
}

TEST_F(ClipStacksTest, noEditByHandGivesALayerAnotherBase) {
    std::mt19937_64 random(testSeed());
    SCOPED_TRACE(testSeed());
    DocumentState present = state();
    for (int step = 0; step < 600; ++step) {
        const std::vector<LayerNode> nodes = present.allNodes();
        std::vector<LayerID> some;
        for (std::size_t count = 1 + random() % 3; count > 0; --count)
            some.push_back(nodes[random() % nodes.size()].id());
        present.activeLayerID = some.front();
        const auto commandOf = [&]() -> Command {
            switch (nodes.size() < 30 ? random() % 3 : 2) {
            case 0:
                return PasteLayersCommand{{PixelLayer::named("P")}};
            case 1:
                return DuplicateLayersCommand::of(present, some);
            default:
                return ArrangeLayersCommand{some, static_cast<Arrangement>(random() % 4), true};
            }
        };
        const Command command = commandOf();
        const DocumentState next = run_.after(present, command);
        const auto bases = basesOf(next.root->children);
        for (const auto& [layer, base] : basesOf(present.root->children))
            ASSERT_EQ(bases.at(layer), base)
                << step << " " << command.name() << ": " << text(present.root->children) << " -> "
                << text(next.root->children);
        present = next;
    }
}

} // namespace ombrel
