// What an importer could not keep of a file, on a card in the corner of the canvas until it is
// put away. Main thread.
#pragma once

#include <QFrame>

#include <string>
#include <vector>

class QLabel;

namespace ombrel {

class ReportCard final : public QFrame {
public:
    /// Lies on `canvas` and follows its size.
    ReportCard(const std::vector<std::string>& report, QWidget* canvas);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();

    QLabel* lines_ = nullptr;
};

} // namespace ombrel
