#include "IO/Codecs/HeicCodec.h"
#include "IO/CodingProfile.h"
#include "IO/ExifMetadata.h"
#include "IO/ImageLimits.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <exception>
#include <string_view>

#include <libheif/heif.h>

namespace ombrel::heic {

namespace {

using Fault = std::unexpected<ImageIOError>;

struct FreeContext {
    void operator()(heif_context* context) const { heif_context_free(context); }
};
struct ReleaseHandle {
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
struct ReleaseImage {
    void operator()(heif_image* image) const { heif_image_release(image); }
};
struct FreeOptions {
    void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
};
struct FreeProfile {
    void operator()(heif_color_profile_nclx* profile) const {
        heif_nclx_color_profile_free(profile);
    }
};

bool succeeded(const heif_error& error) {
    return error.code == heif_error_Ok;
}

/// libheif decodes a picture as a whole and turns it upright itself, so what the Exif data says of
/// the orientation is not to be applied again.
class HeicDecoder final : public ImageDecoder {
public:
    std::expected<void, ImageIOError> open(ByteSource& source) {
        file_ = allocateFrame(source.size());
        if (file_ == nullptr) return Fault(ImageIOError::unreadable());
        const std::size_t count =
            source.readAt(0, {file_.get(), static_cast<std::size_t>(source.size())});
        context_.reset(heif_context_alloc());
        heif_image_handle* handle = nullptr;
        if (context_ == nullptr ||
            !succeeded(heif_context_read_from_memory_without_copy(context_.get(), file_.get(),
                                                                  count, nullptr)) ||
            !succeeded(heif_context_get_primary_image_handle(context_.get(), &handle))) {
            return Fault(ImageIOError::unreadable());
        }
        handle_.reset(handle);
        description_.size = {heif_image_handle_get_width(handle),
                             heif_image_handle_get_height(handle)};
        if (auto checked = checkImageSize(description_.size); !checked) return checked;
        const bool isDeep = heif_image_handle_get_luma_bits_per_pixel(handle) > 8;
        description_.bitDepth = isDeep ? BitDepth::sixteen : BitDepth::eight;
        description_.layout.type = isDeep ? SampleType::unsigned16 : SampleType::unsigned8;
        if (heif_image_handle_has_alpha_channel(handle) != 0) {
            description_.layout.alpha = heif_image_handle_is_premultiplied_alpha(handle) != 0
                                            ? AlphaKind::premultiplied
                                            : AlphaKind::straight;
        }
        readProfile();
        readResolution();
        return {};
    }

    const ImageDescription& description() const override { return description_; }

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override {
        if (image_ == nullptr) {
            if (auto decoded = decode(); !decoded) return decoded;
        }
        const std::size_t rowBytes =
            static_cast<std::size_t>(description_.size.width) * description_.layout.bytesPerPixel();
        for (std::int64_t row = 0; row < rowCount; ++row, ++nextRow_) {
            std::byte* target = out.data() + static_cast<std::size_t>(row) * rowBytes;
            std::memcpy(target, samples_ + static_cast<std::size_t>(nextRow_) * stride_, rowBytes);
        }
        if (description_.layout.type == SampleType::unsigned16) {
            widen(out.first(static_cast<std::size_t>(rowCount) * rowBytes));
        }
        return {};
    }

private:
    void readProfile() {
        const heif_color_profile_type type =
            heif_image_handle_get_color_profile_type(handle_.get());
        if (type == heif_color_profile_type_rICC || type == heif_color_profile_type_prof) {
            description_.iccData.resize(
                heif_image_handle_get_raw_color_profile_size(handle_.get()));
            if (!succeeded(heif_image_handle_get_raw_color_profile(handle_.get(),
                                                                   description_.iccData.data()))) {
                description_.iccData.clear();
            }
            return;
        }
        heif_color_profile_nclx* found = nullptr;
        if (!succeeded(heif_image_handle_get_nclx_color_profile(handle_.get(), &found))) return;
        const std::unique_ptr<heif_color_profile_nclx, FreeProfile> profile(found);
        if (profile == nullptr) return;
        description_.iccData = iccDataOf({static_cast<int>(profile->color_primaries),
                                          static_cast<int>(profile->transfer_characteristics)});
    }

