// The panels that stand around a document, as a table: what each is called, where it stands at
// first and how it is made. A panel joins by a line of the table; the window makes docks from it.
#pragma once

#include <QtCore/qnamespace.h>
#include <memory>
#include <span>

class QWidget;

namespace ombrel {

class BrushPresetStore;
class Dialogs;
class DocumentSession;
class Executor;
class PixelDevice;
class Settings;
class TileStore;

/// What panels stand on. Everything referred to outlives them.
struct PanelContext {
    std::shared_ptr<DocumentSession> session;
    Executor& main;
    Executor& worker; ///< for pictures and figures that the window does not wait for
    TileStore& store;
    PixelDevice& device;
    Settings& settings;
    BrushPresetStore& brushes;
    Dialogs& dialogs;
};

struct PanelDescription {
    const char* identifier; ///< in settings and saved layouts; never changes
    const char* title;
    Qt::DockWidgetArea area;
    QWidget* (*make)(const PanelContext& context, QWidget* parent);
    int leastHeight;        ///< what is seen of it at least; the rest is scrolled to
    const char* group = ""; ///< panels of one group are tabs of one place, the first one in front
    int height = 0;         ///< of the group at first, as its first panel has it; 0: what is left
    const char* shortcut = ""; ///< shows and hides it; as QKeySequence reads it
};

std::span<const PanelDescription> panelCatalog(); ///< as they stand from top to bottom

} // namespace ombrel
