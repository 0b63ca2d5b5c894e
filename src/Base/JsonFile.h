// A file of the user's that the program alone writes, a JSON object: read as a whole, and kept
// where it cannot be. A file that is unreadable or damaged is renamed, ".damaged" added and a
// number where that is taken, before anybody writes another in its place. Any thread.
#pragma once

#include "Base/Json.h"

#include <filesystem>
#include <optional>
#include <string_view>

namespace ombrel {

/// What the file holds; nothing where there is none or it was kept aside. `what` begins the
/// warning: "Settings unreadable: ...".
std::optional<Json> readJsonOrKeepAside(const std::filesystem::path& file, std::string_view what);
/// For what is JSON and yet not what it should be.
void keepAside(const std::filesystem::path& file, std::string_view what, std::string_view reason);

} // namespace ombrel
