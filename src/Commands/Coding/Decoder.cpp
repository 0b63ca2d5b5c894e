#include "Commands/Coding/Decoder.h"

#include <fmt/core.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace ombrel {

Decoder::Place::Place(Decoder& decoder, std::string_view field)
    : path_(decoder.path_), length_(path_.size()) {
    if (!path_.empty()) path_ += '.';
    path_ += field;
}

Decoder::Place::Place(Decoder& decoder, std::size_t index)
    : path_(decoder.path_), length_(path_.size()) {
    path_ += fmt::format("[{}]", index);
}

std::unexpected<JsonError> Decoder::mustBe(std::string_view what) const {
    return fault(fmt::format("must be {}", what));
}

std::unexpected<JsonError> Decoder::fault(std::string_view what) const {
    if (path_.empty()) return std::unexpected(JsonError{fmt::format("the command {}", what)});
    return std::unexpected(JsonError{fmt::format("field \"{}\" {}", path_, what)});
}

std::optional<JsonError> Decoder::refuseOtherFields(const Json& json,
                                                    std::span<const std::string_view> names) const {
    if (!json.is_object()) return mustBe("an object").error();
    for (const auto& [key, value] : json.items()) {
        if (std::ranges::find(names, std::string_view(key)) != names.end()) continue;
        const std::string where = path_.empty() ? key : path_ + '.' + key;
        return JsonError{
            fmt::format("unknown field \"{}\": there are {}", where, fmt::join(names, ", "))};
    }
    return std::nullopt;
}

bool Decoder::claim(LayerID id) {
    if (id == state().root->id || state().find(id) != nullptr) return false;
    return claimed_.insert(id).second;
}

LayerID Decoder::makeID() {
    for (;;) {
        const LayerID id = context_.newIDs.next();
        if (claim(id)) return id;
    }
}

const Json* fieldOf(const Json& object, std::string_view name) {
    const auto found = object.find(name);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

} // namespace ombrel
