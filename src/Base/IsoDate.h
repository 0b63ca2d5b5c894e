// Points in time as text by ISO 8601, in UTC to the millisecond: "2024-02-29T23:59:59.999Z".
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace ombrel {

using Date = std::chrono::sys_time<std::chrono::milliseconds>;

Date currentDate();
/// Of the years 0 to 9999, to which dates beyond are moved.
std::string isoText(Date date);
/// Exactly what isoText writes.
std::optional<Date> parseIsoDate(std::string_view text);

} // namespace ombrel
