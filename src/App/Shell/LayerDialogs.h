// Forms that ask for what a menu item cannot say: a name, an opacity, how far to move or turn the
// selected layers, and what of the canvas to keep. Each becomes one command. Main thread.
#pragma once

class QWidget;

namespace ombrel {

class DocumentSession;

void showRenameLayer(QWidget& window, DocumentSession& session);
void showLayerOpacity(QWidget& window, DocumentSession& session);
void showMoveLayers(QWidget& window, DocumentSession& session);
void showRotateLayers(QWidget& window, DocumentSession& session);
void showCrop(QWidget& window, DocumentSession& session);

} // namespace ombrel
