// The actions of a document window as a table: each one's place in the menus, its words and keys,
// when it is possible and what it does. Menus, shortcuts, greying with its reasons and the search
// for commands come from the table alone.
#pragma once

#include <concepts>
#include <cstddef>
#include <span>
#include <string>
#include <type_traits>

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

/// When an action is possible. Made from null (always), from a function that says whether it is,
/// or from one that says why not, in words for the user, and null where it is possible.
class Possibility {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): rows of the table are read as they stand
    constexpr Possibility(std::nullptr_t = nullptr) {}
    template <typename Function>
        requires std::same_as<std::invoke_result_t<Function, const ActionContext&>, bool>
    constexpr Possibility(Function holds) : holds_(holds) {} // NOLINT(google-explicit-constructor)
    template <typename Function>
        requires std::same_as<std::invoke_result_t<Function, const ActionContext&>, const char*>
    constexpr Possibility(Function function) // NOLINT(google-explicit-constructor)
        : refusal_(function) {}

    /// Null where it is possible.
    const char* refusal(const ActionContext& in) const {
        if (refusal_ != nullptr) return refusal_(in);
        return holds_ == nullptr || holds_(in) ? nullptr : "There is nothing to do this to.";
    }

private:
    bool (*holds_)(const ActionContext&) = nullptr;
    const char* (*refusal_)(const ActionContext&) = nullptr;
};

struct WindowAction {
    const char* menu;       ///< "Layer/Arrange"; in the order of the table
    const char* identifier; ///< null for a line between actions
    const char* text;
    const char* shortcut = ""; ///< as QKeySequence reads it, several with "; " between
    Possibility isPossible = nullptr;
    /// Null: the entry is a menu to be filled by others.
    void (*run)(const ActionContext& in) = nullptr;
    /// The words of the moment, as "Undo Crop"; null: `text`.
    std::string (*currentText)(const ActionContext& in) = nullptr;
    bool (*isChecked)(const ActionContext& in) = nullptr; ///< null: has no check mark
};

/// All of them, from the left menu to the right one.
std::span<const WindowAction> windowActions();

// The parts of the table, a file each; where they stand in it is said in WindowActions.cpp.
std::span<const WindowAction> fileActions();
std::span<const WindowAction> editActions(); ///< undo and redo
std::span<const WindowAction> clipboardActions();
std::span<const WindowAction> settingsActions(); ///< the end of the menu Edit
std::span<const WindowAction> imageActions();
std::span<const WindowAction> layerActions();
std::span<const WindowAction> layerPropertyActions();
std::span<const WindowAction> mergeActions(); ///< the end of the menu Layer
std::span<const WindowAction> selectActions();
std::span<const WindowAction> viewActions();
std::span<const WindowAction> windowMenuActions();
std::span<const WindowAction> helpActions();

} // namespace ombrel
