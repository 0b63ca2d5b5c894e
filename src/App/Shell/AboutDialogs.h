// What the program is, and which keys it knows. Main thread.
#pragma once

class QWidget;

namespace ombrel {

class DocumentWindow;

void showAbout(QWidget* on); ///< `on` may be null
void showShortcuts(DocumentWindow& on);

} // namespace ombrel
