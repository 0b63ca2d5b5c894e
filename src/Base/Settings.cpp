#include "Base/Settings.h"

#include "Base/AtomicFile.h"
#include "Base/JsonFile.h"
#include "Base/Log.h"
#include "Base/XdgFolders.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <future>
#include <optional>

namespace ombrel {

namespace {

constexpr std::string_view inWarnings = "Settings";
/// A slider that is being dragged is saved once it rests.
constexpr auto saveDelay = std::chrono::milliseconds(500);

std::vector<std::string> lastOf(std::vector<std::string> list, std::size_t count) {
    if (list.size() > count)
        list.erase(list.begin(), list.end() - static_cast<std::ptrdiff_t>(count));
    return list;
}

Json storedChoice(const ChoiceSetting& key, std::string_view value) {
    const bool isKnown =
        !value.empty() && std::ranges::find(key.choices, value) != key.choices.end();
    return std::string(isKnown ? value : key.choices.front());
}

} // namespace

Settings& Settings::shared() {
    static Settings* const settings =
        new Settings(XdgFolders::fromEnvironment().config / "settings.json");
    return *settings;
}

Settings::Settings(std::filesystem::path file)
    : file_(std::move(file)),
      values_(readJsonOrKeepAside(file_, inWarnings).value_or(Json::object())) {}

Settings::~Settings() {
    {
        const LockGuard lock(mutex_);
        saveTimer_.cancel();
    }
    [[maybe_unused]] const auto saved = save(); // a failure is told in the log
}

Json Settings::json(std::string_view name) const {
    const LockGuard lock(mutex_);
    const auto found = values_.find(name);
    return found == values_.end() ? Json() : *found;
}

std::int64_t Settings::get(const IntegerSetting& key) const {
    const Json value = json(key.name);
    if (!value.is_number()) return key.defaultValue;
    const double number = std::clamp(value.get<double>(), static_cast<double>(key.minimum),
                                     static_cast<double>(key.maximum));
    return static_cast<std::int64_t>(number);
}

double Settings::get(const NumberSetting& key) const {
    const Json value = json(key.name);
    if (!value.is_number()) return key.defaultValue;
    return std::clamp(value.get<double>(), key.minimum, key.maximum);
}

bool Settings::get(const BoolSetting& key) const {
    const Json value = json(key.name);
    return value.is_boolean() ? value.get<bool>() : key.defaultValue;
}

std::string Settings::get(const ChoiceSetting& key) const {
    const Json value = json(key.name);
    return storedChoice(key, value.is_string() ? value.get_ref<const std::string&>() : "");
}

std::string Settings::get(const TextSetting& key) const {
    const Json value = json(key.name);
    return value.is_string() ? value.get<std::string>() : std::string();
}

std::vector<std::string> Settings::get(const TextListSetting& key) const {
    const Json value = json(key.name);
    std::vector<std::string> list;
    if (!value.is_array()) return list;
    for (const Json& element : value) {
        if (element.is_string()) list.push_back(element.get<std::string>());
    }
    return lastOf(std::move(list), key.maximumCount);
}

void Settings::set(const IntegerSetting& key, std::int64_t value) {
    setJson(key.name, std::clamp(value, key.minimum, key.maximum));
}

void Settings::set(const NumberSetting& key, double value) {
    setJson(key.name,
            std::isnan(value) ? key.defaultValue : std::clamp(value, key.minimum, key.maximum));
}

void Settings::set(const BoolSetting& key, bool value) {
    setJson(key.name, value);
}

void Settings::set(const ChoiceSetting& key, std::string_view value) {
    setJson(key.name, storedChoice(key, value));
}

void Settings::set(const TextSetting& key, std::string_view value) {
    setJson(key.name, value.empty() ? Json() : Json(std::string(value)));
}

void Settings::set(const TextListSetting& key, std::vector<std::string> value) {
    setJson(key.name, lastOf(std::move(value), key.maximumCount));
}

void Settings::setJson(std::string_view name, const Json& value) {
    ChangeSignal* signal = nullptr; // signals live as long as the settings
    {
        const LockGuard lock(mutex_);
        const auto found = values_.find(name);
        const bool isStored = found != values_.end();
        if (isStored ? *found == value : value.is_null()) return;
        if (value.is_null())
            values_.erase(found);
        else
            values_[std::string(name)] = value;
        changed_.emplace(name);
        scheduleSave();
        if (const auto known = signals_.find(name); known != signals_.end()) {
            signal = known->second.get();
        }
    }
    if (signal != nullptr) signal->emit(value);
}

Connection Settings::onChange(std::string_view name, std::function<void(const Json&)> callback) {
    const LockGuard lock(mutex_);
    auto found = signals_.find(name);
    if (found == signals_.end()) {
        found = signals_.emplace(name, std::make_unique<ChangeSignal>()).first;
    }
    return found->second->connect(std::move(callback));
}

void Settings::scheduleSave() {
    if (isSaveScheduled_) return;
    isSaveScheduled_ = true;
    saveTimer_.startOnce(saveDelay, writer_,
                         [this] { [[maybe_unused]] const auto written = writeChanges(); });
}

std::expected<void, FileError> Settings::save() {
    const auto result = std::make_shared<std::promise<std::expected<void, FileError>>>();
    writer_.post([this, result] { result->set_value(writeChanges()); });
    return result->get_future().get();
}

/// On the writer.
std::expected<void, FileError> Settings::writeChanges() {
    std::map<std::string, Json> changes;
    Json all;
    {
        const LockGuard lock(mutex_);
        isSaveScheduled_ = false;
        for (const std::string& name : changed_) {
            const auto found = values_.find(name);
            changes.emplace(name, found == values_.end() ? Json() : *found);
        }
        changed_.clear();
        all = values_;
    }
    if (changes.empty()) return {};

    Json written = readJsonOrKeepAside(file_, inWarnings).value_or(std::move(all));
    for (auto& [name, value] : changes) {
        if (value.is_null())
            written.erase(name);
        else
            written[name] = std::move(value);
    }
    auto result = createPrivateFolder(file_.parent_path());
    if (result) result = writeFileAtomically(file_, indentedText(written) + "\n");
    tell(result);
    if (!result) {
        const LockGuard lock(mutex_);
        for (const auto& change : changes)
            changed_.insert(change.first); // next time
    }
    return result;
}

/// On the writer. A home that cannot be written to is told once, not at every change.
void Settings::tell(const std::expected<void, FileError>& written) {
    std::string failure = written ? std::string() : written.error().text();
    if (!failure.empty() && failure != toldFailure_)
        Log::warning("Couldn't save settings: {}", failure);
    toldFailure_ = std::move(failure);
}

} // namespace ombrel
