// Walking over UTF-8. Any bytes are accepted: one that begins no whole sequence counts as one
// U+FFFD. Pure functions; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ombrel::Utf8 {

struct CodePoint {
    char32_t value = 0;
    std::size_t bytes = 0; ///< that it takes; 0 only at the end
};

/// The first of the text.
CodePoint first(std::string_view text);

/// How many 16-bit units the text takes in UTF-16.
std::int64_t utf16Length(std::string_view text);

/// How many bytes the first `count` characters take, as people count them: marks stay with their
/// base, joined emoji and flags are one. By the main rules of Unicode's text segmentation (UAX 29),
/// not by its tables: some scripts' clusters count as several.
std::size_t prefixLength(std::string_view text, std::size_t count);

} // namespace ombrel::Utf8
