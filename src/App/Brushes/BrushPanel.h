// The brushes to choose from and all settings of the brush in use: of the active tool, or of the
// brush-like tool that was active last. Below them a stroke shows what they come to. Main thread
// only.
#pragma once

#include "App/Brushes/BrushBinding.h"
#include "App/Brushes/BrushPreviews.h"
#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"

#include <QImage>
#include <QWidget>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QLabel;
class QMenu;
class QToolButton;
class QVBoxLayout;

namespace ombrel {

class BrushPresetGrid;
class BrushTipDial;
class BrushTool;
struct BrushPreset;
struct BrushTipImage;

class BrushPanel : public QWidget {
public:
    explicit BrushPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~BrushPanel() override;

    BrushTool* tool() const { return tool_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* buildPresets();
    QWidget* buildButtons();
    QWidget* buildSettings();
    QWidget* buildTip();
    void buildSection(const BrushSection& section, QVBoxLayout& column);
    void follow();
    void setTool(BrushTool& tool);
    void refresh();
    void refreshButtons();

    void choose(const BrushPreset& preset);
    void keep();
    void update();
    void rename();
    void remove();
    void move(int by);
    void fillMenu(QMenu& menu);
    void fillTipMenu();
    void importTip();
    void takeTip(const std::filesystem::path& file, std::expected<BrushTipImage, std::string> tip);
    /// The brush of the user that the keyboard is on.
    std::optional<BrushPreset> ownPreset() const;

    PanelContext context_;
    BrushTool* tool_ = nullptr; ///< lives as long as the session
    BrushBinding binding_;
    BrushPresetGrid* grid_ = nullptr;
    BrushTipDial* dial_ = nullptr;
    QToolButton* tipButton_ = nullptr;
    QWidget* preview_;
    BrushPreviews previews_;
    QImage shown_; ///< the stroke, until the next is ready
    std::vector<QWidget*> hardnessWidgets_;
    Connection toolChanges_;
    Connection settingsChanges_;
    Connection presetChanges_;
    Connection problems_;
    std::shared_ptr<BrushPanel*> self_; ///< answers that come too late find nobody
};

} // namespace ombrel
