#include "Cli/ScriptingPage.h"

#include "Commands/CommandRegistry.h"
#include "Editor/ScriptTools.h"

#include <fmt/core.h>

namespace ombrel {

namespace {

constexpr std::string_view introduction = R"(# Edit scripts

A script is a JSON file with a list of steps, which are run on a document one after the other:

```json
{
  "steps": [
    {"command": "AddLayerCommand", "layer": {"name": "Warmth", "pixels": {"fill": "#FFB060"}}},
    {
      "command": "SetLayerPropertiesCommand",
      "layerID": {"name": "Warmth"},
      "properties": {"blendMode": "multiply", "opacity": 0.4}
    },
    {"undo": 1},
    {"redo": 1}
  ]
}
```

`ombrel apply IN SCRIPT.json -o OUT` runs it. A step that fails stops the script with the number of
the step and the reason, and then nothing is written.

A step is a command with its fields, a tool with what a hand does with it, a key, `{"undo": n}` or
`{"redo": n}`. What a command does and which fields it has stands below; `ombrel commands` lists them,
too. Some habits that all commands share:

- **Layers that are there** are named by their identifier, as `ombrel info --json` tells it, by
  `{"name": "Sky"}` where only one layer has that name, or by `{"active": true}`.
- **New layers** are given as objects; `{"name": "Sky"}` is enough. Identifiers that are left out
  are made up, the same ones in each run.
- **Properties** that are left out stay as they are.
- **Order** is from bottom to top: child 0 of a group lies lowest.
- **What changes nothing**, as trimming a picture that reaches every edge, may leave no undo step.
- Fields marked *optional* may be left out. Fields that a command does not have are errors, as are
  misspelt names: no step does less than it says.
- Numbers that JSON has none for are `"inf"`, `"-inf"` and `"nan"`.

Ready to try: [a warm tint](examples/tint.json), [a group of clipped and copied
layers](examples/groups.json), [undo and redo](examples/undo.json), [a painted layer and its
mask](examples/painting.json). A picture from a file becomes a layer by

```json
{"command": "PlaceImageCommand", "pixels": {"file": "logo.png"}, "center": [200, 80]}
```

This page is written by `ombrel commands --markdown`.
)";

std::string tableOf(const std::vector<FieldDescription>& fields) {
    std::string text = "\n| field | value | |\n|---|---|---|\n";
    for (const FieldDescription& field : fields) {
        text += fmt::format("| `{}`{} | {} | {} |\n", field.name,
                            field.mayBeAbsent ? " *optional*" : "", field.kind, field.description);
    }
    return text;
}

constexpr std::string_view tools = R"(
## Tools

A tool paints as it does under a hand, at a magnification of 100%:

```json
{
  "tool": "brush",
  "options": {"preset": "Hard Round", "size": 12, "opacity": 0.5, "blend": "multiply"},
  "foreground": "#204080",
  "seed": 3,
  "events": [
    {"type": "down", "x": 20, "y": 30, "pressure": 0.4},
    {"type": "drag", "x": 60, "y": 45, "pressure": 0.9},
    {"type": "drag", "x": 90, "y": 40, "pressure": 0.6},
    {"type": "up", "x": 90, "y": 40, "pressure": 0}
  ]
}
```

It works on the active layer, and each stroke becomes an undo step. What a person would be refused, in
the status line, fails the step in the same words; errors name the event. Scripts know the brushes that
come with the program, and not those of the user. A key goes to the tool at hand, or chooses another:
`{"key": {"digit": 5}}`, `{"key": {"character": "e"}}`, `{"key": {"name": "bracketRight"}}`.
)";

} // namespace

std::string scriptingPage() {
    std::string page(introduction);
    ValueKinds kinds;
    page += "\n## Commands\n";
    for (const CommandType& type : commandTypes()) {
        page += fmt::format("\n### {}\n\n{}\n", type.name, type.description);
        const std::vector<FieldDescription> fields = type.fields(kinds);
        if (!fields.empty()) page += tableOf(fields);
    }
    page += tools;
    page += "\n### Fields of a tool step\n";
    page += tableOf(describeFields(Record<ScriptToolStep>::fields(), kinds));
    page += "\n### Fields of a key\n";
    page += tableOf(describeFields(Record<ScriptKeyStep>::fields(), kinds));
    page += "\n## Values\n";
    for (const auto& [name, kind] : kinds) {
        page += fmt::format("\n### {}\n\n{}\n", name, kind.description);
        if (!kind.fields.empty()) page += tableOf(kind.fields);
    }
    return page;
}

std::string textOfCommands() {
    std::string text;
    ValueKinds kinds;
    for (const CommandType& type : commandTypes()) {
        text +=
            fmt::format("{}{}\n    {}\n", text.empty() ? "" : "\n", type.name, type.description);
        for (const FieldDescription& field : type.fields(kinds)) {
            text +=
                fmt::format("    {}{}: {} - {}\n", field.name,
                            field.mayBeAbsent ? " (optional)" : "", field.kind, field.description);
        }
    }
    return text;
}

} // namespace ombrel
