#include "App/Shell/ShortcutTable.h"

#include "App/Look/QtText.h"
#include "App/Panels/PanelCatalog.h"
#include "App/Shell/WindowAction.h"
#include "Tools/ToolLetters.h"

#include <algorithm>

namespace ombrel {

namespace {

using Entry = ShortcutTable::Entry;
using Keys = ShortcutTable::Keys;

QString plain(const char* text) {
    return QString(text).remove('&').remove("…");
}

std::vector<Entry> makeEntries() {
    std::vector<Entry> all;
    for (const WindowAction& action : windowActions()) {
        if (action.identifier == nullptr || action.run == nullptr) continue;
        all.push_back({action.identifier, plain(action.menu).section('/', 0, 0), plain(action.text),
                       ShortcutTable::keysFrom(action.shortcut)});
    }
    for (const PanelDescription& panel : panelCatalog()) {
        all.push_back({std::string("panel.") + panel.identifier, "Panels", panel.title,
                       ShortcutTable::keysFrom(panel.shortcut)});
    }
    for (const ToolDescription& tool : toolDescriptions) {
        if (isHidden(tool.kind)) continue;
        const QString letter = tool.letter ? QString(QLatin1Char(*tool.letter)).toUpper() : "";
        all.push_back({"tool." + std::string(tool.identifier), "Tools", toQt(tool.displayName),
                       ShortcutTable::keysFrom(letter), true});
    }
    return all;
}

bool isLetter(const QKeySequence& keys) {
    return keys.count() == 1 && keys[0].keyboardModifiers() == Qt::NoModifier &&
           keys[0].key() >= Qt::Key_A && keys[0].key() <= Qt::Key_Z;
}

} // namespace

const std::vector<Entry>& ShortcutTable::entries() {
    static const std::vector<Entry> all = makeEntries();
    return all;
}

Keys ShortcutTable::keysFrom(const QString& text) {
    Keys keys = QKeySequence::listFromString(text);
    keys.removeAll(QKeySequence()); // what the toolkit makes of no text
    return keys;
}

const Entry* ShortcutTable::entryOf(std::string_view identifier) {
    const auto found = std::ranges::find(entries(), identifier, &Entry::identifier);
    return found != entries().end() ? &*found : nullptr;
}

bool ShortcutTable::isPlain(const QKeySequence& keys) {
    if (keys.isEmpty()) return false;
    const QKeyCombination first = keys[0];
    const bool isFunction = first.key() >= Qt::Key_F1 && first.key() <= Qt::Key_F35;
    const auto held = first.keyboardModifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier);
    return !isFunction && held == Qt::NoModifier;
}

const char* ShortcutTable::refusal(const Entry& entry, const QKeySequence& keys) {
    if (keys.isEmpty()) return nullptr;
    if (entry.isTool) return isLetter(keys) ? nullptr : "A tool has a single letter.";
    if (!isPlain(keys)) return nullptr;
    const Qt::Key key = keys[0].key();
    const bool isFree =
        (key >= Qt::Key_A && key <= Qt::Key_Z) || key == Qt::Key_Tab || key == Qt::Key_Backtab;
    return isFree ? nullptr : "The canvas and lists need this key for themselves.";
}

Json ShortcutTable::changes() const {
    Json stored = settings_.json(settingsKey);
    return stored.is_object() ? stored : Json::object();
}

Keys ShortcutTable::keysOf(std::string_view identifier) const {
    const Json changed = changes();
    const Entry* entry = entryOf(identifier);
    const auto found = changed.find(identifier);
    if (found != changed.end() && found->is_string())
        return ShortcutTable::keysFrom(toQt(found->get<std::string>()));
    return entry != nullptr ? entry->usual : Keys();
}

bool ShortcutTable::isChanged(std::string_view identifier) const {
    return changes().contains(identifier);
}

bool ShortcutTable::hasChanges() const {
    return !changes().empty();
}

std::vector<const Entry*> ShortcutTable::conflicts(const Entry& entry,
                                                   const QKeySequence& keys) const {
    std::vector<const Entry*> found;
    if (keys.isEmpty()) return found;
    for (const Entry& other : entries()) {
        if (&other == &entry || (other.isTool && entry.isTool)) continue;
        if (keysOf(other.identifier).contains(keys)) found.push_back(&other);
    }
    return found;
}

void ShortcutTable::set(std::string_view identifier, const Keys& keys) {
    const Entry* entry = entryOf(identifier);
    if (entry == nullptr) return;
    Json changed = changes();
    if (keys == entry->usual)
        changed.erase(std::string(identifier));
    else
        changed[std::string(identifier)] = fromQt(QKeySequence::listToString(keys));
    settings_.setJson(settingsKey, changed.empty() ? Json() : changed);
}

void ShortcutTable::take(std::string_view identifier, const QKeySequence& keys) {
    const Entry* entry = entryOf(identifier);
    if (entry == nullptr) return;
    for (const Entry* other : conflicts(*entry, keys)) {
        Keys left = keysOf(other->identifier);
        left.removeAll(keys);
        set(other->identifier, left);
    }
    set(identifier, keys.isEmpty() ? Keys() : Keys{keys});
}

void ShortcutTable::reset(std::string_view identifier) {
    const Entry* entry = entryOf(identifier);
    if (entry != nullptr) set(identifier, entry->usual);
}

void ShortcutTable::resetAll() {
    settings_.setJson(settingsKey, Json());
}

void ShortcutTable::applyToTools() const {
    ToolLetters::Changes letters;
    for (const ToolDescription& tool : toolDescriptions) {
        const std::string identifier = "tool." + std::string(tool.identifier);
        if (!isChanged(identifier)) continue;
        const Keys keys = keysOf(identifier);
        const bool hasLetter = !keys.isEmpty() && isLetter(keys.first());
        letters[tool.kind] =
            hasLetter ? std::optional(static_cast<char>('a' + keys.first()[0].key() - Qt::Key_A))
                      : std::nullopt;
    }
    ToolLetters::change(std::move(letters));
}

QString textOf(const Keys& keys) {
    return QKeySequence::listToString(keys, QKeySequence::NativeText).replace("; ", ", ");
}

} // namespace ombrel
