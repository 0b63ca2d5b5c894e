// The picture at another size or another resolution.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Coding/GeometryCodecs.h"
#include "Commands/Command.h"
#include "Engine/ResampleAxis.h"

namespace ombrel {

template <>
struct EnumNames<ResampleFilter> {
    static constexpr std::string_view name = "resampling filter";
    static constexpr std::array<EnumCase<ResampleFilter>, 4> cases{{
        {ResampleFilter::nearest, "nearest"},
        {ResampleFilter::bilinear, "bilinear"},
        {ResampleFilter::bicubic, "bicubic"},
        {ResampleFilter::lanczos, "lanczos"},
    }};
};

/// Resamples every layer and mask, locked and hidden ones too.
struct ImageSizeCommand {
    std::optional<PixelSize> size;    ///< absent: the pixels stay
    std::optional<double> resolution; ///< pixels per inch; absent: stays
    ResampleFilter filter = ResampleFilter::lanczos;

    static constexpr const char* nothingDone = "The image has this size already.";

    std::string name() const { return "Image Size"; }
    bool runsOnQueue() const { return size.has_value(); }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const ImageSizeCommand&) const = default;

    static constexpr auto schema() {
        using Self = ImageSizeCommand;
        return commandSchema(
            "ImageSizeCommand", "Resamples the whole image, or changes its resolution alone.",
            field("size", &Self::size, "in pixels; stays unless given"),
            field("resolution", &Self::resolution, "pixels per inch; stays unless given"),
            field("filter", &Self::filter, "how new pixels are made of old ones").orDefault());
    }
};

} // namespace ombrel
