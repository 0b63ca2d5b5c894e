#include "Core/EffectCatalog.h"

#include "Base/Check.h"
#include "Core/EffectCatalog/ParameterBuilders.h"

#include <algorithm>
#include <iterator>

namespace ombrel {

std::span<const std::string_view> ParameterType::labels() const {
    if (const auto* choice = std::get_if<Choice>(&value)) return choice->labels;
    if (const auto* segmented = std::get_if<Segmented>(&value)) return segmented->labels;
    return {};
}

const ParameterSpec* EffectDefinition::parameter(std::string_view key) const {
    const auto found = std::ranges::find(parameters, key, &ParameterSpec::key);
    return found == parameters.end() ? nullptr : &*found;
}

const ParameterSpec& EffectDefinition::keyParameter() const {
    const auto found = std::ranges::find_if(parameters, &ParameterSpec::isKey);
    OMBREL_CHECK(found != parameters.end(), "every kind of effect has a key parameter");
    return *found;
}

namespace EffectCatalog {

namespace {

/// In the order of the kinds.
std::vector<EffectDefinition> makeDefinitions() {
    std::vector<EffectDefinition> definitions;
    for (const auto effects : {patternEffects, lightAndColorEffects, distortEffects, adjustEffects,
                               blurEffects, codeEffects, styleEffects})
        std::ranges::move(effects(), std::back_inserter(definitions));
    std::ranges::sort(definitions, {}, &EffectDefinition::kind);
    return definitions;
}

const std::vector<EffectDefinition>& definitions() {
    static const std::vector<EffectDefinition> made = makeDefinitions();
    return made;
}

std::vector<Section> makeSections() {
    std::vector<Section> sections;
    for (const EffectDefinition& each : definitions()) {
        auto found = std::ranges::find(sections, each.section, &Section::name);
        if (found == sections.end()) found = sections.insert(found, {each.section, {}});
        found->definitions.push_back(&each);
    }
    return sections;
}

} // namespace

const EffectDefinition& definition(EffectKind kind) {
    return definitions().at(static_cast<std::size_t>(kind));
}

std::span<const Section> all() {
    static const std::vector<Section> sections = makeSections();
    return sections;
}

} // namespace EffectCatalog

} // namespace ombrel
