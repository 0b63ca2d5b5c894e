#include "App/Brushes/BrushFields.h"

#include "Base/Check.h"

#include <array>
#include <cmath>
#include <string_view>

namespace ombrel {

namespace {

using Settings = BrushSettings;

/// The accessors of a member that is reached by an expression.
#define OMBREL_FIELD(expression)                                                                   \
    [](const Settings& s) { return static_cast<double>(s.expression); },                           \
        [](Settings& s, double value) { s.expression = value; }
#define OMBREL_COUNT(expression)                                                                   \
    [](const Settings& s) { return static_cast<double>(s.expression); },                           \
        [](Settings& s, double value) { s.expression = std::llround(value); }
#define OMBREL_MEMBER(expression) [](Settings& s) -> auto& { return s.expression; }

constexpr const char* percent = " %";

constexpr std::array<BrushField, 5> tip{{
    {"size", "Size", "Diameter (brackets, or drag with Alt and Meta)", 1, 2000, 1, " px", 0, true,
     OMBREL_FIELD(size)},
    {"hardness", "Hardness", "How much of the radius is solid (Shift and brackets)", 0, 100, 100,
     percent, 0, false, OMBREL_FIELD(hardness)},
    {"angle", "Angle", "Of the long axis", -180, 180, 1, "°", 0, false, OMBREL_FIELD(angle)},
    {"roundness", "Roundness", "Short axis by long axis", 1, 100, 100, percent, 0, false,
     OMBREL_FIELD(roundness)},
    {"spacing", "Spacing", "Between dabs, by the diameter", 1, 1000, 100, percent, 0, true,
     OMBREL_FIELD(spacing)},
}};

constexpr std::array<BrushField, 3> stroke{{
    {"opacity", "Opacity", "The most that a stroke paints (number keys)", 0, 100, 100, percent, 0,
     false, OMBREL_FIELD(opacity)},
    {"flow", "Flow", "Paint of one dab (Shift and number keys)", 0, 100, 100, percent, 0, false,
     OMBREL_FIELD(flow)},
    {"smoothing", "Smoothing", "How far the brush trails behind the pointer", 0, 100, 100, percent,
     0, false, OMBREL_FIELD(smoothing)},
}};

constexpr std::array<BrushSwitch, 2> pressure{{
    {"pressureSize", "Pressure sets size", "The pen's pressure sets the size",
     OMBREL_MEMBER(pressureControlsSize)},
    {"pressureOpacity", "Pressure sets flow", "The pen's pressure sets how much is painted",
     OMBREL_MEMBER(pressureControlsOpacity)},
}};

constexpr std::array<BrushControl, 3> shapeControls{{
    {"sizeControl", "Size by", "What sets the size along a stroke",
     OMBREL_MEMBER(shape.sizeControl)},
    {"angleControl", "Angle by", "What sets the angle along a stroke",
     OMBREL_MEMBER(shape.angleControl)},
    {"roundnessControl", "Roundness by", "What sets the roundness along a stroke",
     OMBREL_MEMBER(shape.roundnessControl)},
}};

constexpr std::array<BrushField, 6> shape{{
    {"sizeJitter", "Size jitter", "How much chance makes dabs smaller", 0, 100, 100, percent, 0,
     false, OMBREL_FIELD(shape.sizeJitter)},
    {"minimumDiameter", "Least size", "The smallest dab, by the diameter", 0, 100, 100, percent, 0,
     false, OMBREL_FIELD(shape.minimumDiameter)},
    {"angleJitter", "Angle jitter", "How far chance turns dabs", 0, 100, 100, percent, 0, false,
     OMBREL_FIELD(shape.angleJitter)},
    {"roundnessJitter", "Round jitter", "How much chance flattens dabs", 0, 100, 100, percent, 0,
     false, OMBREL_FIELD(shape.roundnessJitter)},
    {"minimumRoundness", "Least round", "The flattest dab", 0, 100, 100, percent, 0, false,
     OMBREL_FIELD(shape.minimumRoundness)},
    {"fadeSteps", "Fade steps", "Points until a fade has ended", 1, 9999, 1, "", 0, true,
     OMBREL_COUNT(shape.fadeSteps)},
}};

constexpr std::array<BrushField, 3> scattering{{
    {"scatter", "Scatter", "How far dabs land from the stroke, by the diameter", 0, 1000, 100,
     percent, 0, false, OMBREL_FIELD(scattering.amount)},
    {"count", "Count", "Dabs at each point", 1, 16, 1, "", 0, false,
     OMBREL_COUNT(scattering.count)},
    {"countJitter", "Count jitter", "How many of them chance leaves out", 0, 100, 100, percent, 0,
     false, OMBREL_FIELD(scattering.countJitter)},
}};

constexpr std::array<BrushSwitch, 1> bothAxes{{
    {"bothAxes", "Along the stroke too", "Scatter along the stroke as well as across it",
     OMBREL_MEMBER(scattering.bothAxes)},
}};

constexpr std::array<BrushControl, 1> transferControls{{
    {"flowControl", "Flow by", "What sets the flow along a stroke",
     OMBREL_MEMBER(transfer.flowControl)},
}};

constexpr std::array<BrushField, 2> transfer{{
    {"opacityJitter", "Opacity jitter", "How much chance thins dabs", 0, 100, 100, percent, 0,
     false, OMBREL_FIELD(transfer.opacityJitter)},
    {"flowJitter", "Flow jitter", "How much chance thins the flow", 0, 100, 100, percent, 0, false,
     OMBREL_FIELD(transfer.flowJitter)},
}};

constexpr BrushSwitch shapeOn{"shapeOn", "Shape dynamics", "Vary the shape along a stroke",
                              OMBREL_MEMBER(shape.enabled)};
constexpr BrushSwitch scatteringOn{"scatteringOn", "Scattering", "Scatter dabs about the stroke",
                                   OMBREL_MEMBER(scattering.enabled)};
constexpr BrushSwitch transferOn{"transferOn", "Transfer", "Vary the paint along a stroke",
                                 OMBREL_MEMBER(transfer.enabled)};

#undef OMBREL_FIELD
#undef OMBREL_COUNT
#undef OMBREL_MEMBER

const std::array<BrushSection, 4>& sections() {
    static const std::array<BrushSection, 4> all{{
        {"stroke", "Stroke", nullptr, {}, stroke, pressure},
        {"shape", "Shape Dynamics", &shapeOn, shapeControls, shape, {}},
        {"scattering", "Scattering", &scatteringOn, {}, scattering, bothAxes},
        {"transfer", "Transfer", &transferOn, transferControls, transfer, {}},
    }};
    return all;
}

template <typename Item>
const Item* findIn(std::span<const Item> items, std::string_view name) {
    for (const Item& item : items)
        if (item.name == name) return &item;
    return nullptr;
}

} // namespace

const BrushField& brushField(const char* name) {
    const BrushField* found = findIn(std::span<const BrushField>(tip), name);
    for (const BrushSection& section : sections())
        if (found == nullptr) found = findIn(section.fields, name);
    OMBREL_CHECK(found != nullptr, "fields are asked for by their names");
    return *found;
}

const BrushSwitch& brushSwitch(const char* name) {
    const BrushSwitch* found = nullptr;
    for (const BrushSection& section : sections())
        if (found == nullptr) found = findIn(section.switches, name);
    OMBREL_CHECK(found != nullptr, "switches are asked for by their names");
    return *found;
}

std::span<const BrushField> tipFields() {
    return tip;
}

std::span<const BrushSection> brushSections() {
    return sections();
}

} // namespace ombrel
