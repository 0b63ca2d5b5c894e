// Makes a brush tip of a picture: dark paints, white does not; of a picture with transparency, what
// is opaque paints. Empty margins are cut off, and a larger side than 1024 pixels is brought down
// to that.
#pragma once

#include "Core/TileStore.h"
#include "Engine/BrushTipImage.h"
#include "IO/ImageImporter.h"

#include <expected>
#include <filesystem>
#include <string>

namespace ombrel {

inline constexpr std::int64_t largestTipSide = 1024;

/// A fresh id. Any thread but the main one. The error is in words for the user: also where nothing
/// of the picture would paint.
std::expected<BrushTipImage, std::string> importBrushTip(const std::filesystem::path& path,
                                                         TileStore& store);
std::expected<BrushTipImage, std::string> brushTipOf(const ImportedImage& image, TileStore& store);

} // namespace ombrel
