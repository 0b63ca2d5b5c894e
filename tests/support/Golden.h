// Golden images: pictures in tests/golden that what is computed is compared with. They are PAM
// files of four 16-bit channels, which any viewer of the netpbm family opens, so that no codec is
// needed. On a difference beyond the tolerance the test fails and writes the picture it got and one
// of the differences to OMBREL_GOLDEN_OUT (or the temporary directory). With OMBREL_ACCEPT_GOLDEN=1
// in the environment what is computed becomes the new golden image.
#pragma once

#include "support/TestPlaces.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace ombrel {

struct GoldenImage {
    int width = 0;
    int height = 0;
    std::vector<std::uint16_t> samples; ///< red, green, blue, alpha of each pixel, row by row
};

namespace GoldenFiles {

namespace fs = std::filesystem;

inline void writePam(const fs::path& path, const GoldenImage& image) {
    std::ofstream file(path, std::ios::binary);
    file << "P7\nWIDTH " << image.width << "\nHEIGHT " << image.height
         << "\nDEPTH 4\nMAXVAL 65535\nTUPLTYPE RGB_ALPHA\nENDHDR\n";
    for (const std::uint16_t sample : image.samples) {
        file.put(static_cast<char>(sample >> 8));
        file.put(static_cast<char>(sample & 0xFF));
    }
}

inline std::optional<GoldenImage> readPam(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    GoldenImage image;
    for (std::string line; std::getline(file, line) && line != "ENDHDR";) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == "WIDTH") words >> image.width;
        if (key == "HEIGHT") words >> image.height;
    }
    if (!file || image.width <= 0 || image.height <= 0) return std::nullopt;
    image.samples.resize(4 * static_cast<std::size_t>(image.width) *
                         static_cast<std::size_t>(image.height));
    for (std::uint16_t& sample : image.samples) {
        const int high = file.get();
        const int low = file.get();
        if (low < 0) return std::nullopt;
        sample = static_cast<std::uint16_t>(high << 8 | low);
    }
    return image;
}

inline fs::path outputFolder() {
    const char* folder = std::getenv("OMBREL_GOLDEN_OUT");
    return folder != nullptr ? fs::path(folder) : fs::temp_directory_path();
}

} // namespace GoldenFiles

/// Empty where `image` is within `tolerance` (in steps of 1/65535 a sample) of the golden image of
/// that name; otherwise what is wrong, in words.
inline std::string goldenDifference(const std::string& name, const GoldenImage& image,
                                    int tolerance) {
    const std::filesystem::path path = TestPlaces::golden() / (name + ".pam");
    const char* accept = std::getenv("OMBREL_ACCEPT_GOLDEN");
    if (accept != nullptr && std::string(accept) == "1") {
        std::filesystem::create_directories(path.parent_path());
        GoldenFiles::writePam(path, image);
        return {};
    }
    const std::filesystem::path got = GoldenFiles::outputFolder() / (name + "-got.pam");
    const std::optional<GoldenImage> golden = GoldenFiles::readPam(path);
    if (!golden || golden->width != image.width || golden->height != image.height) {
        GoldenFiles::writePam(got, image);
        return "no golden image " + path.string() + " of this size; got " + got.string();
    }
    GoldenImage difference = image;
    int worst = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < image.samples.size(); ++i) {
        const int distance = std::abs(int{image.samples[i]} - int{golden->samples[i]});
        worst = std::max(worst, distance);
        count += distance > tolerance ? 1 : 0;
        // Differences are small: they are shown sixteen times as strong, on opaque ground.
        difference.samples[i] =
            static_cast<std::uint16_t>(i % 4 == 3 ? 65535 : std::min(16 * distance, 65535));
    }
    if (count == 0) return {};
    GoldenFiles::writePam(got, image);
    const std::filesystem::path shown = GoldenFiles::outputFolder() / (name + "-difference.pam");
    GoldenFiles::writePam(shown, difference);
    return std::to_string(count) + " samples differ, by up to " + std::to_string(worst) +
           " of 65535; got " + got.string() + ", differences in " + shown.string();
}

} // namespace ombrel
