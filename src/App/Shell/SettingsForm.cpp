#include "App/Shell/SettingsForm.h"

#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/StatusFields.h"
#include "App/Shell/AppServices.h"
#include "App/Shell/FormNames.h"
#include "App/Shell/PenPad.h"
#include "App/Shell/QtPath.h"
#include "App/Shell/SettingRows.h"
#include "Core/ScratchFolder.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <unistd.h>

namespace ombrel {

namespace {

using namespace SettingRows;

constexpr int titlesWidth = 150;
constexpr QSize usualSize(640, 420);

constexpr Choice themes[] = {
    {"system", "Same as the System"}, {"dark", "Dark"}, {"light", "Light"}};
constexpr Choice units[] = {{"px", "Pixels"},
                            {"in", "Inches"},
                            {"cm", "Centimeters"},
                            {"mm", "Millimeters"},
                            {"pt", "Points"}};

/// Small words below a field.
QLabel* makeHelp(const QString& text) {
    auto* help = new QLabel(text);
    help->setWordWrap(true);
    help->setForegroundRole(QPalette::PlaceholderText);
    return help;
}

std::int64_t physicalMemory() {
    return static_cast<std::int64_t>(::sysconf(_SC_PHYS_PAGES)) * ::sysconf(_SC_PAGESIZE);
}

} // namespace

void SettingsForm::show(QWidget& on, const AppServices& services) {
    static QPointer<SettingsForm> there;
    if (!there) {
        // Not above the document's window alone: it outlives that one.
        there = new SettingsForm(services.settings, services.store, nullptr);
        there->move(on.geometry().center() - QPoint(usualSize.width(), usualSize.height()) / 2);
    }
    there->setVisible(true);
    there->raise();
    there->activateWindow();
}

SettingsForm::SettingsForm(Settings& settings, const TileStore& store, QWidget* parent)
    : QDialog(parent), settings_(settings), store_(store), titles_(new QListWidget(this)),
      pages_(new QStackedWidget(this)) {
    setObjectName("settingsForm");
    setWindowTitle("Settings");
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_QuitOnClose, false);
    titles_->setObjectName("settingsPages");
    titles_->setAccessibleName("Pages");
    titles_->setFixedWidth(titlesWidth);
    titles_->setSpacing(1);
    makeGeneralPage();
    makeMemoryPage();
    makeFilesPage();
    makeCanvasPage();
    makeTabletPage();
    auto* columns = new QHBoxLayout;
    columns->setSpacing(Spacing::wide);
    columns->addWidget(titles_);
    columns->addWidget(pages_, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    layout->setSpacing(Spacing::wide);
    layout->addLayout(columns, 1);
    layout->addWidget(buttons);
    connect(titles_, &QListWidget::currentRowChanged, pages_, &QStackedWidget::setCurrentIndex);
    for (const QFormLayout* page : pages_->findChildren<QFormLayout*>())
        nameFields(*page);
    titles_->setCurrentRow(0);
    resize(usualSize);
}

void SettingsForm::showPage(int page) {
    titles_->setCurrentRow(page);
}

QFormLayout* SettingsForm::addPage(const char* iconName, const QString& title) {
    new QListWidgetItem(icon(iconName), title, titles_);
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->setContentsMargins(0, 0, 0, 0);
    form->setHorizontalSpacing(Spacing::wide);
    form->setVerticalSpacing(Spacing::normal);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    pages_->addWidget(page);
    return form;
}

void SettingsForm::makeGeneralPage() {
    QFormLayout* form = addPage("settings", "General");
    form->addRow("Theme", makeChoice(settings_, SettingKeys::colorScheme, themes));
    form->addRow("Interface Size", makePercent(settings_, SettingKeys::interfaceScale));
    form->addRow(QString(), makeHelp("Takes effect when Ombrel is started again."));
    form->addRow("Units of Length", makeChoice(settings_, SettingKeys::lengthUnit, units));
    form->addRow(QString(), makeHelp("In the status bar, and at first in the forms that ask for "
                                     "the size of an image or a canvas."));
}

void SettingsForm::makeMemoryPage() {
    QFormLayout* form = addPage("memory-stick", "Memory");
    form->addRow("Memory Usage", makePercent(settings_, SettingKeys::memoryFraction));
    memoryWords_ = makeHelp({});
    memoryWords_->setObjectName("memoryWords");
    form->addRow(QString(), makeHelp("Share of physical memory for uncompressed image tiles. "
                                     "Colder tiles are compressed, then moved to the scratch "
                                     "disk."));
    form->addRow(QString(), memoryWords_);
    form->addRow("History States", makeCount(settings_, SettingKeys::historyStates));
    makeScratchRow(*form);
    // After the program has set the limit.
    changes_.push_back(settings_.onChange(SettingKeys::memoryFraction.name, [this](const Json&) {
        QMetaObject::invokeMethod(this, [this] { showMemory(); }, Qt::QueuedConnection);
    }));
    showMemory();
}

void SettingsForm::showMemory() {
    memoryWords_->setText(QString("%1 of %2; in use now: %3")
                              .arg(memoryText(store_.budget().residentBytes),
                                   memoryText(physicalMemory()),
                                   memoryText(store_.statistics().residentBytes)));
}

void SettingsForm::makeScratchRow(QFormLayout& form) {
    scratch_ = new QLineEdit;
    scratch_->setObjectName("scratchFolder");
    scratch_->setPlaceholderText(qtPath(ScratchFolder::usual()));
    scratch_->setClearButtonEnabled(true);
    auto* choose = new QPushButton("Choose…");
    choose->setAutoDefault(false);
    auto* row = new QHBoxLayout;
    row->setSpacing(Spacing::normal);
    row->addWidget(scratch_, 1);
    row->addWidget(choose);
    form.addRow("Scratch Folder", row);
    scratchWords_ = makeHelp({});
    scratchWords_->setObjectName("scratchWords");
    form.addRow(QString(), scratchWords_);
    scratch_->setText(toQt(settings_.get(SettingKeys::scratchFolder)));
    connect(scratch_, &QLineEdit::editingFinished, this,
            [this] { takeScratchFolder(scratch_->text()); });
    connect(choose, &QPushButton::clicked, this, [this] { chooseScratchFolder(); });
    showScratchFolder();
}

void SettingsForm::chooseScratchFolder() {
    auto* dialog = new QFileDialog(this, "Scratch Folder", scratch_->text());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    connect(dialog, &QFileDialog::fileSelected, this, [this](const QString& folder) {
        scratch_->setText(folder);
        takeScratchFolder(folder);
    });
    dialog->open();
}

// What will not do is told and not stored.
void SettingsForm::takeScratchFolder(const QString& text) {
    const std::filesystem::path folder = plainPath(text.trimmed());
    if (!folder.empty()) {
        if (const auto free = ScratchFolder::examine(folder); !free) {
            scratchWords_->setText(toQt(free.error()) + " The folder stays as it was.");
            return;
        }
    }
    settings_.set(SettingKeys::scratchFolder, folder.string());
    showScratchFolder();
}

void SettingsForm::showScratchFolder() {
    const std::string own = settings_.get(SettingKeys::scratchFolder);
    const std::filesystem::path folder =
        own.empty() ? ScratchFolder::usual() : std::filesystem::path(own);
    std::error_code none;
    std::filesystem::create_directories(folder, none);
    const auto free = ScratchFolder::examine(folder);
    const QString words =
        free ? QString("%1 free.").arg(memoryText(static_cast<std::int64_t>(*free)))
             : toQt(free.error());
    const bool isUsed = folder == ScratchFolder::chosen();
    scratchWords_->setText(isUsed ? words : words + " Takes effect when Ombrel is started again.");
}

void SettingsForm::makeFilesPage() {
    QFormLayout* form = addPage("image", "Files");
    form->addRow("JPEG/HEIC Quality", makePercent(settings_, SettingKeys::jpegQuality));
    form->addRow(QString(), makeHelp("What the form for exporting starts with."));
}

void SettingsForm::makeCanvasPage() {
    QFormLayout* form = addPage("mouse-pointer-2", "Canvas");
    form->addRow("Gestures", makeCheck(settings_, SettingKeys::zoomLocked, "Lock zoom"));
    form->addRow(QString(), makeCheck(settings_, SettingKeys::rotationLocked, "Lock rotation"));
    form->addRow(QString(),
                 makeHelp("Fingers and the wheel then leave the zoom or the rotation as it is, "
                          "and the wheel scrolls. Menus, keys and tools still change them."));
}

void SettingsForm::makeTabletPage() {
    QFormLayout* form = addPage("pen-tool", "Tablet");
    form->addRow("Pen", makeCheck(settings_, SettingKeys::penPressure, "Use pressure"));
    form->addRow("Firmness", makePercent(settings_, SettingKeys::penFirmness));
    form->addRow(QString(), makeHelp("Above 100 % it takes more force to press, below it less."));
    form->addRow("Try It", new PenPad(settings_, this));
}

} // namespace ombrel
