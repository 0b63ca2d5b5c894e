#include "App/Shell/InformationDialogs.h"

#include "App/Canvas/GraphicsProbe.h"
#include "App/Look/LucideIcons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/StatusFields.h"
#include "App/Shell/AppServices.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/LengthField.h"
#include "App/Shell/QtPath.h"
#include "Core/ScratchFolder.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QSysInfo>
#include <QThread>
#include <QVBoxLayout>

#include <utility>
#include <vector>

namespace ombrel {

namespace {

using Lines = std::vector<std::pair<QString, QString>>;

constexpr QSize textSize(620, 460);

/// Its box of buttons has one that closes it.
QDialog* makeDialog(QWidget& on, const QString& title, QWidget* body) {
    auto* dialog = new QDialog(&on);
    dialog->setWindowTitle(title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    layout->setSpacing(Spacing::wide);
    layout->addWidget(body, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    layout->addWidget(buttons);
    return dialog;
}

void showLines(QWidget& on, const char* name, const QString& title, const Lines& lines) {
    auto* body = new QWidget;
    auto* form = new QFormLayout(body);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(Spacing::wide);
    form->setVerticalSpacing(Spacing::tight);
    QStringList text;
    for (const auto& [what, value] : lines) {
        auto* label = new QLabel(value);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label->setWordWrap(true);
        label->setMinimumWidth(320);
        form->addRow(what, label);
        text += what + ": " + value;
    }
    QDialog* dialog = makeDialog(on, title, body);
    dialog->setObjectName(name);
    auto* buttons = dialog->findChild<QDialogButtonBox*>();
    auto* copy = buttons->addButton("Copy", QDialogButtonBox::ActionRole);
    copy->setAutoDefault(false);
    buttons->button(QDialogButtonBox::Close)->setDefault(true);
    QObject::connect(copy, &QPushButton::clicked, dialog,
                     [text] { QApplication::clipboard()->setText(text.join('\n')); });
    dialog->show();
}

QString screensText() {
    QStringList all;
    for (const QScreen* screen : QApplication::screens()) {
        all += QString("%1 × %2 at %3 %")
                   .arg(screen->size().width())
                   .arg(screen->size().height())
                   .arg(qRound(screen->devicePixelRatio() * 100));
    }
    return all.join(", ");
}

} // namespace

void showAbout(QWidget* on) {
    auto* box = new QMessageBox(QMessageBox::NoIcon, "About Ombrel", "Ombrel " OMBREL_VERSION,
                                QMessageBox::Ok, on);
    box->setObjectName("aboutDialog");
    box->setInformativeText("A raster image editor.\n\nFree software under the GNU General Public "
                            "License, version 3 or later. It comes without any warranty.");
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->show();
}

void showLicenses(QWidget& on) {
    auto* text = new QPlainTextEdit;
    text->setReadOnly(true);
    text->setAccessibleName("Licenses");
    QString all = "Ombrel is free software under the GNU General Public License, version 3 or "
                  "later.\n\nThe libraries that it uses are under licenses of their own, which "
                  "their packages of the system hold.\n";
    if (*lucideLicense != '\0') all += QString("\nThe icons (Lucide):\n\n") + lucideLicense;
    text->setPlainText(all);
    text->setMinimumSize(textSize);
    QDialog* dialog = makeDialog(on, "Licenses", text);
    dialog->setObjectName("licenseDialog");
    dialog->show();
}

void showSystemInformation(QWidget& on, const AppServices& services) {
    const TileStore::Statistics memory = services.store.statistics();
    const std::optional<bool> hasGraphics = GraphicsProbe::hasDevice();
    showLines(on, "systemDialog", "System Information",
              {{"Ombrel", OMBREL_VERSION},
               {"Toolkit", QString("Qt %1 on %2").arg(qVersion(), QApplication::platformName())},
               {"System", QSysInfo::prettyProductName() + ", " + QSysInfo::kernelType() + " " +
                              QSysInfo::kernelVersion()},
               {"Processor", QString("%1, %2 threads")
                                 .arg(QSysInfo::currentCpuArchitecture())
                                 .arg(QThread::idealThreadCount())},
               {"Screens", screensText()},
               {"Drawn by", hasGraphics.value_or(false) ? "a graphics device" : "the processor"},
               {"Memory for tiles", QString("%1 of %2 in use")
                                        .arg(memoryText(memory.residentBytes),
                                             memoryText(services.store.budget().residentBytes))},
               {"Compressed tiles", memoryText(memory.compressedBytes)},
               {"Tiles on disk", memoryText(memory.spilledBytes)},
               {"Scratch folder", qtPath(ScratchFolder::chosen())}});
}

void showDocumentInformation(QWidget& on, const ImageDocument& document) {
    const DocumentState& state = *document.session()->_state;
    const Canvas& canvas = state.canvas;
    const auto layers = state.allPixelLayers().size();
    const auto groups = state.allNodes().size() - layers;
    showLines(on, "documentDialog", "Document Information",
              {{"Name", toQt(document.displayName())},
               {"File", document.source() ? qtPath(*document.source()) : "none yet"},
               {"Size", sizeText(canvas, LengthUnit::pixels)},
               {"Size in print", sizeText(canvas, LengthUnit::centimeters) + ", " +
                                     sizeText(canvas, LengthUnit::inches)},
               {"Resolution", QString("%1 ppi").arg(canvas.resolution)},
               {"Color profile", toQt(canvas.profile.name())},
               {"Depth", toQt(textOf(canvas.bitDepth))},
               {"Blending", canvas.blendUsingGamma1 ? "in linear light" : "perceptual"},
               {"Layers", groups > 0 ? QString("%1, in %2 groups").arg(layers).arg(groups)
                                     : QString::number(layers)},
               {"Saved", document.isEdited() ? "no, it was changed" : "yes"}});
}

} // namespace ombrel
