// The actions of a document window as a table: each one's place in the menus, its words and keys,
// when it is possible and what it does. Menus, shortcuts and greying come from the table alone.
#pragma once

#include <span>
#include <string>

namespace ombrel {

class DocumentController;
class DocumentSession;
class DocumentWindow;
class ImageDocument;

/// What an action is done to.
struct ActionContext {
    DocumentWindow& window;
    ImageDocument& document;
    DocumentSession& session;
    DocumentController& controller;
};

struct WindowAction {
    const char* menu;       ///< "Layer/Arrange"; in the order of the table
    const char* identifier; ///< null for a line between actions
    const char* text;
    const char* shortcut = "";                             ///< as QKeySequence reads it
    bool (*isPossible)(const ActionContext& in) = nullptr; ///< null: always
    void (*run)(const ActionContext& in) = nullptr;
    /// The words of the moment, as "Undo Crop"; null: `text`.
    std::string (*currentText)(const ActionContext& in) = nullptr;
    bool (*isChecked)(const ActionContext& in) = nullptr; ///< null: has no check mark
};

/// All of them, from the left menu to the right one.
std::span<const WindowAction> windowActions();

// The parts of the table, a file each.
std::span<const WindowAction> fileActions();
std::span<const WindowAction> editActions();
std::span<const WindowAction> clipboardActions();
std::span<const WindowAction> imageActions();
std::span<const WindowAction> layerActions();
std::span<const WindowAction> viewActions();
std::span<const WindowAction> helpActions();

} // namespace ombrel
