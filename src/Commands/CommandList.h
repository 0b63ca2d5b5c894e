// Every command that JSON can name, one a line: what is listed here is encoded, decoded, documented
// and tested.
#pragma once

#include "Commands/AddLayerCommands.h"
#include "Commands/ArrangeCommands.h"
#include "Commands/DeleteLayersCommand.h"
#include "Commands/DuplicateLayersCommand.h"
#include "Commands/GroupCommands.h"
#include "Commands/LayerPropertyCommands.h"

namespace ombrel {

template <typename... Commands>
struct CommandTypes {};

// clang-format off
using AllCommands = CommandTypes<
    AddLayerCommand,
    AddRectangleLayerCommand,
    NewGroupCommand,
    GroupLayersCommand,
    UngroupCommand,
    DeleteLayersCommand,
    MoveLayersCommand,
    ClipLayersCommand,
    DuplicateLayersCommand,
    PasteLayerCommand,
    PlaceImageCommand,
    ArrangeLayersCommand,
    SetLayerPropertiesCommand,
    SetLayersPropertiesCommand,
    SetLayersVisibilityCommand,
    SetClippingCommand>;
// clang-format on

} // namespace ombrel
