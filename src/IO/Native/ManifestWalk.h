// Reading a parsed manifest step by step, with the way to where the reader stands, so that every
// fault names its place: "nodes[0].root.children[2].pixels.tiles[7].x: a whole number of 32 bits
// was expected". The manifest is not trusted. One thread.
#pragma once

#include "Base/Json.h"
#include "Core/Stored/StoredForm.h"

#include <simdjson.h>

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel::NativeFormat {

using ManifestElement = simdjson::dom::element;

/// What is wrong and where, as the user reads it.
template <typename T>
using FromManifest = std::expected<T, std::string>;

class ManifestWalk {
public:
    /// For the scope, faults name this field (or element) of what they named before.
    class Place {
    public:
        Place(ManifestWalk& walk, std::string_view key) : walk_(walk) {
            walk_.steps_.push_back({key, 0});
        }
        Place(ManifestWalk& walk, std::size_t index) : walk_(walk) {
            walk_.steps_.push_back({{}, index});
        }
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place() { walk_.steps_.pop_back(); }

    private:
        ManifestWalk& walk_;
    };

    /// The value of a key; nothing where it is absent or null, or where this is no object.
    static std::optional<ManifestElement> find(ManifestElement object, std::string_view key);

    /// read(ManifestElement) -> FromManifest<T> for the value of a key that has to be there.
    template <typename Read>
    auto field(ManifestElement object, std::string_view key, Read&& read)
        -> std::invoke_result_t<Read, ManifestElement> {
        if (!object.is_object()) return wanted("an object");
        const Place place(*this, key);
        const std::optional<ManifestElement> value = find(object, key);
        if (!value) return fault("is missing");
        return read(*value);
    }
    /// visit(ManifestElement) -> FromManifest<void> for every element, up to the first fault.
    template <typename Visit>
    FromManifest<void> forEach(ManifestElement list, Visit&& visit) {
        simdjson::dom::array array;
        if (list.get(array) != simdjson::SUCCESS) return wanted("a list");
        std::size_t index = 0;
        for (const ManifestElement each : array) {
            const Place place(*this, index++);
            if (FromManifest<void> done = visit(each); !done) return done;
        }
        return {};
    }

    FromManifest<std::int64_t> integer(ManifestElement element);
    FromManifest<std::int32_t> integer32(ManifestElement element);
    /// Also "inf", "-inf" and "nan"; no other number beyond the range of floats.
    FromManifest<float> number32(ManifestElement element);
    FromManifest<bool> boolean(ManifestElement element);
    FromManifest<std::string> text(ManifestElement element);

    std::string path() const;
    std::unexpected<std::string> wanted(std::string_view what) const; ///< "... was expected"
    std::unexpected<std::string> fault(std::string_view words) const;
    /// What a small value here holds is at fault.
    std::unexpected<std::string> fault(const Stored::Error& error) const;

private:
    struct Step {
        std::string_view key; ///< empty for an element of a list
        std::size_t index;
    };
    std::vector<Step> steps_;
};

/// An element with everything in it, for values that are small.
Json jsonOf(ManifestElement element);

} // namespace ombrel::NativeFormat
