// Which keys do what: of actions, panels and tools, by the program's own tables and what the user
// made of them. The settings keep only what differs, under "shortcuts". A look at the settings as
// they stand; main thread.
//
// Keys without Ctrl, Alt or Meta, function keys apart, are plain: they work while nobody types, and
// tools on the canvas come first. Tools have one letter each and may share it.
#pragma once

#include "Base/Settings.h"

#include <QKeySequence>
#include <QList>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel {

class ShortcutTable {
public:
    using Keys = QList<QKeySequence>;

    struct Entry {
        std::string identifier; ///< of an action; "panel.layers", "tool.brush"
        QString group;          ///< "Layer", "Tools"
        QString text;           ///< "Merge Down"
        Keys usual;
        bool isTool = false;
    };

    static constexpr const char* settingsKey = "shortcuts";
    /// In the order of the menus, then panels, then tools.
    static const std::vector<Entry>& entries();
    static const Entry* entryOf(std::string_view identifier); ///< null where there is none
    static Keys keysFrom(const QString& text);                ///< "Ctrl+Z; Ctrl+Y"
    static bool isPlain(const QKeySequence& keys);
    /// Null where the keys may stand for that entry; else why not, in words for the user.
    static const char* refusal(const Entry& entry, const QKeySequence& keys);

    explicit ShortcutTable(Settings& settings) : settings_(settings) {}

    Keys keysOf(std::string_view identifier) const;
    bool isChanged(std::string_view identifier) const;
    bool hasChanges() const;
    /// What else the keys stand for. Tools do not stand in each other's way.
    std::vector<const Entry*> conflicts(const Entry& entry, const QKeySequence& keys) const;

    void set(std::string_view identifier, const Keys& keys);
    /// The keys go to this entry alone: whatever else they stood for loses them.
    void take(std::string_view identifier, const QKeySequence& keys);
    void reset(std::string_view identifier);
    void resetAll();

    /// The letters of tools follow the settings.
    void applyToTools() const;

private:
    Json changes() const; ///< an object
    Settings& settings_;
};

/// "Ctrl+Z, Ctrl+Y" as people read them.
QString textOf(const ShortcutTable::Keys& keys);

} // namespace ombrel
