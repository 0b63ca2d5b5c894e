// Questions to the user. Each is asked on a window and answered later, on the main thread; other
// windows go on meanwhile. Tests put an answerer of their own in the place of message boxes.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QWidget;

namespace ombrel {

class Dialogs {
public:
    using Path = std::filesystem::path;

    enum class SaveAnswer { save, discard, cancel };

    struct Confirmation {
        std::string title;
        std::string text;
        std::string accept; ///< the label of the button that goes on
        std::string refuse = "Cancel";
    };
    struct SavePlace {
        std::string title;
        Path proposed;
        std::string filter; ///< "Ombrel Document (*.ombrel)"
        std::string suffix; ///< added to a name without one
    };

    Dialogs() = default;
    virtual ~Dialogs() = default;
    Dialogs(const Dialogs&) = delete;
    Dialogs& operator=(const Dialogs&) = delete;

    /// `on` may be null in each.
    virtual void askToSave(QWidget* on, const std::string& name,
                           std::function<void(SaveAnswer)> answer) = 0;
    virtual void confirm(QWidget* on, const Confirmation& question,
                         std::function<void(bool)> answer) = 0;
    virtual void tellFailure(QWidget* on, const std::string& title, const std::string& text) = 0;
    virtual void chooseFilesToOpen(QWidget* on, const Path& folder,
                                   std::function<void(std::vector<Path>)> answer) = 0;
    virtual void choosePlace(QWidget* on, const SavePlace& place,
                             std::function<void(std::optional<Path>)> answer) = 0;
    /// The one question whose answer is waited for: it comes from within an edit.
    virtual bool confirmNow(QWidget* on, const Confirmation& question) = 0;
};

} // namespace ombrel
