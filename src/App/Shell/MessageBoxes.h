// The questions as message boxes and file dialogs.
#pragma once

#include "App/Shell/Dialogs.h"

#include <QFileDialog>
#include <QPointer>

namespace ombrel {

class MessageBoxes final : public Dialogs {
public:
    void askToSave(QWidget* on, const std::string& name,
                   std::function<void(SaveAnswer)> answer) override;
    void confirm(QWidget* on, const Confirmation& question,
                 std::function<void(bool)> answer) override;
    void tellFailure(QWidget* on, const std::string& title, const std::string& text) override;
    void chooseFilesToOpen(QWidget* on, const Path& folder,
                           std::function<void(std::vector<Path>)> answer) override;
    void choosePlace(QWidget* on, const SavePlace& place,
                     std::function<void(std::optional<Path>)> answer) override;
    bool confirmNow(QWidget* on, const Confirmation& question) override;

private:
    QFileDialog& fileDialog(QWidget* on, const QString& title);
    void fileDialogClosed();

    /// One for all: making and deleting one holds the main thread for two frames.
    QPointer<QFileDialog> fileDialog_;
};

} // namespace ombrel
