// What a new document is to be: a preset or a size of one's own, resolution, background, profile
// and depth. Stands in the start window, and in a dialog on a document's window. What was made last
// is proposed again. Main thread.
#pragma once

#include "Base/Settings.h"
#include "Core/DocumentState.h"

#include <QColor>
#include <QWidget>

#include <functional>

class QComboBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;

namespace ombrel {

class LengthField;

class NewDocumentForm final : public QWidget {
public:
    using Make = std::function<void(const Canvas&, const DocumentState::Background&)>;

    /// `settings` outlives this.
    NewDocumentForm(Settings& settings, Make make, QWidget* parent);

    /// In a dialog of that window; one that is there already comes to the front.
    static void showOn(QWidget& window, Settings& settings, const Make& make);

    Canvas canvas() const;
    DocumentState::Background background() const;
    void create(); ///< as the button does

private:
    void makePresets();
    void makeChoices();
    QWidget* sizeFields();
    void arrange();
    void takePreset(int index);
    void sizeEdited();
    void unitChanged();
    void resolutionChanged();
    void turn();
    void chooseColor();
    void showColor();
    void showSummary();
    void remember();
    void recall();

    Settings& settings_;
    Make make_;
    QComboBox* preset_;
    LengthField* width_;
    LengthField* height_;
    QComboBox* unit_;
    QDoubleSpinBox* resolution_;
    QComboBox* background_;
    QPushButton* colorButton_;
    QComboBox* profile_;
    QComboBox* depth_;
    QLabel* summary_;
    QPushButton* create_;
    QColor color_{0x80, 0x80, 0x80};
};

} // namespace ombrel
