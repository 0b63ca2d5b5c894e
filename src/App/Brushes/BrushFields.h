// The settings of a brush as people see them: words, units, ranges and steps, in tables that panel
// and bar are made from.
#pragma once

#include "Tools/BrushSettings.h"

#include <cstdint>
#include <span>

namespace ombrel {

struct BrushField {
    const char* name; ///< of the widget
    const char* title;
    const char* hint;
    double minimum; ///< as shown
    double maximum;
    double unit; ///< shown for 1 as stored
    const char* suffix;
    int decimals;
    bool isLogarithmic; ///< even steps of a slider multiply
    double (*get)(const BrushSettings&);
    void (*set)(BrushSettings&, double);

    double shown(const BrushSettings& settings) const { return get(settings) * unit; }
    void setShown(BrushSettings& settings, double value) const { set(settings, value / unit); }
};

struct BrushSwitch {
    const char* name;
    const char* title;
    const char* hint;
    bool& (*of)(BrushSettings&);

    bool isOn(BrushSettings settings) const { return of(settings); }
};

struct BrushControl {
    const char* name;
    const char* title;
    const char* hint;
    DynamicsControl& (*of)(BrushSettings&);

    DynamicsControl value(BrushSettings settings) const { return of(settings); }
};

/// By its name, which must be one of them.
const BrushField& brushField(const char* name);
const BrushSwitch& brushSwitch(const char* name);

struct BrushSection {
    const char* name;
    const char* title;
    const BrushSwitch* enabled; ///< null: always on
    std::span<const BrushControl> controls;
    std::span<const BrushField> fields;
    std::span<const BrushSwitch> switches;
};

std::span<const BrushField> tipFields();       ///< beside the picture of the tip
std::span<const BrushSection> brushSections(); ///< below it, from top to bottom

} // namespace ombrel
