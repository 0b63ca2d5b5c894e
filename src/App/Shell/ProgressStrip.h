// The long work of a window: what is being done, how far it is, and a button that cancels it.
// Hidden while there is none, and for work that is soon done; looks at the progress a few times a
// second only while there is some. Main thread.
#pragma once

#include "App/Shell/Activities.h"

#include <QTimer>
#include <QWidget>

#include <memory>
#include <optional>
#include <vector>

class QLabel;
class QProgressBar;

namespace ombrel {

class DocumentSession;

class ProgressStrip final : public QWidget {
public:
    /// Shows what belongs to `document` or to none; null: all.
    ProgressStrip(Activities& activities, const ImageDocument* document, QWidget* parent);
    /// The commands of a session too; null: no longer.
    void follow(const std::shared_ptr<DocumentSession>& session);

private:
    void changed();
    void look();
    std::optional<Activities::Activity> shown() const;

    Activities& activities_;
    const ImageDocument* document_;
    std::weak_ptr<DocumentSession> session_;
    QLabel* text_;
    QProgressBar* bar_;
    QTimer looking_;
    std::vector<Connection> connections_;
    Connection ofActivities_;
};

} // namespace ombrel
