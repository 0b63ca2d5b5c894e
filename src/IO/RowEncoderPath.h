// The way from pixels to the samples of one layout that a RowEncoder runs. Internal to row
// conversion. A path is immutable; any thread.
#pragma once

#include "Base/Half.h"
#include "IO/RowChannels.h"
#include "IO/SampleLayout.h"

#include <cstddef>
#include <memory>

namespace ombrel {

class RowEncoderPath {
public:
    virtual ~RowEncoderPath() = default;
    virtual void convert(const Half* pixels, std::size_t pixelCount, std::byte* out) const = 0;
};

/// RGB with straight alpha or none.
std::unique_ptr<RowEncoderPath> makeRowEncoderPath(SampleLayout layout,
                                                   const ChannelCurves& curves);

} // namespace ombrel
