// A small form with OK and Cancel on a window, which it belongs to. Deleted when it closes. Main
// thread.
#pragma once

#include <functional>

class QDialog;
class QFormLayout;
class QString;
class QWidget;

namespace ombrel {

/// Takes the form over; `accepted` runs before the dialog closes.
QDialog* makeFormDialog(QWidget& window, const char* name, const QString& title, QFormLayout* form,
                        std::function<void()> accepted);

} // namespace ombrel
