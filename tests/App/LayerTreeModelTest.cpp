#include "App/Panels/LayerTreeModel.h"

#include "App/Panels/DraggedLayers.h"

#include "Commands/ArrangeCommands.h"
#include "Engine/CpuDevice.h"
#include "TestSeed.h"
#include "support/TestDocument.h"

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>

namespace ombrel {

namespace {

using Random = std::mt19937_64;

/// Name and children as nested text, topmost first.
std::string textOf(const GroupLayer& group) {
    std::string text = "(";
    for (auto node = group.children.rbegin(); node != group.children.rend(); ++node) {
        text += node->properties().name + (node->properties().isVisible ? "" : "-") + " ";
        if (node->group() != nullptr) text += textOf(*node->group());
    }
    return text + ")";
}

struct LayerTreeModelTest : testing::Test {
    LayerTreeModelTest() {
        model.perform = [this](const Command& command) {
            performed.push_back(command.name());
            ASSERT_TRUE(command.apply(state, {*store, device}));
            model.follow(state);
        };
        QObject::connect(&model, &QAbstractItemModel::rowsInserted,
                         [this](auto&, int first, int last) { inserted += last - first + 1; });
        QObject::connect(&model, &QAbstractItemModel::rowsMoved, [this] { ++moved; });
        QObject::connect(&model, &QAbstractItemModel::rowsRemoved,
                         [this](auto&, int first, int last) { removed += last - first + 1; });
        QObject::connect(&model, &QAbstractItemModel::dataChanged, [this] { ++changed; });
        model.onPictureChange = [this](LayerID) { ++pictures; };
    }
    void follow(const DocumentState& next) {
        state = next;
        inserted = moved = removed = changed = pictures = 0;
        model.follow(state);
    }
    std::string shown(const QModelIndex& parent = {}) const {
        std::string text = "(";
        for (int row = 0; row < model.rowCount(parent); ++row) {
            const QModelIndex index = model.index(row, LayerTreeModel::visibilityColumn, parent);
            const LayerNode* node = model.node(index);
            EXPECT_EQ(model.indexOf(node->id(), LayerTreeModel::visibilityColumn), index);
            text += node->properties().name + (node->properties().isVisible ? "" : "-") + " ";
            if (node->group() != nullptr) text += shown(index);
        }
        return text + ")";
    }
    LayerID id(std::string_view name) const {
        for (const LayerNode& node : state.allNodes())
            if (node.properties().name == name) return node.id();
        ADD_FAILURE() << name;
        return {};
    }
    QModelIndex indexOf(std::string_view name) const { return model.indexOf(id(name)); }
    bool drop(std::vector<std::string> names, Qt::DropAction action, int row,
              const QModelIndex& parent) {
        QModelIndexList indexes;
        for (const std::string& name : names)
            indexes += indexOf(name);
        const std::unique_ptr<QMimeData> data(model.mimeData(indexes));
        return model.dropMimeData(data.get(), action, row, 0, parent);
    }

