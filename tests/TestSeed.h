// The seed of tests that try random cases: a fixed one, or OMBREL_TEST_SEED from the environment.
// Tests put it into their failure messages (SCOPED_TRACE) so that a failure can be repeated.
#pragma once

#include <cstdint>
#include <cstdlib>

namespace ombrel {

inline std::uint64_t testSeed() {
    const char* text = std::getenv("OMBREL_TEST_SEED");
    return text != nullptr ? std::strtoull(text, nullptr, 10) : 20240229u;
}

} // namespace ombrel
