#include "Base/IsoDate.h"

#include <algorithm>
#include <array>
#include <fmt/core.h>

namespace ombrel {

namespace {

using namespace std::chrono;

constexpr Date first = sys_days(year(0) / January / 1);
constexpr Date last = sys_days(year(10000) / January / 1) - milliseconds(1);
constexpr std::string_view pattern = "dddd-dd-ddTdd:dd:dd.dddZ";

/// The numbers of a text of this form.
std::optional<std::array<unsigned, 7>> numbersOf(std::string_view text) {
    if (text.size() != pattern.size()) return std::nullopt;
    std::array<unsigned, 7> numbers{};
    std::size_t which = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == 'd' ? !isDigit : text[i] != pattern[i]) return std::nullopt;
        if (pattern[i] != 'd') {
            ++which;
        } else {
            numbers[which] = numbers[which] * 10 + static_cast<unsigned>(text[i] - '0');
        }
    }
    return numbers;
}

} // namespace

Date currentDate() {
    return floor<milliseconds>(system_clock::now());
}

std::string isoText(Date date) {
    date = std::clamp(date, first, last);
    const sys_days midnight = floor<days>(date);
    const year_month_day day(midnight);
    const hh_mm_ss time(date - midnight);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", static_cast<int>(day.year()),
                       static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                       time.hours().count(), time.minutes().count(), time.seconds().count(),
                       time.subseconds().count());
}

std::optional<Date> parseIsoDate(std::string_view text) {
    const auto numbers = numbersOf(text);
    if (!numbers) return std::nullopt;
    const auto& [y, m, d, hour, minute, second, millisecond] = *numbers;
    const year_month_day date(year(static_cast<int>(y)), month(m), day(d));
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return sys_days(date) + hours(hour) + minutes(minute) + seconds(second) +
           milliseconds(millisecond);
}

} // namespace ombrel
