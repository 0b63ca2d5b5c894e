// Every command that JSON can name, one a line: what is listed here is encoded, decoded, documented
// and tested.
#pragma once

#include "Commands/AddLayerCommands.h"
#include "Commands/LayerPropertyCommands.h"

namespace ombrel {

template <typename... Commands>
struct CommandTypes {};

// clang-format off
using AllCommands = CommandTypes<
    AddLayerCommand,
    AddRectangleLayerCommand,
    NewGroupCommand,
    PasteLayerCommand,
    PlaceImageCommand,
    SetLayerPropertiesCommand>;
// clang-format on

} // namespace ombrel
