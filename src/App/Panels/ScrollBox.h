// Content in a column that scrolls up and down where it is given less height than it needs, and is
// never narrower than it needs. Whoever comes into it by keyboard is scrolled into view; the wheel
// scrolls and changes no number on its way. Main thread.
#pragma once

#include <QScrollArea>

namespace ombrel {

class ScrollBox : public QScrollArea {
public:
    /// `leastHeight`: of what is seen of the content at least.
    ScrollBox(int leastHeight, QWidget* parent);

    void setContent(QWidget* content); ///< once; the box owns it

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showFocus(QWidget* focused);

    int leastHeight_;
};

} // namespace ombrel
