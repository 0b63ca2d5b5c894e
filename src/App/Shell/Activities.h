// Long work that the user may follow and cancel: files being opened, saved or exported. Each
// belongs to a document, or to none while there is none yet. Main thread; the Progress itself is
// told by whoever works.
#pragma once

#include "Base/Progress.h"
#include "Base/Signal.h"

#include <memory>
#include <string>
#include <vector>

namespace ombrel {

class ImageDocument;

class Activities {
public:
    struct Activity {
        std::string text; ///< "Opening photo.jpg"
        std::shared_ptr<Progress> progress;
        const ImageDocument* document = nullptr; ///< whose window shows it; null: all
    };

    /// Listed until it is dropped.
    class Entry {
    public:
        Entry(Activities& list, Activity activity) : list_(list), progress_(activity.progress) {
            list_.all_.push_back(std::move(activity));
            list_.changed_.emit();
        }
        ~Entry() {
            std::erase_if(list_.all_, [&](const Activity& a) { return a.progress == progress_; });
            list_.changed_.emit();
        }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

        const std::shared_ptr<Progress>& progress() const { return progress_; }

    private:
        Activities& list_;
        std::shared_ptr<Progress> progress_;
    };

    std::shared_ptr<Entry> begin(std::string text, const ImageDocument* document = nullptr) {
        return std::make_shared<Entry>(
            *this, Activity{std::move(text), std::make_shared<Progress>(), document});
    }
    const std::vector<Activity>& all() const { return all_; } ///< oldest first
    Connection onChange(std::function<void()> callback) {
        return changed_.connect(std::move(callback));
    }

private:
    std::vector<Activity> all_;
    Signal<> changed_;
};

} // namespace ombrel
