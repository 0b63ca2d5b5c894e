#include "Commands/CommandRegistry.h"

#include "Commands/RandomValues.h"
#include "TestSeed.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ombrel {

namespace {

constexpr const char* someID = "00112233-4455-6677-8899-AABBCCDDEEFF";

class CommandCoding : public testing::Test {
protected:
    CommandCoding() {
        document_.layer("Sky").opacity(0.5f).group("Trees").layer("Oak").layer("Twin").end();
        document_.layer("Twin").active();
    }

    DecodingContext context() {
        return {.state = document_.state(),
                .store = document_.store(),
                .newIDs = newIDs_,
                .loadPicture = [&](const std::string& path) { return load(path); }};
    }
    Decoded<Command> decode(std::string_view text) {
        return decodeCommand(parseJson(text).value(), context());
    }
    /// The message of an error, or that there was none.
    std::string faultOf(std::string_view text) {
        const Decoded<Command> command = decode(text);
        return command ? "no fault" : command.error().message;
    }
    template <typename T>
    T decoded(std::string_view text) {
        const Decoded<Command> command = decode(text);
        EXPECT_TRUE(command) << command.error().message;
        const T* value = command ? command->as<T>() : nullptr;
        EXPECT_NE(value, nullptr);
        return value != nullptr ? *value : T{};
    }

    static std::expected<LoadedPicture, std::string> load(const std::string& path) {
        if (path != "pictures/Birds.png") return std::unexpected("No such file");
        LoadedPicture picture{.size = {100, 50}};
        picture.pixels.set({0, 0}, PremultipliedColor::white());
        return picture;
    }

    TestDocument document_{{400, 300}};
    LayerIDSource newIDs_{7};
};

} // namespace

TEST_F(CommandCoding, everyCommandReadsBackAsItWasWritten) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    test::RandomValues values(seed, document_.store());
    const auto check = [&]<typename T>() {
        SCOPED_TRACE(T::schema().name);
        for (int round = 0; round < 60; ++round) {
            const Command command = values.command<T>();
            const Json json = encodeCommand(command);
            const std::string text = compactText(json);
            const Decoded<Command> again = decode(text);
            ASSERT_TRUE(again) << again.error().message << "\n" << text;
            ASSERT_EQ(encodeCommand(*again), json);
            // Tiles are equal by identity; theirs was compared as text.
            if (text.find("\"tiles\"") != std::string::npos) continue;
            ASSERT_EQ(*again, command) << text;
        }
    };
    test::forEachCommandType(check, AllCommands());
}

TEST_F(CommandCoding, numbersThatJsonHasNoneForAreTexts) {
    PlaceImageCommand place;
    place.center = {std::nan(""), -std::numeric_limits<double>::infinity()};
    place.layerID = LayerID::make();
    const Json json = encodeCommand(place);
    EXPECT_EQ(json["center"], (Json{"nan", "-inf"}));
    const auto again = decoded<PlaceImageCommand>(compactText(json));
    EXPECT_TRUE(std::isnan(again.center.x));
    EXPECT_EQ(again.center.y, place.center.y);
}

TEST_F(CommandCoding, tilesThatCellsShareStayShared) {
    AddLayerCommand add;
    const Tile tile = makeTestTile(document_.store(), TileFormat::rgba16Float);
    for (int x = 0; x < 3; ++x)
        add.layer.pixels.set({x, 0}, tile);
    const auto again = decoded<AddLayerCommand>(compactText(encodeCommand(add)));
    EXPECT_EQ(again.layer.pixels.pixelTileCount(), 3);
    EXPECT_EQ(again.layer.pixels.cell({0, 0}), again.layer.pixels.cell({2, 0}));
}

TEST_F(CommandCoding, scriptsNameLayersByNameOrAsTheActiveOne) {
    const auto byName = decoded<SetLayerPropertiesCommand>(
        R"({"command": "SetLayerPropertiesCommand", "layerID": {"name": "Oak"},
            "properties": {"isVisible": false}})");
    EXPECT_EQ(byName.layerID, document_.id("Oak"));
    const auto active = decoded<AddLayerCommand>(
        R"({"command": "AddLayerCommand", "layer": {"name": "A"}, "above": {"active": true}})");
    EXPECT_EQ(active.above, document_.lastID());
}

TEST_F(CommandCoding, propertiesGivenInPartAreCompletedFromTheirLayer) {
    const auto command = decoded<SetLayerPropertiesCommand>(
        R"({"command": "SetLayerPropertiesCommand", "layerID": {"name": "Sky"},
            "properties": {"blendMode": "multiply", "locks": ["pixels", "position"]}})");
    LayerProperties expected = document_.layerNamed("Sky").properties;
    expected.blendMode = BlendMode::multiply;
    expected.locks = LayerLocks::pixels | LayerLocks::position;
    EXPECT_EQ(command.properties, expected);
    EXPECT_EQ(command.properties.opacity, 0.5f);
}

TEST_F(CommandCoding, identifiersLeftOutAreMadeFromTheSeed) {
    const char* text = R"({"command": "NewGroupCommand", "group": {"name": "G",
        "children": [{"name": "A"}, {"name": "B", "children": []}]}})";
    const auto first = decoded<NewGroupCommand>(text);
    const auto second = decoded<NewGroupCommand>(text);
    EXPECT_NE(first.group.id, second.group.id);
    EXPECT_NE(first.group.children[0].id(), first.group.children[1].id());
    EXPECT_NE(first.group.children[0].pixelLayer(), nullptr);
    EXPECT_NE(first.group.children[1].group(), nullptr);
    newIDs_ = LayerIDSource(7);
    EXPECT_EQ(decoded<NewGroupCommand>(text), first);
}

