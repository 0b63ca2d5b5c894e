// Forms for the size of the picture, the size of the canvas, and a free angle. Main thread.
#pragma once

class QWidget;

namespace ombrel {

class DocumentSession;

void showImageSize(QWidget& window, DocumentSession& session);
void showCanvasSize(QWidget& window, DocumentSession& session);
void showRotateBy(QWidget& window, DocumentSession& session);

} // namespace ombrel
