// Forms for the size of the picture, the size of the canvas, and a free angle. Main thread.
#pragma once

class QWidget;

namespace ombrel {

class DocumentSession;
class Settings;

void showImageSize(QWidget& window, DocumentSession& session, const Settings& settings);
void showCanvasSize(QWidget& window, DocumentSession& session, const Settings& settings);
void showRotateBy(QWidget& window, DocumentSession& session);

} // namespace ombrel
