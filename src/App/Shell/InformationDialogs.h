// What the program, the machine and a document are, in words that can be copied. Main thread.
#pragma once

class QWidget;

namespace ombrel {

struct AppServices;
class ImageDocument;

void showAbout(QWidget* on); ///< `on` may be null
void showLicenses(QWidget& on);
void showSystemInformation(QWidget& on, const AppServices& services);
void showDocumentInformation(QWidget& on, const ImageDocument& document);

} // namespace ombrel
