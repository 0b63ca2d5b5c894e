// Where tests and benchmarks find what they read, run and leave behind. The paths of the checkout
// stand in one source that the build generates, so that all others compile to the same everywhere
// and come from the compiler cache.
#pragma once

#include <filesystem>

namespace ombrel::TestPlaces {

std::filesystem::path data();
std::filesystem::path golden();
std::filesystem::path docs();
std::filesystem::path packaging();
std::filesystem::path sample();         ///< a small picture
std::filesystem::path corpus();         ///< real files with references; may be absent
std::filesystem::path screenshots();    ///< to be made where something is put there
std::filesystem::path program();        ///< ombrel
std::filesystem::path survivalHelper(); ///< another process for the tests that kill one

} // namespace ombrel::TestPlaces
