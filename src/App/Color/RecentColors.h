// The colours that were painted with or picked lately, newest first, the same for all documents and
// kept in the settings. A pick counts when it has stayed for a moment, so that a drag through the
// colours leaves one of them. Main thread only.
#pragma once

#include "Base/Signal.h"
#include "Base/Uuid.h"
#include "Core/ColorMath.h"

#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace ombrel {

class DocumentSession;
class History;
class Settings;

class RecentColors {
public:
    static constexpr std::size_t mostColors = 24;

    RecentColors(std::shared_ptr<DocumentSession> session, Settings& settings);

    std::vector<ColorMath::DisplayRgb> colors() const;
    void add(const ColorMath::DisplayRgb& color);
    /// The foreground as it will be in a moment.
    void addForegroundSoon() { soon_.start(); }

    std::function<void()> onChange;

private:
    ColorMath::DisplayRgb foreground() const;
    void addForeground();
    void followHistory(const History& history);

    std::shared_ptr<DocumentSession> session_;
    Settings& settings_;
    Uuid lastEntry_;
    std::optional<ColorMath::DisplayRgb> inUse_; ///< the foreground when a stroke began
    QTimer soon_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
