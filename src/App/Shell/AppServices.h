// What the documents of the process share. Made once by the program (or a test) and handed down;
// everything referred to outlives every document and window.
#pragma once

#include "Base/Executor.h"
#include "Base/Settings.h"
#include "Base/Strand.h"
#include "Base/Timer.h"
#include "Core/TileStore.h"
#include "Engine/PixelDevice.h"
#include "IO/RecoveryStore.h"

#include <functional>

namespace ombrel {

class Activities;
class BrushPresetStore;
class Dialogs;

struct AppServices {
    Executor& main;
    Executor& worker;
    Strand& recoveryWriter; ///< recovery copies are written and removed in order
    TileStore& store;
    PixelDevice& device;
    Settings& settings;
    RecoveryStore& recovery;
    BrushPresetStore& brushes;
    Dialogs& dialogs;
    Activities& activities;
    /// Of recovery copies, as DocumentRecovery::Services has it; empty: by the clock.
    std::function<void(Timer::Duration, Executor::Task)> recoverySleep = {};
};

} // namespace ombrel
