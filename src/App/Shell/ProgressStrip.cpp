#include "App/Shell/ProgressStrip.h"

#include "App/Look/QtText.h"
#include "Editor/DocumentSession.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

#include <cmath>

namespace ombrel {

namespace {

constexpr int lookInterval = 100; ///< milliseconds; also what work may take unseen
constexpr int barWidth = 160;
constexpr int barSteps = 1000;

} // namespace

ProgressStrip::ProgressStrip(Activities& activities, const ImageDocument* document, QWidget* parent)
    : QWidget(parent), activities_(activities), document_(document), text_(new QLabel(this)),
      bar_(new QProgressBar(this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* cancel = new QToolButton(this);
    cancel->setText("Cancel");
    cancel->setObjectName("cancelWork");
    bar_->setFixedWidth(barWidth);
    bar_->setRange(0, barSteps);
    bar_->setTextVisible(false);
    layout->addWidget(text_);
    layout->addWidget(bar_);
    layout->addWidget(cancel);
    connect(cancel, &QToolButton::clicked, this, [this] {
        if (const auto activity = shown()) activity->progress->cancel();
    });
    looking_.setInterval(lookInterval);
    connect(&looking_, &QTimer::timeout, this, [this] { look(); });
    ofActivities_ = activities_.onChange([this] { changed(); });
    hide();
    changed();
}

void ProgressStrip::follow(const std::shared_ptr<DocumentSession>& session) {
    session_ = session;
    connections_.clear();
    if (session) {
        connections_.push_back(
            session->_runningCommand.onChange([this](const auto&) { changed(); }));
    } else {
        document_ = nullptr;
    }
    changed();
}

std::optional<Activities::Activity> ProgressStrip::shown() const {
    if (const auto session = session_.lock(); session && *session->_runningCommand) {
        const DocumentSession::RunningCommand& running = **session->_runningCommand;
        return Activities::Activity{running.name, running.progress, document_};
    }
    for (const Activities::Activity& activity : activities_.all()) {
        if (activity.document == nullptr || document_ == nullptr || activity.document == document_)
            return activity;
    }
    return std::nullopt;
}

void ProgressStrip::changed() {
    if (!shown()) {
        looking_.stop();
        hide();
    } else if (!looking_.isActive()) {
        looking_.start();
    }
}

void ProgressStrip::look() {
    const auto activity = shown();
    if (!activity) return;
    text_->setText(toQt(activity->text));
    const double fraction = activity->progress->fraction();
    // Work that cannot tell how far it is.
    bar_->setRange(0, fraction > 0 ? barSteps : 0);
    bar_->setValue(static_cast<int>(std::lround(fraction * barSteps)));
    show();
}

} // namespace ombrel
