#include "Core/EffectCatalog.h"

#include "Core/ColorMath.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace ombrel {
namespace {

template <typename T>
bool holds(const EffectValue& value) {
    return std::holds_alternative<T>(value.value);
}

/// Whether the default is of the type that the control edits.
bool fits(const ParameterSpec& spec) {
    struct Visitor {
        const EffectValue& value;
        bool operator()(const ParameterType::Number&) const { return holds<double>(value); }
        bool operator()(const ParameterType::Choice&) const { return holds<EffectChoice>(value); }
        bool operator()(const ParameterType::Segmented&) const {
            return holds<EffectChoice>(value);
        }
        bool operator()(ParameterType::Percent) const { return holds<double>(value); }
        bool operator()(ParameterType::Angle) const { return holds<double>(value); }
        bool operator()(ParameterType::Color) const { return holds<PremultipliedColor>(value); }
        bool operator()(ParameterType::Bool) const { return holds<bool>(value); }
        bool operator()(ParameterType::Gradient) const { return holds<GradientDefinition>(value); }
        bool operator()(ParameterType::Path) const { return holds<EffectPath>(value); }
        bool operator()(ParameterType::Point) const { return holds<EffectPoint>(value); }
        bool operator()(ParameterType::Lines) const { return holds<EffectLines>(value); }
        bool operator()(ParameterType::Code) const { return holds<std::string>(value); }
    };
    return std::visit(Visitor{spec.defaultValue}, spec.type.value);
}

template <typename Check>
void forEachDefinition(Check&& check) {
    for (std::size_t kind = 0; kind < effectKindNames.size(); ++kind) {
        SCOPED_TRACE(effectKindNames[kind]);
        check(EffectCatalog::definition(static_cast<EffectKind>(kind)));
    }
}

TEST(EffectCatalog, everyKindIsThereOnceAndInASection) {
    std::set<EffectKind> listed;
    for (const EffectCatalog::Section& section : EffectCatalog::all()) {
        for (const EffectDefinition* each : section.definitions) {
            EXPECT_EQ(each->section, section.name);
            EXPECT_TRUE(listed.insert(each->kind).second);
            EXPECT_EQ(&EffectCatalog::definition(each->kind), each);
        }
    }
    EXPECT_EQ(listed.size(), effectKindNames.size());
}

TEST(EffectCatalog, everyKindHasOneKeyParameterAndDistinctKeys) {
    forEachDefinition([](const EffectDefinition& definition) {
        EXPECT_EQ(std::ranges::count_if(definition.parameters, &ParameterSpec::isKey), 1);
        std::set<std::string> keys;
        for (const ParameterSpec& spec : definition.parameters)
            EXPECT_TRUE(keys.insert(spec.key).second) << spec.key;
    });
}

TEST(EffectCatalog, defaultsFitTheirTypesAndRanges) {
    forEachDefinition([](const EffectDefinition& definition) {
        for (const ParameterSpec& spec : definition.parameters) {
            SCOPED_TRACE(spec.key);
            EXPECT_TRUE(fits(spec));
            EXPECT_GT(spec.step, 0);
            EXPECT_EQ(spec.range.has_value(), holds<double>(spec.defaultValue));
            if (spec.range) {
                const double value = std::get<double>(spec.defaultValue.value);
                EXPECT_LE(spec.range->least, value);
                EXPECT_LE(value, spec.range->most);
            }
            if (const auto* choice = std::get_if<EffectChoice>(&spec.defaultValue.value)) {
                EXPECT_EQ(std::ranges::count(spec.type.labels(), choice->label), 1);
            }
        }
    });
}

TEST(EffectCatalog, parametersNameOthersThatAreThere) {
    forEachDefinition([](const EffectDefinition& definition) {
        for (const ParameterSpec& spec : definition.parameters) {
            SCOPED_TRACE(spec.key);
            if (spec.revealedBy) {
                EXPECT_NE(definition.parameter(*spec.revealedBy), nullptr);
            }
            if (spec.activeWith) {
                const ParameterSpec* other = definition.parameter(*spec.activeWith);
                ASSERT_NE(other, nullptr);
                EXPECT_TRUE(holds<double>(other->defaultValue));
            }
            if (spec.shownWhen) {
                const ParameterSpec* other = definition.parameter(spec.shownWhen->key);
                ASSERT_NE(other, nullptr);
                EXPECT_EQ(std::ranges::count(other->type.labels(), spec.shownWhen->value), 1);
            }
        }
    });
}

TEST(EffectCatalog, someParametersToTheLetter) {
    const auto spec = [](EffectKind kind, std::string_view key) -> const ParameterSpec& {
        return *EffectCatalog::definition(kind).parameter(key);
    };
    const ParameterSpec& size = spec(EffectKind::grain, "size");
    EXPECT_EQ(std::get<ParameterType::Number>(size.type.value).unit, "px");
    EXPECT_EQ(size.step, 0.1);
    EXPECT_EQ(std::get<double>(size.defaultValue.value), 1.5);

    const ParameterSpec& gamma = spec(EffectKind::levels, "alpha.gamma");
    EXPECT_EQ(gamma.label, "Alpha Midtones");
    EXPECT_EQ(gamma.range->most, 9.99);
    EXPECT_TRUE(gamma.isHidden);
    EXPECT_EQ(EffectCatalog::definition(EffectKind::levels).parameters.size(), 27u);

    EXPECT_EQ(EffectCatalog::definition(EffectKind::gradientMap).keyParameter().isHidden, true);
    EXPECT_EQ(spec(EffectKind::ribbedGlass, "wavelength").activeWith, "wave");
    EXPECT_EQ(spec(EffectKind::ribbedGlass, "spacing").label, "Widening");
    EXPECT_EQ(std::get<PremultipliedColor>(spec(EffectKind::glow, "color").defaultValue.value),
              ColorMath::colorOfCode(0xFFB36B));
    const auto& code = std::get<std::string>(spec(EffectKind::code, "code").defaultValue.value);
    EXPECT_EQ(std::ranges::count(code, '\n'), 15);
    EXPECT_TRUE(code.ends_with("    return c;\n}"));
}

TEST(EffectParams, defaultsStandForWhatIsNotSet) {
    Effect glitch = Effect::make(EffectKind::compressionGlitch, 7);
    EXPECT_EQ(glitch.name, "Compression Glitch");
    EXPECT_EQ(glitch.number("variation"), 0);
    EXPECT_EQ(glitch.number("amount"), 35);
    glitch.params.values["amount"] = {-400.0};
    EXPECT_EQ(glitch.number("amount"), -400) << "not cut to its range";
    glitch.params.values["amount"] = {true};
    EXPECT_EQ(glitch.number("amount"), 35) << "of another type";

    const Effect blur = Effect::make(EffectKind::blur, 0);
    EXPECT_EQ(blur.choice("mode"), "Plain");
    EXPECT_EQ(blur.point("start"), (EffectPoint{0.5, 0.35}));
    EXPECT_FALSE(blur.boolean("showDepth"));
}

} // namespace
} // namespace ombrel
