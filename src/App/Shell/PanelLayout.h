// How the panels stand around a window's canvas: as the catalogue has them at first, then where the
// user put them, last time on a screen of this size; hidden as a whole and brought back; and
// arrangements kept by name. Owned by its window. Main thread.
#pragma once

#include "Base/Settings.h"

#include <QByteArray>
#include <QList>
#include <QRect>

#include <optional>
#include <string>
#include <vector>

class QDockWidget;
class QMainWindow;

namespace ombrel {

struct PanelDescription;

class PanelLayout {
public:
    enum class Hiding { nothing, panels, everything };

    PanelLayout(QMainWindow& window, Settings& settings) : window_(window), settings_(settings) {}

    /// A panel that was just made, where it stands at first.
    void place(const PanelDescription& panel, QDockWidget& dock);
    /// Once all panels are there. `frame`: of the window before this one.
    void restore(const std::optional<QRect>& frame);
    void save(); ///< as it is for the next window, and the next start

    Hiding hiding() const { return hiding_; }
    /// Hides so much, or brings everything back where so much is hidden.
    void toggle(Hiding hiding);
    void toggleFullScreen();
    void windowStateChanged();

    /// As the catalogue has it.
    void reset();
    std::vector<std::string> workspaces() const;
    void saveWorkspace(const std::string& name);
    bool applyWorkspace(const std::string& name); ///< false where it cannot be read
    void removeWorkspace(const std::string& name);

private:
    void hide(Hiding hiding);
    void show();
    void arrange();
    /// What is left goes to those of no height; on a low window the others give some of theirs.
    void shareHeight(QList<int>& heights) const;
    /// Panels that the state does not know stand where they stand at first. False where it cannot
    /// be read; then nothing has changed.
    bool restorePanels(const QByteArray& state);
    void join(const PanelDescription& panel, QDockWidget& dock);
    /// The panel in front of the others of its group; null before that one is made.
    QDockWidget* frontOf(const PanelDescription& panel) const;
    QByteArray state() const; ///< with everything that is hidden as a whole
    std::string screenKey() const;

    QMainWindow& window_;
    Settings& settings_;
    Hiding hiding_ = Hiding::nothing;
    QByteArray shown_; ///< the state while something is hidden
    bool hidesForFullScreen_ = false;
};

} // namespace ombrel
