// Vector pictures as importers give them, before they become layers: groups, shapes, type and
// images, with masks. Plain values in artwork units, y downward; any thread.
#pragma once

#include "Core/BlendMode.h"
#include "Core/ShapeContent.h"
#include "Core/TextContent.h"
#include "Core/TileGrid.h"

#include <string>
#include <variant>
#include <vector>

namespace ombrel {

struct VectorMask;

struct VectorImage {
    TileGrid pixels{TileFormat::rgba16Float};
    PixelSize size;
    AffineTransform transform; ///< from image pixels to artwork units

    bool operator==(const VectorImage&) const = default;
};

struct VectorArtwork {
    struct Item {
        /// A group holds its items from bottom to top.
        struct Content {
            std::variant<std::vector<Item>, ShapeContent, TextContent, VectorImage> value;

            bool operator==(const Content& other) const;
        };

        std::string name;
        Content content;
        double opacity = 1;
        BlendMode blendMode = BlendMode::normal;
        std::vector<VectorMask> masks;

        bool operator==(const Item& other) const;
    };

    RealSize size;
    std::vector<Item> items;        ///< bottom to top
    std::vector<std::string> notes; ///< what was lost

    bool operator==(const VectorArtwork&) const;
};

struct VectorMask {
    /// What of its items is the mask's value.
    enum class Mode : std::uint8_t { luminance, alpha };

    Mode mode = Mode::luminance;
    std::vector<VectorArtwork::Item> items;

    bool operator==(const VectorMask&) const;
};

} // namespace ombrel
