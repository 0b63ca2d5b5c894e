// What `info` tells of a document: as JSON, whose layout scripts rely on, and as text for people.
// Layers are listed from bottom to top in JSON, from top to bottom in the text.
#pragma once

#include "Base/Json.h"
#include "IO/DocumentReader.h"

#include <string>

namespace ombrel {

/// {"format", "canvas", "activeNode", "nodes": [{"id", "name", "origin", "canvas", "layers"}],
/// "report"}. A layer's "bounds" are [x, y, width, height] on the canvas of its pixels with alpha
/// above 0, or null; a mask's are those of its values above 0.
Json describeAsJson(const OpenedDocument& document);

/// The same in words: some lines of text, each with its line break.
std::string textOfDescription(const Json& description);

} // namespace ombrel
