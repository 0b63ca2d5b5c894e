#include "Core/CompositeProgram.h"

#include "support/TestDocument.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <string>

namespace ombrel {
namespace {

// A program in short: layers by name ("A", clipped "^A", with opacity and mode where they are not
// plain), levels as "(" isolated or "[" not, with what the end carries.
std::string blendText(float opacity, BlendMode mode) {
    std::string text;
    if (opacity != 1) text += fmt::format(":{}", opacity);
    if (mode != BlendMode::normal) text += fmt::format(":{}", rawValueOf(mode));
    return text;
}

std::string textOf(const CompositeProgram& program) {
    std::string text;
    for (const CompositeStep& step : program) {
        if (!text.empty()) text += ' ';
        if (const auto* begin = std::get_if<BeginStep>(&step.value)) {
            text += begin->isolated ? "(" : "[";
        } else if (const auto* end = std::get_if<EndStep>(&step.value)) {
            text += end->isolated ? ")" : "]";
            text += blendText(end->opacity, end->blendMode);
        } else {
            const PixelLayer& layer = *step.pixelLayer();
            if (std::holds_alternative<ClippedStep>(step.value)) text += '^';
            text += layer.properties.name;
            text += blendText(layer.properties.opacity, layer.properties.blendMode);
        }
        if (step.mask() != nullptr) text += "*";
    }
    return text;
}

TEST(CompositeProgram, followsTheRulesOfTheLayerTree) {
    using enum BlendMode;
    using Document = TestDocument;
    const struct {
        const char* name;
        Document document;
        const char* expected;
    } cases[] = {
        {"nothing", Document(), ""},
        {"bottom to top, transparent layers too", Document().layer("A").layer("B").opacity(0),
         "A B:0"},
        {"hidden layers are left out", Document().layer("A").hidden().layer("B"), "B"},
        {"a layer keeps its own mask",
         Document().layer("A").mask().layer("B").mask().maskDisabled(), "A* B"},
        {"a normal group is isolated", Document().group("G").layer("A"), "( A )"},
        {"its end carries opacity, mode and mask",
         Document().group("G").opacity(0.5f).blend(multiply).mask(0).layer("A"),
         "( A ):0.5:multiply*"},
        {"a plain pass-through group dissolves",
         Document().group("G").blend(passThrough).layer("A"), "A"},
        {"so does one above full opacity",
         Document().group("G").blend(passThrough).opacity(2).layer("A"), "A"},
        {"a disabled mask does not count",
         Document().group("G").blend(passThrough).mask().maskDisabled().layer("A"), "A"},
        {"a faint pass-through group is not isolated",
         Document().group("G").blend(passThrough).opacity(0.5f).layer("A"),
         "[ A ]:0.5:passThrough"},
        {"nor is a masked one", Document().group("G").blend(passThrough).mask().layer("A"),
         "[ A ]:passThrough*"},
        {"empty groups are left out",
         Document().group("G").group("H").end().layer("A").hidden().end().layer("B"), "B"},
        {"a hidden group hides its layers", Document().group("G").hidden().layer("A"), ""},
        {"clipped layers share a level with their base",
         Document().layer("A").layer("B").clipped().layer("C").clipped().layer("D"),
         "( A ^B ^C ) D"},
        {"the level takes the base's opacity and mode, the base keeps its mask",
         Document()
             .layer("A")
             .opacity(0.5f)
             .blend(screen)
             .mask()
             .layer("B")
             .opacity(0.25f)
             .clipped(),
         "( A* ^B:0.25 ):0.5:screen"},
        {"hidden clipped layers belong to the run but not to the level",
         Document().layer("A").layer("B").clipped().hidden().layer("C").clipped(), "( A ^C )"},
        {"a run of hidden layers alone makes no level",
         Document().layer("A").opacity(0.5f).layer("B").clipped().hidden(), "A:0.5"},
        {"a hidden base hides its run", Document().layer("A").hidden().layer("B").clipped(), ""},
        {"a first layer has nothing to clip to", Document().layer("A").clipped().layer("B"), "A B"},
        {"nor has the first of a group",
         Document().layer("A").group("G").layer("B").clipped().layer("C").clipped(),
         "A ( ( B ^C ) )"},
        {"layers clip to a group",
         Document().group("G").opacity(0.5f).layer("A").end().layer("B").clipped(),
         "( ( A ):0.5 ^B )"},
        {"and to a pass-through group",
         Document().group("G").blend(passThrough).layer("A").layer("C").end().layer("B").clipped(),
         "( A C ^B )"},
        {"an empty group drops its run", Document().group("G").end().layer("B").clipped(), ""},
        {"a group ends a run and never clips",
         Document()
             .layer("A")
             .layer("B")
             .clipped()
             .group("G")
             .clipped()
             .layer("C")
             .end()
             .layer("D")
             .clipped(),
         "( A ^B ) ( ( C ) ^D )"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(textOf(each.document.state().compositeProgram()), each.expected) << each.name;
}

TEST(CompositeProgram, theEleventhLevelAndDeeperLoseTheirGroups) {
    TestDocument document;
    for (int depth = 0; depth < 12; ++depth)
        document.group("G").opacity(0.5f).layer(fmt::format("A{}", depth));
    document.layer("B").clipped();
    std::string expected;
    for (int depth = 0; depth < 10; ++depth)
        expected += fmt::format("( A{} ", depth);
    expected += "A10 A11";
    for (int depth = 0; depth < 10; ++depth)
        expected += " ):0.5";
    EXPECT_EQ(textOf(document.state().compositeProgram()), expected)
        << "and a layer clipped that deep is dropped";
}

TEST(CompositeProgram, stepsAreComparedByStructureNeverByPixels) {
    const auto programOf = [](TestDocument& document) {
        return document.state().compositeProgram();
    };
    TestDocument document;
    document.layer("A").group("G").opacity(0.5f).mask(1).layer("B");
    const CompositeProgram before = programOf(document);

    document.filled(PremultipliedColor::white()).opacity(0.25f).blend(BlendMode::screen).mask();
    EXPECT_EQ(programOf(document), before) << "a layer's pixels and properties";
    document.end().maskFilled({0, 0, 10, 10}, 128);
    EXPECT_EQ(programOf(document), before) << "a group mask's pixels";

    const struct {
        const char* name;
        std::function<void(TestDocument&)> change;
    } changes[] = {
        {"opacity", [](TestDocument& each) { each.opacity(0.6f); }},
        {"mode", [](TestDocument& each) { each.blend(BlendMode::multiply); }},
        {"isolation", [](TestDocument& each) { each.blend(BlendMode::passThrough); }},
        {"mask background", [](TestDocument& each) { each.mask(0); }},
        {"mask offset", [](TestDocument& each) { each.maskOffset(1, 0); }},
        {"mask presence", [](TestDocument& each) { each.maskDisabled(); }},
        {"another layer", [](TestDocument& each) { each.layer("C"); }},
    };
    for (const auto& each : changes) {
        TestDocument changed = document;
        each.change(changed);
        EXPECT_NE(programOf(changed), before) << each.name;
    }
}

} // namespace
} // namespace ombrel
