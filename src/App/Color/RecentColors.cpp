#include "App/Color/RecentColors.h"

#include "App/Color/PickedColor.h"
#include "App/Panels/ScreenColor.h"
#include "Base/Settings.h"
#include "Editor/DocumentSession.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fmt/format.h>
#include <utility>

namespace ombrel {

namespace {

constexpr TextListSetting key{"recentColors", RecentColors::mostColors};
constexpr std::chrono::milliseconds moment{800};

/// Tools that leave the foreground colour in the picture.
constexpr std::array paintingTools{
    ToolKind::brush,       ToolKind::pencil,   ToolKind::sprayPaint, ToolKind::mixerBrush,
    ToolKind::paintBucket, ToolKind::gradient, ToolKind::rectangle,  ToolKind::ellipse,
    ToolKind::line,        ToolKind::polygon,  ToolKind::star,       ToolKind::text};

} // namespace

RecentColors::RecentColors(std::shared_ptr<DocumentSession> session, Settings& settings)
    : session_(std::move(session)), settings_(settings),
      lastEntry_(session_->_history->entries().back()->id) {
    soon_.setSingleShot(true);
    soon_.setInterval(moment);
    QObject::connect(&soon_, &QTimer::timeout, [this] { addForeground(); });
    connections_.push_back(settings_.onChange(key.name, [this](const Json&) {
        if (onChange) onChange();
    }));
    connections_.push_back(
        session_->_history.onChange([this](const History& history) { followHistory(history); }));
    connections_.push_back(session_->_isLiveEditing.onChange([this](bool isLive) {
        if (isLive) inUse_ = foreground();
    }));
    connections_.push_back(session_->colors.onChange([this](const PaintColors&) {
        if (*session_->_activeTool == ToolKind::eyedropper) addForegroundSoon();
    }));
}

std::vector<ColorMath::DisplayRgb> RecentColors::colors() const {
    std::vector<ColorMath::DisplayRgb> colors;
    for (const std::string& code : settings_.get(key))
        if (const auto color = rgbOfHex(code)) colors.insert(colors.begin(), *color);
    return colors;
}

void RecentColors::add(const ColorMath::DisplayRgb& color) {
    std::vector<std::string> codes = settings_.get(key);
    const std::string code = hexOf(color);
    std::erase(codes, code);
    codes.push_back(code);
    settings_.set(key, std::move(codes));
}

ColorMath::DisplayRgb RecentColors::foreground() const {
    return displayColor(session_->colors->foreground, session_->_state->canvas.profile);
}

void RecentColors::addForeground() {
    soon_.stop();
    add(foreground());
}

// Only an entry that bears the name of a painting tool is paint: layers are made, masks added and
// images resized while one is at hand. By the time it is recorded the foreground may be another.
void RecentColors::followHistory(const History& history) {
    const Uuid last = history.entries().back()->id;
    if (last == lastEntry_) return;
    const bool isNew = history.currentIndex() + 1 == std::ssize(history.entries());
    lastEntry_ = last;
    const std::string& name = history.entries().back()->name;
    const bool isPaint = std::ranges::any_of(paintingTools, [&](ToolKind kind) {
        return name == fmt::format("{} Tool", descriptionOf(kind).displayName);
    });
    const ColorMath::DisplayRgb color = std::exchange(inUse_, std::nullopt).value_or(foreground());
    if (isNew && isPaint) add(color);
}

} // namespace ombrel
