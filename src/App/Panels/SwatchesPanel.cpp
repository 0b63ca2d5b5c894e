#include "App/Panels/SwatchesPanel.h"

#include "App/Color/SwatchListModel.h"
#include "App/Color/SwatchView.h"
#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/ScreenColor.h"
#include "App/Shell/QtPath.h"
#include "Base/AtomicFile.h"
#include "Base/Settings.h"
#include "Editor/DocumentSession.h"
#include "Editor/SwatchLibrary.h"
#include "IO/SwatchReader.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <iterator>

namespace ombrel {

namespace {

constexpr const char* setKey = "swatchSet";

void askByDialog(QWidget* parent, const QString& title, const QString& before,
                 std::function<void(const QString&)> answer) {
    auto* dialog = new QInputDialog(parent);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(title);
    dialog->setLabelText(QStringLiteral("Name"));
    dialog->setTextValue(before);
    QObject::connect(dialog, &QInputDialog::textValueSelected, parent, std::move(answer));
    dialog->open();
}

} // namespace

SwatchesPanel::SwatchesPanel(const PanelContext& context, QWidget* parent)
    : SwatchesPanel(context, SwatchLibrary::shared(), parent) {}

SwatchesPanel::SwatchesPanel(const PanelContext& context, SwatchLibrary& library, QWidget* parent)
    : QWidget(parent), session_(context.session), settings_(context.settings), library_(library),
      set_(new QComboBox(this)), model_(new SwatchListModel(this)),
      view_(new SwatchView(model_, this)) {
    onAsk = [this](const QString& title, const QString& before,
                   std::function<void(const QString&)> answer) {
        askByDialog(this, title, before, std::move(answer));
    };
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::tight, Spacing::tight, Spacing::tight, Spacing::tight);
    layout->setSpacing(Spacing::tight);
    makeBar();
    layout->addWidget(view_, 1);
    view_->setObjectName(QStringLiteral("swatches"));
    view_->setAccessibleName(QStringLiteral("Swatches"));
    view_->setContextMenuPolicy(Qt::CustomContextMenu);
    view_->onChoose = [this](int row, bool isForBackground) { choose(row, isForBackground); };
    model_->onMove = [this](int from, int before) { move(from, before); };
    model_->onRename = [this](int row, const std::string& name) {
        changeSet([&](SwatchSet& set) { set.swatches[static_cast<std::size_t>(row)].name = name; });
    };
    connect(view_, &QWidget::customContextMenuRequested, this,
            [this](QPoint place) { showSwatchMenu(place); });
    view_->onRemove = [this] { removeCurrent(); };
    view_->onRename = [this] { renameCurrent(); };
    connect(set_, &QComboBox::currentIndexChanged, this, [this] {
        if (isFollowing_) return;
        settings_.setJson(setKey, fromQt(set_->currentText()));
        follow();
    });
    connections_.push_back(library_.onChange([this] { follow(); }));
    follow();
}

SwatchesPanel::~SwatchesPanel() = default;

void SwatchesPanel::makeBar() {
    set_->setObjectName(QStringLiteral("swatchSet"));
    set_->setAccessibleName(QStringLiteral("Set of swatches"));
    set_->setToolTip(set_->accessibleName());
    set_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    auto* bar = new QHBoxLayout;
    bar->setSpacing(Spacing::hair);
    bar->addWidget(set_, 1);
    const auto addButton = [&](const char* name, const char* icon, const char* words) {
        auto* button = new QToolButton(this);
        button->setObjectName(QLatin1String(name));
        button->setAutoRaise(true);
        button->setIcon(ombrel::icon(icon));
        button->setToolTip(QString::fromUtf8(words));
        button->setAccessibleName(button->toolTip());
        bar->addWidget(button);
        return button;
    };
    connect(addButton("addSwatch", "plus", "Add the foreground color"), &QToolButton::clicked, this,
            [this] { addForeground(); });
    remove_ = addButton("removeSwatch", "trash-2", "Delete the swatch");
    connect(remove_, &QToolButton::clicked, this, [this] { removeCurrent(); });
    QToolButton* more = addButton("swatchMenu", "menu", "Sets and palette files");
    auto* menu = new QMenu(more);
    makeMenu(*menu);
    more->setMenu(menu);
    more->setPopupMode(QToolButton::InstantPopup);
    static_cast<QVBoxLayout*>(layout())->addLayout(bar);
}