    std::shared_ptr<TileStore> store = makeTestStore();
    CpuDevice device;
    LayerTreeModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    DocumentState state;
    std::vector<std::string> performed;
    int inserted = 0;
    int moved = 0;
    int removed = 0;
    int changed = 0;
    int pictures = 0;
};

DocumentState flat(int count) {
    TestDocument document;
    for (int i = 0; i < count; ++i)
        document.layer(fmt::format("L{}", i));
    return document.state();
}

LayerID anyLayer(const DocumentState& state, Random& random) {
    const std::vector<LayerNode> nodes = state.allNodes();
    return nodes[random() % nodes.size()].id();
}

/// Takes the tree apart in ways that commands do, several of them between two looks.
void edit(DocumentState& state, Random& random) {
    const auto at = [&] { return static_cast<std::int64_t>(random() % 6); };
    if (state.allNodes().empty()) state.insert({PixelLayer::named("only")}, std::nullopt, 0);
    const LayerID id = anyLayer(state, random);
    switch (random() % 8) {
    case 0:
        state.insert({PixelLayer::named(fmt::format("p{}", random() % 100))}, {}, at());
        break;
    case 1:
        state.insert({GroupLayer::named(fmt::format("g{}", random() % 100))}, {}, at());
        break;
    case 2:
        state.remove(id);
        break;
    case 3: // a group goes and leaves its children
        if (const std::optional<LayerNode> node = state.remove(id); node && node->group()) {
            state.insert(node->group()->children, {}, at());
        }
        break;
    case 4: // a new group around two layers
        if (std::optional<LayerNode> first = state.remove(id); first) {
            GroupLayer group = GroupLayer::named("around");
            group.children.push_back(*std::move(first));
            state.insert({std::move(group)}, {}, at());
        }
        break;
    case 5:
        state.update(
            id, [&](LayerNode& node) { node.writeProperties().isVisible = random() % 2 == 0; });
        break;
    default:
        if (std::optional<LayerNode> node = state.remove(id)) {
            const bool isPlaced = !state.allNodes().empty() && random() % 3 != 0 &&
                                  state.insert({*node}, anyLayer(state, random), at());
            if (!isPlaced) state.insert({*node}, std::nullopt, at());
        }
    }
}

} // namespace

TEST_F(LayerTreeModelTest, showsTheTreeWhateverHappensToIt) {
    Random random(testSeed());
    DocumentState next = TestDocument().layer("a").group("g").layer("b").end().layer("c").state();
    std::vector<DocumentState> past;
    for (int step = 0; step < 3000; ++step) {
        follow(next);
        ASSERT_EQ(shown(), textOf(*state.root)) << "step " << step;
        past.push_back(next);
        if (random() % 8 == 0) {
            next = past[random() % past.size()]; // as undo does
        } else {
            for (std::size_t count = 1 + random() % 4; count > 0; --count)
                edit(next, random);
        }
    }
}

TEST_F(LayerTreeModelTest, aChangeTellsOfNoMoreRowsThanItTouched) {
    follow(flat(500));
    const DocumentState before = state;
    EXPECT_EQ(inserted, 500);

    DocumentState next = before;
    next.update(id("L250"), [](LayerNode& node) { node.writeProperties().isVisible = false; });
    follow(next);
    EXPECT_EQ(inserted + moved + removed + pictures, 0);
    EXPECT_EQ(changed, 1);

    next = before;
    next.update(id("L250"), [](LayerNode& node) { node.writeProperties().opacity = 0.5f; });
    follow(before);
    follow(next);
    EXPECT_EQ(changed, 1) << "rows show the opacity";
    EXPECT_EQ(pictures, 0);

    next = before;
    for (const LayerNode& node : before.allNodes())
        next.update(node.id(), [](LayerNode& each) { each.writeProperties().isVisible = false; });
    follow(before);
    follow(next);
    EXPECT_EQ(changed, 1) << "one word for all of them";

    next = before;
    next.update(id("L3"), [&](LayerNode& node) {
        node.writePixelLayer()->pixels.set({0, 0}, PremultipliedColor::white());
    });
    follow(before);
    follow(next);
    EXPECT_EQ(pictures, 1);

    next = before;
    const LayerNode top = *next.remove(id("L499"));
    next.insert({top}, std::nullopt, 0);
    follow(before);
    follow(next);
    EXPECT_EQ(moved, 1) << "from one end to the other";
    EXPECT_EQ(inserted + removed, 0);
}

TEST_F(LayerTreeModelTest, aLayerThatMovesIntoAGroupIsTheSameRow) {
    follow(TestDocument().layer("a").group("g").layer("b").end().state());
    const QPersistentModelIndex row = indexOf("a");
    model.perform(MoveLayersCommand{.layerIDs = {id("a")}, .parent = id("g"), .gap = 1});
    EXPECT_TRUE(row.isValid());
    EXPECT_EQ(model.id(row), id("a"));
    EXPECT_EQ(shown(), "(g (a b ))");
}

TEST_F(LayerTreeModelTest, dropsPutLayersWhereTheIndicatorIs) {
    follow(TestDocument()
               .layer("a")
               .layer("b")
               .group("g")
               .layer("c")
               .layer("d")
               .end()
               .layer("e")
               .state());
    ASSERT_EQ(shown(), "(e g (d c )b a )");
    EXPECT_TRUE(drop({"a", "e"}, Qt::MoveAction, 1, indexOf("g").siblingAtColumn(0)));
    EXPECT_EQ(shown(), "(g (d e a c )b )");
    EXPECT_TRUE(drop({"c"}, Qt::MoveAction, 0, {}));
    EXPECT_EQ(shown(), "(c g (d e a )b )");
    EXPECT_TRUE(drop({"b"}, Qt::MoveAction, -1, indexOf("g")));
    EXPECT_EQ(shown(), "(c g (b d e a ))");
    EXPECT_TRUE(drop({"b"}, Qt::MoveAction, -1, {}));
    EXPECT_EQ(shown(), "(c g (d e a )b )");
    EXPECT_TRUE(drop({"c"}, Qt::CopyAction, 2, {}));
    EXPECT_EQ(shown(), "(c g (d e a )c b )");
    EXPECT_FALSE(drop({"g"}, Qt::MoveAction, 0, indexOf("g"))) << "into itself";
    QMimeData strangers;
    strangers.setData(DraggedLayers::mimeType, "gibberish\n" + QByteArray(36, '0'));
    EXPECT_FALSE(model.dropMimeData(&strangers, Qt::MoveAction, 0, 0, {}));
    EXPECT_EQ(performed.size(), 5u);
}

TEST_F(LayerTreeModelTest, renamingIsACommandUnlessNothingIsLeftOfTheName) {
    follow(flat(2));
    EXPECT_TRUE(model.setData(indexOf("L0"), " Sky ", Qt::EditRole));
    EXPECT_EQ(shown(), "(L1 Sky )");
    EXPECT_EQ(performed, std::vector<std::string>{"Rename Layer"});
    EXPECT_FALSE(model.setData(indexOf("Sky"), "  ", Qt::EditRole));
    EXPECT_FALSE(model.setData(indexOf("Sky"), "Sky", Qt::EditRole));
    EXPECT_EQ(performed.size(), 1u);
}

} // namespace ombrel
