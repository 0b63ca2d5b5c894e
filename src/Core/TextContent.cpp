#include "Core/TextContent.h"

#include "Base/Utf8.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace ombrel {

namespace {

constexpr std::size_t longestName = 30; // characters

bool endsLine(char32_t c) {
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isBlank(char32_t c) {
    return c == 0x09 || c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) ||
           c == 0x202F || c == 0x205F || c == 0x3000;
}

// The first line without blanks at its ends.
std::string_view trimmedFirstLine(std::string_view text) {
    std::size_t begin = 0;
    std::size_t end = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Utf8::CodePoint next = Utf8::first(text.substr(at));
        if (endsLine(next.value)) break;
        at += next.bytes;
        if (!isBlank(next.value))
            end = at;
        else if (end == 0)
            begin = at;
    }
    return end == 0 ? std::string_view() : text.substr(begin, end - begin);
}

// By where they begin; of those that begin together the first in the list comes first.
std::vector<const TextRun*> inOrder(const std::optional<std::vector<TextRun>>& runs) {
    std::vector<const TextRun*> ordered;
    if (!runs) return ordered;
    ordered.reserve(runs->size());
    for (const TextRun& run : *runs)
        ordered.push_back(&run);
    std::ranges::sort(ordered, {},
                      [](const TextRun* run) { return std::pair(run->location, run); });
    return ordered;
}

} // namespace

std::vector<TextRun> TextContent::effectiveRuns() const {
    const std::int64_t length = Utf8::utf16Length(string);
    std::vector<TextRun> covering;
    std::int64_t covered = 0;
    const auto add = [&](std::int64_t upTo, const TextStyle& runStyle) {
        if (upTo <= covered) return;
        covering.push_back({covered, upTo - covered, runStyle});
        covered = upTo;
    };
    for (const TextRun* run : inOrder(runs)) {
        if (run->length <= 0 || run->location >= length) continue;
        std::int64_t end = length;
        if (__builtin_add_overflow(run->location, run->length, &end)) end = length;
        if (end <= covered) continue;
        add(run->location, style);
        add(std::min(end, length), run->style);
    }
    add(length, style);
    return covering;
}

double TextContent::maximumSize() const {
    const std::vector<TextRun> covering = effectiveRuns();
    if (covering.empty()) return style.size;
    double largest = covering.front().style.size;
    for (const TextRun& run : covering)
        largest = std::max(largest, run.style.size);
    return largest;
}

std::string TextContent::defaultName() const {
    const std::string_view line = trimmedFirstLine(string);
    if (line.empty()) return "Text";
    const std::size_t kept = Utf8::prefixLength(line, longestName);
    std::string name(line.substr(0, kept));
    if (kept < line.size()) name += "…";
    return name;
}

} // namespace ombrel
