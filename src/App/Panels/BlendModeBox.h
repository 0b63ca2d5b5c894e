// A box to choose a blend mode from, in their groups. While its list is open the mode under the
// pointer is offered for a look; what is offered last and not chosen is withdrawn. Main thread
// only.
#pragma once

#include "Core/BlendMode.h"

#include <QComboBox>
#include <functional>

namespace ombrel {

/// Whether a line is drawn after it.
bool endsBlendModeGroup(BlendMode mode);

class BlendModeBox : public QComboBox {
public:
    explicit BlendModeBox(QWidget* parent = nullptr);

    std::function<void(BlendMode)> onLook;   ///< the list is open and this one is marked
    std::function<void(BlendMode)> onChoose; ///< by the list, a key or the wheel
    std::function<void()> onDismiss;         ///< the list closed and nothing was chosen

    void setMode(BlendMode mode);
    BlendMode mode() const;
    /// Passing through has a meaning only for groups.
    void setOffersPassThrough(bool offers);
    bool isListOpen() const { return isListOpen_; }

    void showPopup() override;
    void hidePopup() override;

protected:
    void changeEvent(QEvent* event) override;

private:
    BlendMode modeAt(int place) const;
    void endList();

    bool isListOpen_ = false;
    bool isChosen_ = false;
};

} // namespace ombrel
