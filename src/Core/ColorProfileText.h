// The words of a profile tag: "mluc" (many languages, UTF-16) of version 4 and "desc" (one line of
// Latin letters) of version 2. The bytes come from files and may be damaged. Any thread.
#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace ombrel {

/// UTF-8 without control characters and outer spaces: American English, else any English, else the
/// first language. Empty when the tag holds no words.
std::string textOfProfileTag(std::span<const std::byte> tag);

} // namespace ombrel
