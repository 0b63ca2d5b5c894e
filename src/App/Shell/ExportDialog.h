// How a document is exported: format, quality and depth, with the size that the file will have,
// found by encoding the real picture in the background a moment after the last change. Main thread.
#pragma once

#include "App/Shell/AppServices.h"
#include "Core/DocumentState.h"
#include "IO/ImageExporter.h"

#include <QDialog>
#include <QTimer>

#include <memory>
#include <optional>

class QComboBox;
class QLabel;
class QPushButton;
class QSlider;
class QSpinBox;

namespace ombrel {

class ImageDocument;

class ExportDialog final : public QDialog {
public:
    ExportDialog(QWidget& window, ImageDocument& document, AppServices& services);
    ~ExportDialog() override;

    static void showOn(QWidget& window, ImageDocument& document, AppServices& services);

    ImageFormat format() const;
    ExportOptions options() const;

private:
    void arrange();
    void formatChanged();
    void optionsChanged();
    void measure();
    void showSize(const std::expected<std::uint64_t, ImageIOError>& bytes);
    void choosePlace();

    std::weak_ptr<ImageDocument> document_;
    AppServices& services_;
    const DocumentState state_; ///< as it was when the dialog came
    QComboBox* format_;
    QSlider* quality_;
    QSpinBox* qualityNumber_;
    QComboBox* depth_;
    QLabel* size_;
    QTimer settled_; ///< since the last change
    std::shared_ptr<Progress> measuring_;
};

} // namespace ombrel
