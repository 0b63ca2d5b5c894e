#include "App/Shell/ExportDialog.h"

#include "App/Look/QtText.h"
#include "App/Panels/StatusFields.h"
#include "App/Shell/Dialogs.h"
#include "App/Shell/FileKinds.h"
#include "App/Shell/FormNames.h"
#include "App/Shell/ImageDocument.h"
#include "Base/SettingKeys.h"
#include "Engine/StateBands.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr int settleMilliseconds = 300;
constexpr const char* formatKey = "exportFormat";

struct DepthChoice {
    const char* text;
    BitDepth depth;
};
/// Of each format, the depths that its files can have; more than one is a choice.
std::vector<DepthChoice> depthsOf(ImageFormat format) {
    const DepthChoice eight{"8 bits/channel", BitDepth::eight};
    switch (format) {
    case ImageFormat::png:
        return {eight, {"16 bits/channel", BitDepth::sixteen}};
    case ImageFormat::tiff:
        return {eight,
                {"16 bits/channel", BitDepth::sixteen},
                {"32 bits/channel (float)", BitDepth::thirtyTwo}};
    case ImageFormat::heic:
        return {eight, {"10 bits/channel", BitDepth::sixteen}};
    case ImageFormat::jpeg:
    case ImageFormat::webp:
        break;
    }
    return {eight};
}

std::expected<std::uint64_t, ImageIOError>
measureExport(const DocumentState& state, ImageFormat format, const ExportOptions& options,
              PixelDevice& device, TileStore& store, Progress& progress) {
    StateBands bands(state, device, store, nullptr, &progress);
    const auto bytes = ImageExporter::data(bands, format, options, state.canvas, &progress);
    if (!bytes) return std::unexpected(bytes.error());
    return bytes->size();
}

} // namespace

ExportDialog::ExportDialog(QWidget& window, ImageDocument& document, AppServices& services)
    : QDialog(&window), document_(document.weak_from_this()), services_(services),
      state_(document.board().activeNode().state), format_(new QComboBox(this)),
      quality_(new QSlider(Qt::Horizontal, this)), qualityNumber_(new QSpinBox(this)),
      depth_(new QComboBox(this)), size_(new QLabel(this)) {
    setWindowTitle("Export As");
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowModality(Qt::WindowModal);
    arrange();
    settled_.setSingleShot(true);
    settled_.setInterval(settleMilliseconds);
    connect(&settled_, &QTimer::timeout, this, [this] { measure(); });
    connect(format_, &QComboBox::currentIndexChanged, this, [this] { formatChanged(); });
    connect(depth_, &QComboBox::activated, this, [this] { optionsChanged(); });
    connect(quality_, &QSlider::valueChanged, qualityNumber_, &QSpinBox::setValue);
    connect(qualityNumber_, &QSpinBox::valueChanged, quality_, &QSlider::setValue);
    connect(quality_, &QSlider::valueChanged, this, [this] { optionsChanged(); });
    formatChanged();
}

ExportDialog::~ExportDialog() {
    if (measuring_) measuring_->cancel();
}

void ExportDialog::showOn(QWidget& window, ImageDocument& document, AppServices& services) {
    (new ExportDialog(window, document, services))->show();
}

void ExportDialog::arrange() {
    format_->setObjectName("format");
    const Json last = services_.settings.json(formatKey);
    for (const ImageFormat format : ImageExporter::offeredFormats()) {
        format_->addItem(toQt(traitsOf(format).displayName), static_cast<int>(format));
        if (last.is_string() && last.get<std::string>() == traitsOf(format).name)
            format_->setCurrentIndex(format_->count() - 1);
    }
    quality_->setObjectName("quality");
    quality_->setRange(0, 100);
    quality_->setMinimumWidth(160);
    qualityNumber_->setRange(0, 100);
    qualityNumber_->setSuffix(" %");
    const double quality = services_.settings.get(SettingKeys::jpegQuality);
    quality_->setValue(static_cast<int>(std::lround(quality * 100)));
    qualityNumber_->setValue(quality_->value());
    depth_->setObjectName("depth");
    size_->setObjectName("size");

    auto* qualityRow = new QHBoxLayout;
    qualityRow->addWidget(quality_, 1);
    qualityRow->addWidget(qualityNumber_);
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow("Format", format_);
    form->addRow("Quality", qualityRow);
    form->addRow("Depth", depth_);
    nameFields(*form);
    form->addRow("Picture", new QLabel(toQt(state_.canvas.size.text()) + " px", this));
    form->addRow("File size", size_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    QPushButton* go = buttons->addButton("Export…", QDialogButtonBox::AcceptRole);
    go->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] { choosePlace(); });
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addLayout(form);
    layout->addWidget(buttons);
}

ImageFormat ExportDialog::format() const {
    return static_cast<ImageFormat>(format_->currentData().toInt());
}

ExportOptions ExportDialog::options() const {
    return {.quality = quality_->value() / 100.0,
            .bitDepth = static_cast<BitDepth>(depth_->currentData().toInt())};
}

void ExportDialog::formatChanged() {
    const bool isLossy = traitsOf(format()).isLossy;
    quality_->setEnabled(isLossy);
    qualityNumber_->setEnabled(isLossy);
    depth_->clear();
    for (const DepthChoice& choice : depthsOf(format())) {
        depth_->addItem(choice.text, static_cast<int>(choice.depth));
        if (choice.depth <= state_.canvas.bitDepth) depth_->setCurrentIndex(depth_->count() - 1);
    }
    depth_->setEnabled(depth_->count() > 1);
    optionsChanged();
}

void ExportDialog::optionsChanged() {
    if (measuring_) measuring_->cancel();
    size_->setText("Measuring…");
    settled_.start();
}

void ExportDialog::measure() {
    measuring_ = std::make_shared<Progress>();
    postWithAnswer(
        services_.worker,
        [&device = services_.device, &store = services_.store, state = state_, format = format(),
         options = options(), progress = measuring_] {
            return measureExport(state, format, options, device, store, *progress);
        },
        services_.main,
        [dialog = QPointer<ExportDialog>(this), progress = measuring_](auto bytes) {
            if (dialog && !progress->isCancelled()) dialog->showSize(bytes);
        });
}

void ExportDialog::showSize(const std::expected<std::uint64_t, ImageIOError>& bytes) {
    size_->setText(bytes ? memoryText(static_cast<std::int64_t>(*bytes))
                         : toQt(bytes.error().text()));
}

void ExportDialog::choosePlace() {
    const auto document = document_.lock();
    if (!document || document->session() == nullptr) return;
    const ImageFormatTraits& traits = traitsOf(format());
    services_.settings.setJson(formatKey, std::string(traits.name));
    if (traits.isLossy) services_.settings.set(SettingKeys::jpegQuality, options().quality);
    const Dialogs::SavePlace place{.title = "Export As",
                                   .proposed = document->proposedPath(traits.extensions[0]),
                                   .filter = fromQt(filterOf(format())),
                                   .suffix = std::string(traits.extensions[0])};
    services_.dialogs.choosePlace(
        this, place,
        [dialog = QPointer<ExportDialog>(this)](const std::optional<std::filesystem::path>& path) {
            if (!dialog || !path) return;
            const auto exported = dialog->document_.lock();
            if (exported && exported->session() != nullptr)
                exported->exportToURL(*path, dialog->format(), dialog->options());
            dialog->close();
        });
}

} // namespace ombrel
