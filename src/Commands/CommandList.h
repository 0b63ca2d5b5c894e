// Every command that JSON can name, one a line: what is listed here is encoded, decoded, documented
// and tested.
#pragma once

#include "Commands/AddLayerCommands.h"
#include "Commands/ArrangeCommands.h"
#include "Commands/CanvasCommands.h"
#include "Commands/ClipboardCommands.h"
#include "Commands/ColorModeCommands.h"
#include "Commands/DeleteLayersCommand.h"
#include "Commands/DuplicateLayersCommand.h"
#include "Commands/GroupCommands.h"
#include "Commands/ImageSizeCommand.h"
#include "Commands/LayerPropertyCommands.h"
#include "Commands/MaskCommands.h"
#include "Commands/MergeCommands.h"
#include "Commands/RasterizeLayersCommand.h"
#include "Commands/RotateCommands.h"
#include "Commands/TranslateLayersCommand.h"

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
    PasteLayersCommand,
    CutLayersCommand,
    PlaceImageCommand,
    ArrangeLayersCommand,
    SetLayerPropertiesCommand,
    SetLayersPropertiesCommand,
    SetLayersVisibilityCommand,
    SetClippingCommand,
    AddLayerMaskCommand,
    DeleteLayerMaskCommand,
    SetLayerMaskEnabledCommand,
    ApplyLayerMaskCommand,
    MaskTargetCommand,
    SetMaskLinkedCommand,
    MoveLayerMaskCommand,
    MergeDownCommand,
    MergeLayersCommand,
    MergeGroupCommand,
    MergeVisibleCommand,
    FlattenImageCommand,
    StampVisibleCommand,
    RasterizeLayersCommand,
    CanvasSizeCommand,
    CropCommand,
    TrimCommand,
    RevealAllCommand,
    ImageSizeCommand,
    RotateCanvasCommand,
    FlipCanvasCommand,
    RotateLayersCommand,
    FlipLayersCommand,
    TranslateLayersCommand,
    AssignProfileCommand,
    ConvertProfileCommand,
    SetBitDepthCommand,
    SetBlendingSpaceCommand>;
// clang-format on

} // namespace ombrel
