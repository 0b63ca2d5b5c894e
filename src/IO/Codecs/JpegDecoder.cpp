#include "IO/Codecs/BufferedReader.h"
#include "IO/Codecs/JpegCodec.h"
#include "IO/ExifMetadata.h"
#include "IO/ImageLimits.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>
// After jpeglib.h, whose types it uses.
#include <jerror.h>

namespace ombrel::jpeg {

namespace {

constexpr int exifMarker = JPEG_APP0 + 1;
constexpr int profileMarker = JPEG_APP0 + 2;
constexpr int rowsPerCall = 16;

/// More scans than any encoder makes; each costs a walk over the whole picture.
constexpr int largestScanCount = 1000;

/// Warnings that mean lost picture data; others are oddities of writers.
constexpr std::array<int, 4> damageCodes{JWRN_HIT_MARKER, JWRN_HUFF_BAD_CODE, JWRN_ARITH_BAD_CODE,
                                         JWRN_MUST_RESYNC};

// libjpeg reports faults by longjmp. Every call into it stands in one of the functions below,
// whose locals have no destructors, so that nothing is skipped; they return false after a fault.

struct Session {
    jpeg_decompress_struct decompress = {};
    jpeg_error_mgr errors = {};
    jpeg_source_mgr source = {};
    jpeg_progress_mgr progress = {};
    std::jmp_buf escape;
    BufferedReader* reader = nullptr;
    bool mayLackEnd = false; ///< inside the only scan, where the decoder misses what is missing
    bool hasEnded = false;   ///< the file was over before its end marker
};

Session& sessionOf(j_common_ptr common) {
    return *static_cast<Session*>(common->client_data);
}
Session& sessionOf(j_decompress_ptr decompress) {
    return *static_cast<Session*>(decompress->client_data);
}

[[noreturn]] void onError(j_common_ptr common) {
    std::longjmp(sessionOf(common).escape, 1);
}

void onMessage(j_common_ptr common, int level) {
    if (level >= 0) return;
    if (std::ranges::find(damageCodes, common->err->msg_code) != damageCodes.end()) onError(common);
}

void onOutput(j_common_ptr) {}

void onProgress(j_common_ptr common) {
    if (common->is_decompressor == FALSE) return;
    if (sessionOf(common).decompress.input_scan_number > largestScanCount) onError(common);
}

void startSource(j_decompress_ptr) {}
void endSource(j_decompress_ptr) {}

/// A file without an end marker gets one: the decoder then tells whether anything was missing.
boolean fillBuffer(j_decompress_ptr decompress) {
    static constexpr std::array<JOCTET, 2> endMarker{0xFF, JPEG_EOI};
    Session& session = sessionOf(decompress);
    const std::span<const std::byte> bytes = session.reader->take();
    if (bytes.empty()) {
        if (!session.mayLackEnd || session.hasEnded) {
            onError(reinterpret_cast<j_common_ptr>(decompress));
        }
        session.hasEnded = true;
        session.source.next_input_byte = endMarker.data();
        session.source.bytes_in_buffer = endMarker.size();
    } else {
        session.source.next_input_byte = reinterpret_cast<const JOCTET*>(bytes.data());
        session.source.bytes_in_buffer = bytes.size();
    }
    return TRUE;
}

void skipBytes(j_decompress_ptr decompress, long count) {
    if (count <= 0) return;
    Session& session = sessionOf(decompress);
    const auto length = static_cast<std::size_t>(count);
    if (length <= session.source.bytes_in_buffer) {
        session.source.next_input_byte += length;
        session.source.bytes_in_buffer -= length;
    } else {
        session.reader->skip(length - session.source.bytes_in_buffer);
        session.source.bytes_in_buffer = 0;
    }
}

bool readHeader(Session& session) {
    jpeg_decompress_struct& decompress = session.decompress;
    decompress.err = jpeg_std_error(&session.errors);
    decompress.client_data = &session;
    session.errors.error_exit = onError;
    session.errors.emit_message = onMessage;
    session.errors.output_message = onOutput;
    if (setjmp(session.escape) != 0) return false;
    jpeg_create_decompress(&decompress);
    session.source.init_source = startSource;
    session.source.fill_input_buffer = fillBuffer;
    session.source.skip_input_data = skipBytes;
    session.source.resync_to_restart = jpeg_resync_to_restart;
    session.source.term_source = endSource;
    decompress.src = &session.source;
    session.progress.progress_monitor = onProgress;
    decompress.progress = &session.progress;
    jpeg_save_markers(&decompress, exifMarker, 0xFFFF);
    jpeg_save_markers(&decompress, profileMarker, 0xFFFF);
    return jpeg_read_header(&decompress, TRUE) == JPEG_HEADER_OK;
}

/// The profile's bytes from malloc, or null.
JOCTET* readProfile(Session& session, unsigned* length) {
    if (setjmp(session.escape) != 0) return nullptr;
    JOCTET* data = nullptr;
    return jpeg_read_icc_profile(&session.decompress, &data, length) != FALSE ? data : nullptr;
}

/// With several scans this reads the whole file.
bool startReading(Session& session) {
    if (setjmp(session.escape) != 0) return false;
    return jpeg_start_decompress(&session.decompress) != FALSE;
}

bool readRowsInto(Session& session, JSAMPLE* out, std::size_t stride, std::int64_t rowCount) {
    if (setjmp(session.escape) != 0) return false;
    for (std::int64_t row = 0; row < rowCount;) {
        JSAMPROW rows[rowsPerCall];
        const auto count = static_cast<int>(std::min<std::int64_t>(rowsPerCall, rowCount - row));
        for (int i = 0; i < count; ++i)
            rows[i] = out + static_cast<std::size_t>(row + i) * stride;
        row += jpeg_read_scanlines(&session.decompress, rows, static_cast<JDIMENSION>(count));
    }
    return true;
}

void destroy(Session& session) {
    if (setjmp(session.escape) != 0) return;
    jpeg_destroy_decompress(&session.decompress);
}

std::uint64_t blockCountOf(const jpeg_decompress_struct& decompress) {
    std::uint64_t count = 0;
    for (int i = 0; i < decompress.num_components; ++i) {
        const jpeg_component_info& component = decompress.comp_info[i];
        count += std::uint64_t{component.width_in_blocks} * component.height_in_blocks;
    }
    return count;
}

class JpegDecoder final : public ImageDecoder {
public:
    explicit JpegDecoder(ByteSource& source) : sourceSize_(source.size()), reader_(source) {
        session_.reader = &reader_;
    }
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;
    ~JpegDecoder() override { destroy(session_); }

