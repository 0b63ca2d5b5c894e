#include "IO/ImageFormat.h"

#include <algorithm>

namespace ombrel {

namespace {

constexpr char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalIgnoringCase(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, lowered, lowered);
}

} // namespace

std::optional<ImageFormat> imageFormatNamed(std::string_view name) {
    for (const ImageFormatTraits& traits : imageFormats) {
        if (equalIgnoringCase(traits.name, name)) return traits.format;
    }
    return std::nullopt;
}

std::optional<ImageFormat> imageFormatOfExtension(std::string_view extension) {
    if (extension.empty()) return std::nullopt;
    for (const ImageFormatTraits& traits : imageFormats) {
        for (const std::string_view candidate : traits.extensions) {
            if (equalIgnoringCase(candidate, extension)) return traits.format;
        }
    }
    return std::nullopt;
}

} // namespace ombrel
