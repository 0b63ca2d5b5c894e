// Bytes as text in the alphabet of RFC 4648, with padding and without line breaks. Any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel {

std::string base64Text(std::span<const std::byte> bytes);
/// Strict: nothing where the text holds another character, or is cut or padded wrongly.
std::optional<std::vector<std::byte>> bytesOfBase64(std::string_view text);

} // namespace ombrel
