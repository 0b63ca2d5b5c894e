// The search for commands: a field over the window, below it all that the menus hold, the panels
// and the tools, the best fits first. Each shows its keys, or why it cannot be done now; Enter does
// it. Belongs to its window and goes when it loses the keyboard. Main thread.
#pragma once

#include <QFrame>
#include <functional>
#include <optional>
#include <vector>

class QLineEdit;
class QListWidget;

namespace ombrel {

class DocumentWindow;

/// Something that can be done from the palette.
struct PaletteItem {
    QString text;    ///< "Merge Down"
    QString path;    ///< "Layer"
    QString keys;    ///< "Ctrl+E"
    QString refusal; ///< empty where it is possible
    std::function<void()> run;
};

/// How well an item answers to what was typed: higher is better; nothing where it does not. Each
/// word must begin a word of the item, or be found in it, or else have its letters there in order.
std::optional<int> paletteScore(const PaletteItem& item, const QString& typed);

class CommandPalette final : public QFrame {
public:
    static void showOn(DocumentWindow& window);
    CommandPalette(QWidget& window, std::vector<PaletteItem> items);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void search(const QString& typed);
    void runCurrent();
    void place();

    std::vector<PaletteItem> items_;
    QLineEdit* field_;
    QListWidget* list_;
};

} // namespace ombrel
