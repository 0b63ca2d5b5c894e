#include "App/Color/ColorDialog.h"

#include "App/Color/ColorEditor.h"
#include "App/Look/Theme.h"
#include "App/Panels/ScreenColor.h"

#include <QDialogButtonBox>
#include <QPainter>
#include <QVBoxLayout>

namespace ombrel {

namespace {

/// The new colour above the old one.
class ColorPair : public QWidget {
public:
    ColorPair(const PickedColor& before, QWidget* parent)
        : QWidget(parent), before_(colorOf(before.rgb())), now_(before_) {
        setFixedSize(48, 64);
        setAccessibleName(QStringLiteral("New and present color"));
        setToolTip(QStringLiteral("Above the new color, below the present one"));
    }
    void setColor(const PickedColor& color) {
        now_ = colorOf(color.rgb());
        update();
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.fillRect(rect(), Theme::color(ThemeColor::edge));
        const QRect inner = rect().adjusted(1, 1, -1, -1);
        painter.fillRect(inner, before_);
        painter.fillRect(QRect(inner.topLeft(), QSize(inner.width(), inner.height() / 2)), now_);
    }

private:
    QColor before_;
    QColor now_;
};

} // namespace

ColorDialog::ColorDialog(Settings& settings, const QString& title, const PickedColor& color,
                         QWidget* parent)
    : QDialog(parent), before_(color),
      editor_(new ColorEditor(settings, ColorEditor::Sliders::all, this)) {
    setObjectName(QStringLiteral("colorDialog"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    auto* pair = new ColorPair(color, editor_);
    editor_->setSide(pair);
    editor_->setColor(color);
    editor_->onChange = [pair](const PickedColor& now) { pair->setColor(now); };
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(Spacing::normal);
    layout->addWidget(editor_, 1);
    layout->addWidget(buttons);
    resize(360, 400);
}

void ColorDialog::accept() {
    editor_->finishTyping();
    if (onAccept && !(editor_->color() == before_)) onAccept(editor_->color());
    onAccept = {};
    QDialog::accept();
}

} // namespace ombrel
