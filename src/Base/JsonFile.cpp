#include "Base/JsonFile.h"

#include "Base/AtomicFile.h"
#include "Base/Log.h"

#include <cerrno>
#include <string>
#include <utility>

namespace ombrel {

namespace {

constexpr std::uint64_t largestFile = 64 << 20;

std::filesystem::path freeDamagedName(const std::filesystem::path& file) {
    std::filesystem::path name = file.string() + ".damaged";
    std::error_code error;
    for (int number = 2; number <= 100 && std::filesystem::exists(name, error); ++number)
        name = file.string() + ".damaged-" + std::to_string(number);
    return name;
}

} // namespace

void keepAside(const std::filesystem::path& file, std::string_view what, std::string_view reason) {
    const std::filesystem::path name = freeDamagedName(file);
    std::error_code error;
    std::filesystem::rename(file, name, error);
    Log::warning("{} unreadable: {}. {} {}", what, reason, error ? "Can't rename to" : "Kept as",
                 name.string());
}

std::optional<Json> readJsonOrKeepAside(const std::filesystem::path& file, std::string_view what) {
    const auto text = readSmallFile(file, largestFile);
    if (!text) {
        // Neither the file nor a folder on the way to it.
        if (text.error().code != ENOENT && text.error().code != ENOTDIR)
            keepAside(file, what, text.error().text());
        return std::nullopt;
    }
    auto json = parseJson(*text);
    if (json && json->is_object()) return std::move(*json);
    keepAside(file, what, json ? "no JSON object" : json.error().message);
    return std::nullopt;
}

} // namespace ombrel
