#include "App/Shell/ReportCard.h"
#include "App/Look/QtText.h"

#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace ombrel {

namespace {

constexpr int cardWidth = 340;
constexpr int cardHeight = 220;
constexpr int margin = 16;
constexpr int aroundLines = 96; ///< title, button and space

} // namespace

ReportCard::ReportCard(const std::vector<std::string>& report, QWidget* canvas) : QFrame(canvas) {
    setObjectName("reportCard");
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    auto* title = new QLabel("Not everything could be kept", this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    layout->addWidget(title);
    QString text;
    for (const std::string& line : report)
        text += "• " + toQt(line).toHtmlEscaped() + "<br>";
    lines_ = new QLabel(text);
    lines_->setWordWrap(true);
    lines_->setAlignment(Qt::AlignTop);
    auto* scroll = new QScrollArea(this);
    scroll->setWidget(lines_);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    layout->addWidget(scroll);
    auto* done = new QPushButton("OK", this);
    connect(done, &QPushButton::clicked, this, &QWidget::close);
    layout->addWidget(done, 0, Qt::AlignRight);
    canvas->installEventFilter(this);
    place();
}

void ReportCard::place() {
    const QSize room = parentWidget()->size();
    const int width = std::min(cardWidth, room.width() - 2 * margin);
    const int wanted = aroundLines + lines_->heightForWidth(width - margin * 2);
    resize(width, std::min({wanted, cardHeight, room.height() - 2 * margin}));
    move(room.width() - width - margin, room.height() - height() - margin);
}

bool ReportCard::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize) place();
    return QFrame::eventFilter(watched, event);
}

} // namespace ombrel
