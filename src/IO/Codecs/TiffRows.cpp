#include "IO/Codecs/TiffRows.h"

#include "IO/ImageLimits.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

namespace ombrel {

namespace {

using Fault = std::unexpected<ImageIOError>;

Fault unreadable() {
    return Fault(ImageIOError::unreadable());
}

std::uint64_t packedBytes(std::uint64_t sampleCount, int bitsPerSample) {
    return (sampleCount * static_cast<std::uint64_t>(bitsPerSample) + 7) / 8;
}

/// Line after line of strips. Each plane has a handle of its own, so that all are read in sequence
/// and none is decoded twice.
class LineReader final : public TiffRowReader {
public:
    std::expected<void, ImageIOError> open(std::unique_ptr<TiffHandle> first, ByteSource& source,
                                           const TiffRowRequest& request) {
        const std::uint64_t needed =
            packedBytes(static_cast<std::uint64_t>(request.width) *
                            static_cast<std::uint64_t>(request.samplesPerPlanePixel),
                        request.bitsPerSample);
        for (const int plane : request.planes) {
            std::unique_ptr<TiffHandle> handle =
                first != nullptr ? std::exchange(first, nullptr) : TiffHandle::open(source);
            if (handle == nullptr) return unreadable();
            if (request.expandsJpegToRGB) {
                TIFFSetField(handle->tiff(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
            }
            const std::uint64_t lineBytes = TIFFScanlineSize64(handle->tiff());
            if (lineBytes < needed) return unreadable();
            RawBytes line = allocateFrame(lineBytes);
            if (line == nullptr) return unreadable();
            pointers_.push_back(line.get());
            planes_.push_back({plane, std::move(handle), std::move(line)});
        }
        return {};
    }

    std::expected<std::span<const std::byte* const>, ImageIOError> nextRow() override {
        for (Plane& plane : planes_) {
            if (TIFFReadScanline(plane.handle->tiff(), plane.line.get(), row_,
                                 static_cast<std::uint16_t>(plane.index)) != 1) {
                return unreadable();
            }
        }
        ++row_;
        return pointers_;
    }

private:
    struct Plane {
        int index;
        std::unique_ptr<TiffHandle> handle;
        RawBytes line;
    };

    std::vector<Plane> planes_;
    std::vector<const std::byte*> pointers_;
    std::uint32_t row_ = 0;
};

/// One row of tiles at a time.
class TileReader final : public TiffRowReader {
public:
    std::expected<void, ImageIOError> open(std::unique_ptr<TiffHandle> handle,
                                           const TiffRowRequest& request) {
        handle_ = std::move(handle);
        TIFF* tiff = handle_->tiff();
        if (request.expandsJpegToRGB) {
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        }
        width_ = handle_->value<std::uint32_t>(TIFFTAG_TILEWIDTH, 0);
        height_ = handle_->value<std::uint32_t>(TIFFTAG_TILELENGTH, 0);
        if (width_ == 0 || height_ == 0) return unreadable();
        const std::uint64_t rowBits = std::uint64_t{width_} *
                                      static_cast<std::uint64_t>(request.samplesPerPlanePixel) *
                                      static_cast<std::uint64_t>(request.bitsPerSample);
        rowBytes_ = TIFFTileRowSize64(tiff);
        tileBytes_ = TIFFTileSize64(tiff);
        // Rows that end inside a byte could not be laid side by side; valid widths divide by 16.
        if (rowBits % 8 != 0 || rowBytes_ != rowBits / 8 || tileBytes_ / height_ != rowBytes_) {
            return unreadable();
        }
        across_ = (static_cast<std::uint64_t>(request.width) + width_ - 1) / width_;
        if (tileBytes_ > largestFrameBytes() / across_ / request.planes.size()) {
            return Fault(ImageIOError::imageTooLarge({request.width, request.height}));
        }
        for (const int index : request.planes) {
            Plane plane{index, allocateFrame(tileBytes_ * across_),
                        allocateFrame(rowBytes_ * across_)};
            if (plane.tiles == nullptr || plane.row == nullptr) return unreadable();
            pointers_.push_back(plane.row.get());
            planes_.push_back(std::move(plane));
        }
        return {};
    }

    std::expected<std::span<const std::byte* const>, ImageIOError> nextRow() override {
        const std::uint32_t inside = row_ % height_;
        if (inside == 0 && !readTiles()) return unreadable();
        for (Plane& plane : planes_) {
            for (std::uint64_t tile = 0; tile < across_; ++tile) {
                std::memcpy(plane.row.get() + tile * rowBytes_,
                            plane.tiles.get() + tile * tileBytes_ + inside * rowBytes_, rowBytes_);
            }
        }
        ++row_;
        return pointers_;
    }

private:
    struct Plane {
        int index;
        RawBytes tiles;
        RawBytes row;
    };

    bool readTiles() {
        const auto size = static_cast<tmsize_t>(tileBytes_);
        for (Plane& plane : planes_) {
            for (std::uint64_t tile = 0; tile < across_; ++tile) {
                const std::uint32_t number =
                    TIFFComputeTile(handle_->tiff(), static_cast<std::uint32_t>(tile * width_),
                                    row_, 0, static_cast<std::uint16_t>(plane.index));
                if (TIFFReadEncodedTile(handle_->tiff(), number,
                                        plane.tiles.get() + tile * tileBytes_, size) != size) {
                    return false;
                }
            }
        }
        return true;
    }

    std::unique_ptr<TiffHandle> handle_;
    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    std::uint64_t rowBytes_ = 0;
    std::uint64_t tileBytes_ = 0;
    std::uint64_t across_ = 0;
    std::vector<Plane> planes_;
    std::vector<const std::byte*> pointers_;
    std::uint32_t row_ = 0;
};

/// Blocks of h x v luma samples that share one Cb and one Cr, in strips or tiles, made into rows of
/// whole YCbCr pixels; chroma is repeated.
class ChromaBlockReader final : public TiffRowReader {
public:
    std::expected<void, ImageIOError> open(std::unique_ptr<TiffHandle> handle,
                                           const TiffRowRequest& request) {
        handle_ = std::move(handle);
        TIFF* tiff = handle_->tiff();
        imageWidth_ = static_cast<std::uint32_t>(request.width);
        imageHeight_ = static_cast<std::uint32_t>(request.height);
        std::uint16_t across = 0;
        std::uint16_t down = 0;
        TIFFGetFieldDefaulted(tiff, TIFFTAG_YCBCRSUBSAMPLING, &across, &down);
        const auto isUsual = [](int factor) { return factor == 1 || factor == 2 || factor == 4; };
        if (!isUsual(across) || !isUsual(down)) return unreadable();
        blockWidth_ = across;
        blockHeight_ = down;

        isTiled_ = TIFFIsTiled(tiff) != 0;
        segmentWidth_ =
            isTiled_ ? handle_->value<std::uint32_t>(TIFFTAG_TILEWIDTH, 0) : imageWidth_;
        segmentHeight_ =
            std::min(isTiled_ ? handle_->value<std::uint32_t>(TIFFTAG_TILELENGTH, 0)
                              : handle_->value<std::uint32_t>(TIFFTAG_ROWSPERSTRIP, imageHeight_),
                     isTiled_ ? UINT32_MAX : imageHeight_);
        if (segmentWidth_ == 0 || segmentHeight_ == 0) return unreadable();
        // Blocks must not reach over the edge of a strip into the next.
        if (segmentHeight_ % blockHeight_ != 0 && segmentHeight_ < imageHeight_) {
            return unreadable();
        }
        across_ = (std::uint64_t{imageWidth_} + segmentWidth_ - 1) / segmentWidth_;
        blocksAcross_ = (std::uint64_t{segmentWidth_} + blockWidth_ - 1) / blockWidth_;
        const std::uint64_t blockRows =
            (std::uint64_t{segmentHeight_} + blockHeight_ - 1) / blockHeight_;
        segmentBytes_ = blocksAcross_ * blockBytes() * blockRows;
        if (segmentBytes_ > largestFrameBytes() / across_) {
            return Fault(ImageIOError::imageTooLarge({request.width, request.height}));
        }
        segments_ = allocateFrame(segmentBytes_ * across_);
        row_.resize(std::size_t{imageWidth_} * 3);
        rowPointer_[0] = row_.data();
        if (segments_ == nullptr) return unreadable();
        return {};
    }

    std::expected<std::span<const std::byte* const>, ImageIOError> nextRow() override {
        const std::uint32_t inside = nextRow_ % segmentHeight_;
        if (inside == 0 && !readSegments()) return unreadable();
        for (std::uint32_t x = 0; x < imageWidth_; ++x) {
            const std::uint32_t column = x % segmentWidth_;
            const std::byte* block =
                segments_.get() + x / segmentWidth_ * segmentBytes_ +
                (inside / blockHeight_ * blocksAcross_ + column / blockWidth_) * blockBytes();
            const std::size_t lumaCount = blockBytes() - 2;
            std::byte* pixel = row_.data() + std::size_t{x} * 3;
            pixel[0] = block[inside % blockHeight_ * blockWidth_ + column % blockWidth_];
            pixel[1] = block[lumaCount];
            pixel[2] = block[lumaCount + 1];
        }
        ++nextRow_;
        return rowPointer_;
    }

private:
    std::size_t blockBytes() const { return std::size_t{blockWidth_} * blockHeight_ + 2; }

    bool readSegments() {
        TIFF* tiff = handle_->tiff();
        if (isTiled_) {
            const auto size = static_cast<tmsize_t>(segmentBytes_);
            for (std::uint64_t tile = 0; tile < across_; ++tile) {
                const std::uint32_t number = TIFFComputeTile(
                    tiff, static_cast<std::uint32_t>(tile * segmentWidth_), nextRow_, 0, 0);
                if (TIFFReadEncodedTile(tiff, number, segments_.get() + tile * segmentBytes_,
                                        size) != size) {
                    return false;
                }
            }
            return true;
        }
        const std::uint32_t rows = std::min(segmentHeight_, imageHeight_ - nextRow_);
        const std::uint64_t blockRows = (std::uint64_t{rows} + blockHeight_ - 1) / blockHeight_;
        const auto size = static_cast<tmsize_t>(blocksAcross_ * blockBytes() * blockRows);
        return TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, nextRow_, 0), segments_.get(),
                                    size) == size;
    }

