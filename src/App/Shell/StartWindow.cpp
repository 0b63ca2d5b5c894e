#include "App/Shell/StartWindow.h"

#include "App/Look/QtText.h"
#include "App/Shell/FileKinds.h"
#include "App/Shell/InformationDialogs.h"
#include "App/Shell/NewDocumentForm.h"
#include "App/Shell/ProgressStrip.h"
#include "App/Shell/QtPath.h"
#include "App/Shell/SettingsForm.h"
#include "App/Shell/Thumbnails.h"

#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMimeData>
#include <QPainter>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <cstdlib>

namespace ombrel {

namespace {

constexpr QSize usualSize(920, 600);
constexpr int formWidth = 340;
constexpr QSize thumbnailSize(64, 64);
constexpr int margin = 24;

QLabel* makeTitle(const QString& text, QWidget* parent, qreal factor) {
    auto* title = new QLabel(text, parent);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * factor);
    font.setBold(true);
    title->setFont(font);
    return title;
}

/// All thumbnails take the same room, whatever their shape.
QIcon iconOf(const QImage& picture) {
    QPixmap framed(thumbnailSize);
    framed.fill(Qt::transparent);
    QPainter painter(&framed);
    if (picture.isNull()) {
        painter.fillRect(QRect(12, 6, 40, 52), QColor(128, 128, 128, 60));
    } else {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        const QSize fitted = picture.size().scaled(thumbnailSize, Qt::KeepAspectRatio);
        QRect place(QPoint(), fitted);
        place.moveCenter(framed.rect().center());
        painter.drawImage(place, picture);
    }
    return framed;
}

/// The folder as people name it.
QString placeOf(const std::filesystem::path& path) {
    const char* home = std::getenv("HOME");
    const std::string folder = path.parent_path().string();
    if (home != nullptr && *home != '\0' && folder.starts_with(home))
        return "~" + toQt(folder.substr(std::string_view(home).size()));
    return toQt(folder);
}

} // namespace

StartWindow::StartWindow(DocumentController& controller) : controller_(controller) {
    setWindowTitle("Ombrel");
    setAcceptDrops(true);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* columns = new QHBoxLayout;
    columns->setSpacing(margin);
    columns->addWidget(makeRecentPart(), 1);
    columns->addWidget(makeNewPart());
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->addLayout(columns, 1);
    layout->addWidget(new ProgressStrip(controller.services().activities, nullptr, this));
    addShortcuts();
    resize(usualSize);
    recentChanged_ = controller_.recentFiles().onChange([this] { fillRecent(); });
}

QWidget* StartWindow::makeRecentPart() {
    auto* part = new QWidget(this);
    auto* layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(makeTitle("Ombrel", part, 2.2));
    layout->addSpacing(12);
    auto* head = new QHBoxLayout;
    head->addWidget(makeTitle("Recent", part, 1.15));
    head->addStretch(1);
    auto* open = new QPushButton("Open…", part);
    open->setObjectName("open");
    connect(open, &QPushButton::clicked, this, [this] { controller_.chooseAndOpen(this); });
    head->addWidget(open);
    layout->addLayout(head);

    recentPart_ = new QStackedWidget(part);
    recent_ = new QListWidget(recentPart_);
    recent_->setObjectName("recent");
    recent_->setIconSize(thumbnailSize);
    recent_->setSpacing(2);
    recent_->setUniformItemSizes(true);
    recent_->setFrameShape(QFrame::NoFrame);
    recent_->setTextElideMode(Qt::ElideMiddle);
    connect(recent_, &QListWidget::itemActivated, this, [this](const QListWidgetItem* item) {
        controller_.openFiles({plainPath(item->data(Qt::UserRole).toString())}, this);
    });
    auto* nothing =
        new QLabel("Open a file, drop one here,\nor create a new document.", recentPart_);
    nothing->setAlignment(Qt::AlignCenter);
    nothing->setEnabled(false);
    recentPart_->addWidget(recent_);
    recentPart_->addWidget(nothing);
    layout->addWidget(recentPart_, 1);
    layout->addLayout(makeLinks());
    fillRecent();
    return part;
}

// What the menus of a document offer besides.
QLayout* StartWindow::makeLinks() {
    auto* links = new QHBoxLayout;
    const auto add = [&](const char* name, const char* text, auto action) {
        auto* button = new QToolButton;
        button->setObjectName(name);
        button->setText(text);
        button->setAutoRaise(true);
        connect(button, &QToolButton::clicked, this, action);
        links->addWidget(button);
    };
    add("settings", "Settings…", [this] { SettingsForm::show(*this, controller_.services()); });
    add("about", "About Ombrel", [this] { showAbout(this); });
    links->addStretch(1);
    return links;
}

QWidget* StartWindow::makeNewPart() {
    auto* part = new QWidget(this);
    part->setFixedWidth(formWidth);
    auto* layout = new QVBoxLayout(part);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(makeTitle("New Document", part, 1.15));
    layout->addSpacing(8);
    form_ = new NewDocumentForm(
        controller_.services().settings,
        [this](const Canvas& canvas, const DocumentState::Background& background) {
            controller_.makeDocument(canvas, background);
        },
        part);
    layout->addWidget(form_, 1);
    form_->setFocus(); // Enter makes a document
    return part;
}

void StartWindow::addShortcuts() {
    const auto add = [this](const char* keys, auto action) {
        auto* shortcut = new QShortcut(QKeySequence(keys), this);
        connect(shortcut, &QShortcut::activated, this, action);
    };
    add("Ctrl+O", [this] { controller_.chooseAndOpen(this); });
    add("Ctrl+Q", [this] { controller_.quit(); });
    add("Ctrl+W", [this] { close(); });
    add("Ctrl+K", [this] { SettingsForm::show(*this, controller_.services()); });
}

void StartWindow::fillRecent() {
    recent_->clear();
    filling_ = std::make_shared<int>();
    for (const std::filesystem::path& path : controller_.recentFiles().paths()) {
        auto* item = new QListWidgetItem(iconOf({}), qtPath(path.filename()) + "\n" + placeOf(path),
                                         recent_);
        item->setData(Qt::UserRole, qtPath(path));
        item->setToolTip(qtPath(path));
        controller_.thumbnails().find(
            path, [item, filling = std::weak_ptr<int>(filling_)](const QImage& picture) {
                if (!filling.expired() && !picture.isNull()) item->setIcon(iconOf(picture));
            });
    }
    recentPart_->setCurrentIndex(recent_->count() > 0 ? 0 : 1);
}

void StartWindow::closeForDocument() {
    isForDocument_ = true;
    close();
}

void StartWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    if (!isForDocument_) controller_.startWindowClosed();
}

void StartWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (!filesOf(*event->mimeData()).empty()) event->acceptProposedAction();
}

void StartWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    controller_.openFiles(filesOf(*event->mimeData()), this);
}

} // namespace ombrel
