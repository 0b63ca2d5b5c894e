// Values of a document made at random: gradients, effects of every kind, shapes of every geometry,
// text with runs, instances, paths. The same seed gives the same values. With Numbers::any some are
// infinite or NaN, others as large or small as a double can be.
#pragma once

#include "Core/EffectCatalog.h"
#include "Core/InstanceContent.h"
#include "Core/Layer.h"
#include "Core/ShapeContent.h"
#include "Core/TextContent.h"

#include <bit>
#include <cmath>
#include <limits>
#include <random>

namespace ombrel {

class RandomValues {
public:
    enum class Numbers : std::uint8_t { finite, any };

    explicit RandomValues(std::uint64_t seed, Numbers numbers = Numbers::finite)
        : random_(seed), numbers_(numbers) {}

    std::uint64_t bits() { return random_(); }
    std::size_t below(std::size_t count) { return random_() % count; }
    bool chance(int percent) { return below(100) < static_cast<std::size_t>(percent); }
    template <typename E>
    E oneOf(std::size_t count) {
        return static_cast<E>(below(count));
    }
    template <typename Make>
    auto maybe(Make&& make) {
        return chance(50) ? std::optional(make()) : std::nullopt;
    }
    template <typename Make>
    auto list(std::size_t most, Make&& make) {
        std::vector<decltype(make())> values;
        for (std::size_t count = below(most + 1); count > 0; --count)
            values.push_back(make());
        return values;
    }

    double number(double least = -1000, double most = 1000) {
        if (numbers_ == Numbers::any && chance(10)) return strange();
        if (chance(30)) return std::floor(least + (most - least) * unit());
        return least + (most - least) * unit();
    }
    float channel() {
        return numbers_ == Numbers::any && chance(10) ? static_cast<float>(strangeFloat())
                                                      : static_cast<float>(number(0, 1));
    }
    std::int64_t whole(std::int64_t least, std::int64_t most) {
        return least + static_cast<std::int64_t>(below(static_cast<std::size_t>(most - least + 1)));
    }
    std::string text() {
        static constexpr std::array<std::string_view, 12> pieces{
            "a",      "Layer ", "é", "漢字", "🙂", "\n", "\t", "\"", "\\", "👩‍👩‍👧",
            "\u2028", "/"};
        std::string made;
        for (std::size_t count = below(8); count > 0; --count)
            made += pieces[below(pieces.size())];
        return made;
    }
    Uuid uuid() {
        Uuid made;
        for (std::uint8_t& byte : made.bytes)
            byte = static_cast<std::uint8_t>(random_());
        return made;
    }
    PremultipliedColor color() { return {channel(), channel(), channel(), channel()}; }
    RealPoint point() { return {number(), number()}; }
    RealSize size() { return {number(0), number(0)}; }
    RealRect rect() { return {point(), size()}; }
    AffineTransform transform() {
        return {number(), number(), number(), number(), number(), number()};
    }

    GradientDefinition gradient() {
        const auto colorStop = [&] {
            return GradientDefinition::ColorStop{uuid(), number(0, 1), stopColor(), number(0, 1)};
        };
        const auto opacityStop = [&] {
            return GradientDefinition::OpacityStop{uuid(), number(0, 1), number(0, 1),
                                                   number(0, 1)};
        };
        return {uuid(), text(), list(5, colorStop), list(4, opacityStop)};
    }

    /// Of the same type as the default, whatever its range.
    EffectValue valueLike(const EffectValue& value) { return valueOfCase(value.value.index()); }
    EffectValue anyValue() {
        return valueOfCase(below(std::variant_size_v<decltype(EffectValue::value)>));
    }
    EffectValue choiceOf(std::span<const std::string_view> labels) {
        return {EffectChoice{std::string(labels[below(labels.size())])}};
    }
    /// Some parameters set, in their range or not; now and then one that the catalog has not.
    Effect effect(EffectKind kind) {
        Effect made = Effect::make(kind, static_cast<std::uint32_t>(random_()));
        made.id = uuid();
        made.isVisible = chance(80);
        if (chance(30)) made.name = text();
        for (const ParameterSpec& spec : EffectCatalog::definition(kind).parameters) {
            if (chance(40)) continue;
            const auto labels = spec.type.labels();
            made.params.values[spec.key] =
                labels.empty() ? valueLike(spec.defaultValue) : choiceOf(labels);
        }
        if (chance(20)) made.params.values["of a later time"] = anyValue();
        return made;
    }
    Effect effect() { return effect(oneOf<EffectKind>(effectKindNames.size())); }

    PathAnchor anchor() {
        return chance(30) ? PathAnchor::corner(point()) : PathAnchor{point(), point(), point()};
    }
    VectorPath path() {
        const auto subpath = [&] { return Subpath{list(5, [&] { return anchor(); }), chance(50)}; };
        return {list(3, subpath)};
    }

