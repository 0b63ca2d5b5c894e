// The form of the program's settings. Every change counts at once, for all windows, except where a
// row says that it waits for the next start. One for the process. Main thread.
#pragma once

#include "Base/Settings.h"
#include "Core/TileStore.h"

#include <QDialog>

#include <vector>

class QFormLayout;
class QLabel;
class QLineEdit;
class QListWidget;
class QStackedWidget;

namespace ombrel {

struct AppServices;

class SettingsForm final : public QDialog {
public:
    /// The one there is comes to the front.
    static void show(QWidget& on, const AppServices& services);
    SettingsForm(Settings& settings, const TileStore& store, QWidget* parent);

    void showPage(int page);

private:
    QFormLayout* addPage(const char* icon, const QString& title);
    void makeGeneralPage();
    void makeMemoryPage();
    void makeScratchRow(QFormLayout& form);
    void makeFilesPage();
    void makeCanvasPage();
    void makeTabletPage();
    void chooseScratchFolder();
    void takeScratchFolder(const QString& text);
    void showScratchFolder();
    void showMemory();

    Settings& settings_;
    const TileStore& store_;
    QListWidget* titles_;
    QStackedWidget* pages_;
    QLabel* memoryWords_ = nullptr;
    QLineEdit* scratch_ = nullptr;
    QLabel* scratchWords_ = nullptr;
    std::vector<Connection> changes_;
};

} // namespace ombrel