void SwatchesPanel::makeMenu(QMenu& menu) {
    const auto add = [&](const char* name, const char* words, auto run) {
        menu.addAction(QString::fromUtf8(words), this, run)->setObjectName(QLatin1String(name));
    };
    add("newSet", "New Set…", [this] { newSet(); });
    add("renameSet", "Rename Set…", [this] { renameSet(); });
    add("deleteSet", "Delete Set", [this] { deleteSet(); });
    menu.addSeparator();
    add("importSwatches", "Import…", [this] { askForFile(false); });
    add("exportSwatches", "Export…", [this] { askForFile(true); });
    connect(&menu, &QMenu::aboutToShow, this, [this, &menu] {
        menu.findChild<QAction*>("deleteSet")->setEnabled(library_.sets().size() > 1);
    });
}

void SwatchesPanel::showSwatchMenu(QPoint place) {
    const QModelIndex index = view_->indexAt(place);
    if (!index.isValid()) return;
    view_->setCurrentIndex(index);
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const int row = index.row();
    menu->addAction(QStringLiteral("Foreground"), this, [this, row] { choose(row, false); });
    menu->addAction(QStringLiteral("Background"), this, [this, row] { choose(row, true); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Rename…"), this, [this] { renameCurrent(); });
    menu->addAction(QStringLiteral("Delete"), this, [this] { removeCurrent(); });
    menu->popup(view_->viewport()->mapToGlobal(place));
}

void SwatchesPanel::follow() {
    isFollowing_ = true;
    const std::vector<SwatchSet>& sets = library_.sets();
    const Json wanted = settings_.json(setKey);
    set_->clear();
    int chosen = 0;
    for (const SwatchSet& set : sets) {
        if (wanted == set.name) chosen = set_->count();
        set_->addItem(toQt(set.name));
    }
    set_->setCurrentIndex(chosen);
    model_->setSwatches(sets[static_cast<std::size_t>(chosen)].swatches);
    isFollowing_ = false;
}

void SwatchesPanel::changeSet(const std::function<void(SwatchSet&)>& change) {
    std::vector<SwatchSet> sets = library_.sets();
    SwatchSet& set = sets[static_cast<std::size_t>(set_->currentIndex())];
    change(set);
    library_.setSets(std::move(sets));
}

int SwatchesPanel::currentRow() const {
    const QModelIndexList selected = view_->selectionModel()->selectedIndexes();
    return selected.isEmpty() ? -1 : selected.front().row();
}

void SwatchesPanel::choose(int row, bool isForBackground) {
    PaintColors colors = *session_->colors;
    colors.*(isForBackground ? &PaintColors::background : &PaintColors::foreground) = documentColor(
        model_->swatches()[static_cast<std::size_t>(row)].color, session_->_state->canvas.profile);
    session_->colors = colors;
}

void SwatchesPanel::addForeground() {
    const auto color = displayColor(session_->colors->foreground, session_->_state->canvas.profile);
    changeSet([&](SwatchSet& set) { set.swatches.push_back({{}, color}); });
    view_->setCurrentIndex(model_->index(model_->rowCount() - 1));
}

void SwatchesPanel::removeCurrent() {
    const int row = currentRow();
    if (row < 0) return tell("Select a swatch to delete.");
    changeSet([&](SwatchSet& set) { set.swatches.erase(set.swatches.begin() + row); });
}

void SwatchesPanel::renameCurrent() {
    const int row = currentRow();
    if (row < 0) return;
    onAsk(QStringLiteral("Rename Swatch"), model_->index(row).data(Qt::EditRole).toString(),
          [this, row,
           before = model_->swatches()[static_cast<std::size_t>(row)]](const QString& name) {
              const bool isThere = row < model_->rowCount() &&
                                   model_->swatches()[static_cast<std::size_t>(row)] == before;
              if (isThere) model_->setData(model_->index(row), name, Qt::EditRole);
          });
}

void SwatchesPanel::move(int from, int before) {
    changeSet([&](SwatchSet& set) {
        const auto first = set.swatches.begin();
        if (from < before) {
            std::rotate(first + from, first + from + 1, first + before);
        } else {
            std::rotate(first + before, first + from, first + from + 1);
        }
    });
    view_->setCurrentIndex(model_->index(from < before ? before - 1 : before));
}

void SwatchesPanel::newSet() {
    onAsk(QStringLiteral("New Set"), QStringLiteral("Swatches"), [this](const QString& text) {
        std::vector<SwatchSet> sets = library_.sets();
        const std::string wanted = fromQt(text.trimmed());
        sets.push_back({freeSetName(sets, wanted.empty() ? "Swatches" : wanted), {}});
        settings_.setJson(setKey, sets.back().name);
        library_.setSets(std::move(sets));
    });
}

void SwatchesPanel::renameSet() {
    onAsk(QStringLiteral("Rename Set"), set_->currentText(), [this](const QString& text) {
        const std::string wanted = fromQt(text.trimmed());
        if (wanted.empty() || wanted == fromQt(set_->currentText())) return;
        const std::string name = freeSetName(library_.sets(), wanted);
        settings_.setJson(setKey, name);
        changeSet([&](SwatchSet& set) { set.name = name; });
    });
}

void SwatchesPanel::deleteSet() {
    std::vector<SwatchSet> sets = library_.sets();
    if (sets.size() < 2) return;
    sets.erase(sets.begin() + set_->currentIndex());
    library_.setSets(std::move(sets));
}

void SwatchesPanel::askForFile(bool isExport) {
    auto* dialog = new QFileDialog(this, isExport ? QStringLiteral("Export Swatches")
                                                  : QStringLiteral("Import Swatches"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setNameFilters(
        isExport
            ? QStringList{QStringLiteral("GIMP palette (*.gpl)")}
            : QStringList{QStringLiteral("Palettes (*.aco *.ase *.act *.gpl *.pal *.hex *.txt)"),
                          QStringLiteral("All files (*)")});
    if (isExport) {
        dialog->setAcceptMode(QFileDialog::AcceptSave);
        dialog->setDefaultSuffix(QStringLiteral("gpl"));
        dialog->selectFile(set_->currentText());
    } else {
        dialog->setFileMode(QFileDialog::ExistingFile);
    }
    connect(dialog, &QFileDialog::fileSelected, this, [this, isExport](const QString& file) {
        if (isExport) {
            exportFile(plainPath(file));
        } else {
            importFile(plainPath(file));
        }
    });
    dialog->open();
}

void SwatchesPanel::importFile(const std::filesystem::path& file) {
    const auto bytes = readSmallFile(file, SwatchReader::mostBytes);
    if (!bytes) return tell(bytes.error().text());
    auto read = SwatchReader::read(std::as_bytes(std::span(*bytes)), file.stem().string());
    if (!read) return tell(read.error().text());
    std::vector<SwatchSet> sets = library_.sets();
    for (SwatchSet& set : *read) {
        set.name = freeSetName(sets, set.name);
        if (&set == &read->front()) settings_.setJson(setKey, set.name);
        sets.push_back(std::move(set));
    }
    library_.setSets(std::move(sets));
}

void SwatchesPanel::exportFile(const std::filesystem::path& file) {
    const SwatchSet& set = library_.sets()[static_cast<std::size_t>(set_->currentIndex())];
    const auto written = writeFileAtomically(file, SwatchWriter::gimpPalette(set));
    if (!written) tell(written.error().text());
}

void SwatchesPanel::tell(const std::string& words) {
    QApplication::beep();
    if (session_->onMessage) session_->onMessage(words);
}

} // namespace ombrel
