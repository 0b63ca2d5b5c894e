// One libtiff handle over a ByteSource: silent, limited in what it allocates, closed with its
// owner. Several handles may read one source in turn (planes of a picture are read that way). One
// thread at a time.
#pragma once

#include "IO/ByteSource.h"

#include <cstdint>
#include <memory>

#include <tiffio.h>

namespace ombrel {

class TiffHandle {
public:
    /// Null where the source is no TIFF file. The source must outlive the handle.
    static std::unique_ptr<TiffHandle> open(ByteSource& source);

    ~TiffHandle();
    TiffHandle(const TiffHandle&) = delete;
    TiffHandle& operator=(const TiffHandle&) = delete;

    TIFF* tiff() const { return tiff_; }

    /// Channels beyond the colours that the file does not describe at all (as opposed to
    /// describing them as being of no particular meaning).
    bool lacksExtraSamples() const { return lacksExtraSamples_; }

    /// A tag that libtiff knows or has a default for.
    template <typename Value>
    Value value(std::uint32_t tag, Value fallback) const {
        Value found = fallback;
        return TIFFGetFieldDefaulted(tiff_, tag, &found) == 1 ? found : fallback;
    }

private:
    struct Callbacks;

    explicit TiffHandle(ByteSource& source) : source_(source) {}

    ByteSource& source_;
    std::uint64_t position_ = 0;
    bool lacksExtraSamples_ = false;
    TIFF* tiff_ = nullptr;
};

} // namespace ombrel