    std::expected<void, ImageIOError> open() {
        if (!readHeader(session_)) return std::unexpected(ImageIOError::unreadable());
        jpeg_decompress_struct& decompress = session_.decompress;
        description_.size = {decompress.image_width, decompress.image_height};
        if (auto checked = checkImageSize(description_.size); !checked) return checked;
        // A Huffman-coded block takes at least one bit.
        if (decompress.arith_code == FALSE && blockCountOf(decompress) / 8 > sourceSize_) {
            return std::unexpected(ImageIOError::unreadable());
        }
        if (!chooseLayout()) return std::unexpected(ImageIOError::unreadable());
        describe();
        return {};
    }

    const ImageDescription& description() const override { return description_; }

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override {
        if (!hasStarted_) {
            hasStarted_ = true;
            if (!start()) return std::unexpected(ImageIOError::unreadable());
        }
        const std::size_t stride =
            static_cast<std::size_t>(description_.size.width) * description_.layout.bytesPerPixel();
        auto* samples = reinterpret_cast<JSAMPLE*>(out.data());
        if (!readRowsInto(session_, samples, stride, rowCount)) {
            return std::unexpected(ImageIOError::unreadable());
        }
        if (isInverted_) {
            for (std::byte& sample : out)
                sample = ~sample;
        }
        return {};
    }

private:
    bool chooseLayout() {
        jpeg_decompress_struct& decompress = session_.decompress;
        switch (decompress.jpeg_color_space) {
        case JCS_GRAYSCALE:
            decompress.out_color_space = JCS_GRAYSCALE;
            description_.layout.model = SampleModel::gray;
            return true;
        case JCS_RGB:
        case JCS_YCbCr:
            decompress.out_color_space = JCS_RGB;
            description_.layout.model = SampleModel::rgb;
            return true;
        case JCS_CMYK:
        case JCS_YCCK:
            decompress.out_color_space = JCS_CMYK;
            description_.layout.model = SampleModel::cmyk;
            // Writers that leave Adobe's marker store ink upside down: 255 is no ink.
            isInverted_ = decompress.saw_Adobe_marker != FALSE;
            return true;
        default:
            return false;
        }
    }

    void describe() {
        const jpeg_decompress_struct& decompress = session_.decompress;
        static constexpr std::array<char, 6> exifName{'E', 'x', 'i', 'f', 0, 0};
        for (const jpeg_marker_struct* marker = decompress.marker_list; marker != nullptr;
             marker = marker->next) {
            if (marker->marker != exifMarker || marker->data_length < exifName.size() ||
                std::memcmp(marker->data, exifName.data(), exifName.size()) != 0) {
                continue;
            }
            const auto* bytes = reinterpret_cast<const std::byte*>(marker->data);
            const ExifMetadata exif = readExif({bytes, marker->data_length});
            description_.orientation = exif.orientation;
            description_.resolution = exif.resolution;
            break;
        }
        if (decompress.saw_JFIF_marker != FALSE && decompress.density_unit != 0) {
            // JFIF counts 1 as inches and 2 as centimetres, one less than Exif does.
            const auto resolution =
                resolutionPerInch(decompress.X_density, decompress.density_unit + 1);
            if (resolution) description_.resolution = resolution;
        }
        unsigned length = 0;
        if (JOCTET* profile = readProfile(session_, &length); profile != nullptr) {
            const auto* bytes = reinterpret_cast<const std::byte*>(profile);
            description_.iccData.assign(bytes, bytes + length);
            std::free(profile);
        }
    }

    bool start() {
        const bool hasManyScans = jpeg_has_multiple_scans(&session_.decompress) != FALSE;
        session_.mayLackEnd = !hasManyScans;
        session_.decompress.mem->max_memory_to_use = static_cast<long>(largestFrameBytes());
        return startReading(session_);
    }

    std::uint64_t sourceSize_;
    BufferedReader reader_;
    Session session_;
    ImageDescription description_;
    bool isInverted_ = false;
    bool hasStarted_ = false;
};

} // namespace

bool recognises(std::span<const std::byte> head) {
    static constexpr std::array<unsigned char, 3> start{0xFF, 0xD8, 0xFF};
    return head.size() >= start.size() && std::memcmp(head.data(), start.data(), start.size()) == 0;
}

std::expected<std::unique_ptr<ImageDecoder>, ImageIOError> open(ByteSource& source) {
    auto decoder = std::make_unique<JpegDecoder>(source);
    if (auto opened = decoder->open(); !opened) return std::unexpected(opened.error());
    return decoder;
}

} // namespace ombrel::jpeg