    void readResolution() {
        heif_item_id block = 0;
        if (heif_image_handle_get_list_of_metadata_block_IDs(handle_.get(), "Exif", &block, 1) <
            1) {
            return;
        }
        std::vector<std::byte> data(heif_image_handle_get_metadata_size(handle_.get(), block));
        if (data.size() < 4 ||
            !succeeded(heif_image_handle_get_metadata(handle_.get(), block, data.data()))) {
            return;
        }
        // The block begins with the distance from here to the byte-order mark.
        std::uint64_t offset = 0;
        for (const std::byte byte : std::span(data).first<4>())
            offset = (offset << 8) | std::to_integer<std::uint64_t>(byte);
        offset += 4;
        if (offset < data.size()) {
            description_.resolution = readExif(std::span(data).subspan(offset)).resolution;
        }
    }

    std::expected<void, ImageIOError> decode() {
        const bool isDeep = description_.layout.type == SampleType::unsigned16;
        const bool hasAlpha = description_.layout.alpha != AlphaKind::none;
        // The planes as coded and the interleaved picture made of them.
        const std::uint64_t pixels = static_cast<std::uint64_t>(description_.size.width) *
                                     static_cast<std::uint64_t>(description_.size.height);
        if (pixels * 2 * description_.layout.bytesPerPixel() > largestFrameBytes()) {
            return Fault(ImageIOError::imageTooLarge(description_.size));
        }
        const heif_chroma chroma =
            isDeep ? (hasAlpha ? heif_chroma_interleaved_RRGGBBAA_LE
                               : heif_chroma_interleaved_RRGGBB_LE)
                   : (hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB);
        heif_image* image = nullptr;
        try { // a library in C++, whose allocations may throw through its C interface
            const std::unique_ptr<heif_decoding_options, FreeOptions> options(
                heif_decoding_options_alloc());
            if (options != nullptr) options->strict_decoding = 1;
            if (!succeeded(heif_decode_image(handle_.get(), &image, heif_colorspace_RGB, chroma,
                                             options.get()))) {
                return Fault(ImageIOError::unreadable());
            }
        } catch (const std::exception&) {
            return Fault(ImageIOError::unreadable());
        }
        image_.reset(image);
        const auto channel = heif_channel_interleaved;
        int stride = 0;
        samples_ = reinterpret_cast<const std::byte*>(
            heif_image_get_plane_readonly(image, channel, &stride));
        const int bits = heif_image_get_bits_per_pixel_range(image, channel);
        if (samples_ == nullptr || stride <= 0 ||
            heif_image_get_width(image, channel) != description_.size.width ||
            heif_image_get_height(image, channel) != description_.size.height || bits < 1 ||
            bits > 16 || (isDeep ? bits <= 8 : bits != 8)) {
            return Fault(ImageIOError::unreadable());
        }
        stride_ = static_cast<std::size_t>(stride);
        largestSample_ = (1u << bits) - 1;
        return {};
    }

    /// From 10 or 12 bits to the full range of 16. The rows are little-endian, as is every machine
    /// that the library is built for here.
    void widen(std::span<std::byte> rows) const {
        for (std::size_t i = 0; i + 1 < rows.size(); i += 2) {
            const std::uint32_t value = std::to_integer<std::uint32_t>(rows[i]) |
                                        std::to_integer<std::uint32_t>(rows[i + 1]) << 8;
            const auto wide = static_cast<std::uint16_t>(
                (std::min(value, largestSample_) * 65535u + largestSample_ / 2) / largestSample_);
            std::memcpy(&rows[i], &wide, sizeof(wide));
        }
    }

    RawBytes file_;
    std::unique_ptr<heif_context, FreeContext> context_;
    std::unique_ptr<heif_image_handle, ReleaseHandle> handle_;
    std::unique_ptr<heif_image, ReleaseImage> image_;
    ImageDescription description_;
    const std::byte* samples_ = nullptr;
    std::size_t stride_ = 0;
    std::uint32_t largestSample_ = 255;
    std::int64_t nextRow_ = 0;
};

} // namespace

bool recognises(std::span<const std::byte> head) {
    static constexpr std::array<std::string_view, 10> brands{
        "heic", "heix", "heim", "heis", "hevc", "hevx", "hevm", "hevs", "mif1", "msf1"};
    if (head.size() < 12 || std::memcmp(head.data() + 4, "ftyp", 4) != 0) return false;
    const std::string_view brand(reinterpret_cast<const char*>(head.data()) + 8, 4);
    return std::ranges::find(brands, brand) != brands.end();
}

std::expected<std::unique_ptr<ImageDecoder>, ImageIOError> open(ByteSource& source) {
    try {
        auto decoder = std::make_unique<HeicDecoder>();
        if (auto opened = decoder->open(source); !opened) return Fault(opened.error());
        return decoder;
    } catch (const std::exception&) { // from the library; see decode()
        return Fault(ImageIOError::unreadable());
    }
}

} // namespace ombrel::heic