    ShapeGradient shapeGradient() {
        ShapeGradient made{.stops = gradient(), .geometry = {}, .transform = {}, .spread = {}};
        if (chance(50))
            made.geometry.value = ShapeGradient::Linear{point(), point()};
        else
            made.geometry.value = ShapeGradient::Radial{point(), number(), point(), number()};
        made.transform = maybe([&] { return transform(); });
        made.spread = maybe([&] { return oneOf<ShapeGradient::Spread>(3); });
        return made;
    }
    ShapeStroke stroke() {
        ShapeStroke made;
        made.color = color();
        made.width = number(0, 50);
        made.alignment = oneOf<StrokeAlignment>(3);
        made.cap = maybe([&] { return oneOf<LineCap>(3); });
        made.join = maybe([&] { return oneOf<LineJoin>(3); });
        made.miterLimit = maybe([&] { return number(1, 20); });
        made.gradient = maybe([&] { return shapeGradient(); });
        return made;
    }
    ShapeContent::Geometry geometry() {
        switch (below(5)) {
        case 0:
            return {ShapeContent::Rectangle{rect(), number(-5, 50)}};
        case 1:
            return {ShapeContent::Ellipse{rect()}};
        case 2:
            return {ShapeContent::Polygon{point(), number(), whole(-2, 12), number(-7, 7),
                                          number(0, 1)}};
        case 3:
            return {ShapeContent::Line{
                point(), point(), number(0, 30), {chance(50), chance(50), number(), number()}}};
        default:
            return {path()};
        }
    }
    ShapeContent shape() {
        ShapeContent made;
        made.geometry = geometry();
        made.fill = maybe([&] { return color(); });
        made.stroke = maybe([&] { return stroke(); });
        made.antiAlias = chance(70);
        made.fillRule = maybe([&] { return oneOf<FillRule>(2); });
        made.fillGradient = maybe([&] { return shapeGradient(); });
        return made;
    }

    TextStyle textStyle() {
        TextStyle style;
        style.fontName = text();
        style.size = number(1, 200);
        style.color = color();
        style.tracking = number(-100, 100);
        style.leading = maybe([&] { return number(1, 300); });
        style.alignment = oneOf<TextStyle::Alignment>(4);
        style.antiAlias = oneOf<TextStyle::AntiAlias>(3);
        style.fauxBold = chance(30);
        style.fauxItalic = chance(30);
        style.allCaps = chance(30);
        return style;
    }
    /// Runs lie anywhere, over each other and outside of the string too.
    TextContent textContent() {
        TextContent made;
        made.string = text();
        made.style = textStyle();
        if (chance(50)) made.kind = {TextContent::Paragraph{size()}};
        made.origin = point();
        made.transform = {number(), number(), number(), number(), number(), number()};
        const auto run = [&] { return TextRun{whole(-2, 12), whole(-1, 8), textStyle()}; };
        made.runs = maybe([&] { return list(4, run); });
        return made;
    }

    InstanceContent instance() {
        InstanceContent made{.source = {uuid()}, .transform = {}, .sourceSize = {}};
        for (double& each : made.transform.matrix)
            each = number();
        made.sourceSize = {whole(0, 4000), whole(0, 4000)};
        return made;
    }

    LayerProperties properties() {
        LayerProperties made;
        made.name = text();
        made.isVisible = chance(80);
        made.locks = {static_cast<std::uint8_t>(random_())};
        made.opacity = channel();
        made.blendMode = oneOf<BlendMode>(blendModeCount);
        made.clipsToBelow = chance(30);
        return made;
    }

private:
    double unit() { return static_cast<double>(random_() >> 11) * 0x1p-53; }
    double strange() {
        static constexpr std::array values{std::numeric_limits<double>::infinity(),
                                           -std::numeric_limits<double>::infinity(),
                                           std::numeric_limits<double>::quiet_NaN(),
                                           std::numeric_limits<double>::max(),
                                           std::numeric_limits<double>::denorm_min(),
                                           -0.0,
                                           1e17};
        return values[below(values.size())];
    }
    float strangeFloat() {
        static constexpr std::array values{
            std::numeric_limits<float>::infinity(),   -std::numeric_limits<float>::infinity(),
            std::numeric_limits<float>::quiet_NaN(),  std::numeric_limits<float>::max(),
            std::numeric_limits<float>::denorm_min(), -0.0f};
        return values[below(values.size())];
    }

    GradientDefinition::StopColor stopColor() {
        switch (below(4)) {
        case 0:
            return {GradientDefinition::StopColor::Foreground{}};
        case 1:
            return {GradientDefinition::StopColor::Background{}};
        default:
            return {color()};
        }
    }
    EffectPath effectPath() {
        EffectPath made;
        made.x = list(6, [&] { return channel(); });
        for (std::size_t i = 0; i < made.x.size(); ++i)
            made.y.push_back(channel());
        made.drawnCount = whole(0, 6);
        return made;
    }
    EffectValue valueOfCase(std::size_t index) {
        const auto place = [&] { return EffectPoint{number(0, 1), number(0, 1)}; };
        switch (index) {
        case 0:
            return {number()};
        case 1:
            return {chance(50)};
        case 2:
            return {color()};
        case 3:
            return {EffectChoice{text()}};
        case 4:
            return {gradient()};
        case 5:
            return {effectPath()};
        case 6:
            return {place()};
        case 7:
            return {EffectLines{list(3, [&] { return list(4, place); })}};
        default:
            return {text()};
        }
    }

    std::mt19937_64 random_;
    Numbers numbers_;
};

} // namespace ombrel