    std::unique_ptr<TiffHandle> handle_;
    std::uint32_t imageWidth_ = 0;
    std::uint32_t imageHeight_ = 0;
    std::uint32_t blockWidth_ = 1;
    std::uint32_t blockHeight_ = 1;
    bool isTiled_ = false;
    std::uint32_t segmentWidth_ = 0;  ///< of a strip or tile
    std::uint32_t segmentHeight_ = 0; ///< of a strip or tile
    std::uint64_t across_ = 0;
    std::uint64_t blocksAcross_ = 0; ///< in one segment
    std::uint64_t segmentBytes_ = 0;
    RawBytes segments_;
    std::vector<std::byte> row_;
    std::array<const std::byte*, 1> rowPointer_{};
    std::uint32_t nextRow_ = 0;
};

template <typename Reader, typename... Arguments>
std::expected<std::unique_ptr<TiffRowReader>, ImageIOError> opened(Arguments&&... arguments) {
    auto reader = std::make_unique<Reader>();
    if (auto result = reader->open(std::forward<Arguments>(arguments)...); !result) {
        return Fault(result.error());
    }
    return reader;
}

} // namespace

std::expected<std::unique_ptr<TiffRowReader>, ImageIOError>
makeTiffRowReader(std::unique_ptr<TiffHandle> first, ByteSource& source,
                  const TiffRowRequest& request) {
    if (request.hasPackedChroma) return opened<ChromaBlockReader>(std::move(first), request);
    if (TIFFIsTiled(first->tiff()) != 0) return opened<TileReader>(std::move(first), request);
    return opened<LineReader>(std::move(first), source, request);
}

} // namespace ombrel
