#include "Core/Stored/StoredUnion.h"

#include <fmt/format.h>

namespace ombrel::Stored {

Result<Tagged> decodeTag(const Json& json) {
    if (!json.is_object()) return expected("an object");
    if (json.size() != 1) return fault("Invalid number of keys found, expected one.");
    const auto only = json.begin();
    return Tagged{only.key(), *only};
}

std::unexpected<Error> unknownCase(std::string_view name) {
    return fault(fmt::format("\"{}\" is not known here", name));
}

Result<std::string_view> decodeName(const Json& json) {
    if (json.is_string()) return json.get_ref<const std::string&>();
    if (!json.is_object()) return expected("a name");
    const Result<Tagged> tagged = decodeTag(json);
    if (!tagged) return std::unexpected(tagged.error());
    return tagged->name;
}

} // namespace ombrel::Stored