TEST_F(CommandCoding, aPictureIsReadFromAFileAndGivesSizeNameAndPlace) {
    const auto place = decoded<PlaceImageCommand>(
        R"({"command": "PlaceImageCommand", "pixels": {"file": "pictures/Birds.png"}})");
    EXPECT_EQ(place.layerName, "Birds");
    EXPECT_EQ(place.size, (PixelSize{100, 50}));
    EXPECT_EQ(place.center, (RealPoint{200, 150}));
    EXPECT_EQ(place.pixels.tileCount(), 1);
}

TEST_F(CommandCoding, aColorFillsTheCanvas) {
    const auto add = decoded<AddLayerCommand>(
        R"({"command": "AddLayerCommand",
            "layer": {"name": "Red", "pixels": {"fill": "#FF000080"}}})");
    const PremultipliedColor color = add.layer.pixels.color(399, 299);
    EXPECT_NEAR(color.alpha, 128 / 255.0, 0.001);
    EXPECT_NEAR(color.red, 128 / 255.0, 0.001);
    EXPECT_TRUE(add.layer.pixels.color(400, 299).isTransparent());
}

TEST_F(CommandCoding, faultsNameTheFieldAndWhatItMustBe) {
    const std::string add = R"({"command": "AddLayerCommand", "layer": )";
    const std::string set = R"({"command": "SetLayerPropertiesCommand", "layerID": )";
    const std::string oak = set + R"({"name": "Oak"}, "properties": )";
    const std::pair<std::string, std::string> cases[] = {
        {"[]", "the command must be an object whose \"command\" is the name of a command"},
        {R"({"command": "Paint"})", "the command is unknown: there is no \"Paint\""},
        {R"({"command": "AddLayerCommand"})", "field \"layer\" is missing"},
        {add + "3}", "field \"layer\" must be an object"},
        {add + "{}}", "field \"layer.name\" is missing"},
        {add + R"({"name": "A", "opacity": 1.5}})", "field \"layer.opacity\" must be from 0 to 1"},
        {add + R"({"name": "A", "opacity": "nan"}})",
         "field \"layer.opacity\" must be from 0 to 1"},
        {add + R"({"name": "A", "mask": {"pixels": {"tiles": ["Zg=="]}}}})",
         "field \"layer.mask.pixels.tiles[0]\" must be the base64 of a tile"},
        {add + R"({"name": "A", "pixels": {"cells": [[0, 0, 0]]}}})",
         "field \"layer.pixels.cells[0]\" must be [x, y, index of the tile]"},
        {add + R"({"name": "A", "pixels": {"file": "Bees.png"}}})",
         "field \"layer.pixels.file\" can't be read: No such file"},
        {add + R"({"name": "A", "id": 5}})", "field \"layer.id\" must be a new identifier, a UUID"},
        {add + R"({"name": "A", "id": ")" + document_.lastID().rawValue.text() + "\"}}",
         "field \"layer.id\" is taken: identifiers must be new"},
        {add + R"({"name": "A"}, "abov": null})",
         "unknown field \"abov\": there are layer, above, command"},
        {set + R"({"name": "Twin"}, "properties": {}})",
         "field \"layerID\" is ambiguous: 2 layers are named \"Twin\"; use an identifier"},
        {set + R"({"name": "Ash"}, "properties": {}})",
         "field \"layerID\" names no layer: there is no \"Ash\""},
        {set + R"("Oak", "properties": {}})",
         "field \"layerID\" must be a layer: its identifier, {\"name\": its name} or "
         "{\"active\": true}"},
        {oak + R"({"colour": 1}})",
         "unknown field \"properties.colour\": there are name, isVisible, locks, opacity, "
         "blendMode, clipsToBelow"},
        {oak + R"({"locks": ["alpha"]}})",
         "field \"properties.locks[0]\" must be \"transparency\", \"pixels\", \"position\" or "
         "\"all\""},
        {oak + R"({"isVisible": 1}})", "field \"properties.isVisible\" must be true or false"},
    };
    for (const auto& [text, message] : cases)
        EXPECT_EQ(faultOf(text), message) << text;
    EXPECT_TRUE(faultOf(oak + R"({"blendMode": "Multiply"}})")
                    .starts_with("field \"properties.blendMode\" must be one of \"normal\", "
                                 "\"dissolve\", "));
}

TEST_F(CommandCoding, anUnknownIdentifierIsLeftToTheCommand) {
    const auto command = decoded<SetLayerPropertiesCommand>(
        std::string(R"({"command": "SetLayerPropertiesCommand", "layerID": ")") + someID +
        R"(", "properties": {"name": "A"}})");
    EXPECT_EQ(command.layerID.rawValue.text(), someID);
}

TEST_F(CommandCoding, groupsInGroupsAreLimited) {
    std::string group = R"({"name": "G", "children": []})";
    for (int depth = 0; depth < 100; ++depth)
        group = R"({"name": "G", "children": [)" + group + "]}";
    EXPECT_TRUE(faultOf(R"({"command": "NewGroupCommand", "group": )" + group + "}")
                    .ends_with(" is nested too deep"));
}

} // namespace ombrel
