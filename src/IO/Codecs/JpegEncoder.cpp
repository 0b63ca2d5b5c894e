// Baseline JPEG, 8 bits, no alpha. Full chroma from quality 0.9 on, halved both ways below.
#include "IO/Codecs/JpegCodec.h"
#include "IO/Codecs/Resolution.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

namespace ombrel::jpeg {

namespace {

using EncodeResult = std::expected<void, ImageIOError>;

constexpr double fullChromaFrom = 0.9;
// Tables made for the picture save some percent, but the library then holds all coefficients: six
// bytes a pixel. Larger pictures take the standard tables and stream.
constexpr std::int64_t largestOptimizedPixels = 64'000'000;
// What the segments of one profile can hold: 255 of them, the markers' own bytes taken off.
constexpr std::size_t largestProfile = 255 * 65519;

/// The encoder with all that must survive the library's jumps.
struct Encoding {
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    jpeg_destination_mgr destination{};
    std::jmp_buf escape;
    ByteSink* sink = nullptr;
    std::uint64_t offset = 0;
    std::vector<JOCTET> buffer = std::vector<JOCTET>(1024 * 1024);
    std::vector<std::byte> samples;
    std::vector<JOCTET> exif;
    EncodeResult outcome;

    Encoding() { codec.client_data = this; }
    Encoding(const Encoding&) = delete;
    Encoding& operator=(const Encoding&) = delete;
    ~Encoding() { jpeg_destroy_compress(&codec); }
};

Encoding& encodingOf(void* codec) {
    return *static_cast<Encoding*>(static_cast<j_common_ptr>(codec)->client_data);
}

[[noreturn]] void fail(j_common_ptr codec) {
    std::longjmp(encodingOf(codec).escape, 1);
}

void flush(j_compress_ptr codec, std::size_t length) {
    Encoding& encoding = encodingOf(codec);
    const auto bytes = std::as_bytes(std::span(encoding.buffer).first(length));
    if (!encoding.sink->writeAt(encoding.offset, bytes))
        fail(reinterpret_cast<j_common_ptr>(codec));
    encoding.offset += length;
    encoding.destination.next_output_byte = encoding.buffer.data();
    encoding.destination.free_in_buffer = encoding.buffer.size();
}

void beginOutput(j_compress_ptr codec) {
    flush(codec, 0);
}
boolean continueOutput(j_compress_ptr codec) {
    flush(codec, encodingOf(codec).buffer.size()); // the library wants the whole buffer taken
    return TRUE;
}
void endOutput(j_compress_ptr codec) {
    const Encoding& encoding = encodingOf(codec);
    flush(codec, encoding.buffer.size() - encoding.destination.free_in_buffer);
}

void configure(Encoding& encoding, const ImageEncodeRequest& request) {
    jpeg_compress_struct& codec = encoding.codec;
    codec.image_width = static_cast<JDIMENSION>(request.size.width);
    codec.image_height = static_cast<JDIMENSION>(request.size.height);
    codec.input_components = 3;
    codec.in_color_space = JCS_RGB;
    jpeg_set_defaults(&codec);
    const double quality = std::clamp(request.quality, 0.0, 1.0);
    jpeg_set_quality(&codec, std::max(1, static_cast<int>(std::lround(quality * 100))), TRUE);
    const int sampling = quality >= fullChromaFrom ? 1 : 2;
    codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor = sampling;
    codec.optimize_coding =
        request.size.width * request.size.height <= largestOptimizedPixels ? TRUE : FALSE;
    codec.dct_method = JDCT_ISLOW;
    codec.write_JFIF_header = TRUE;
    codec.density_unit = 1; // pixels per inch; Exif beside it holds fractions
    const double density = std::clamp(std::round(request.resolution), 1.0, 65535.0);
    codec.X_density = codec.Y_density = static_cast<UINT16>(density);
}

/// Kept out of `run`, into whose frame its objects must not move.
[[gnu::noinline]] bool readRows(Encoding& encoding, SampleRowSource& rows, std::int64_t count) {
    encoding.outcome = rows.readRows(count, encoding.samples);
    return encoding.outcome.has_value();
}

// No object with a destructor may live here: the library leaves by longjmp.
bool run(Encoding& encoding, const ImageEncodeRequest& request, SampleRowSource& rows) {
    if (setjmp(encoding.escape) != 0) return false;
    jpeg_create_compress(&encoding.codec);
    encoding.codec.client_data = &encoding;
    encoding.codec.dest = &encoding.destination;
    configure(encoding, request);
    jpeg_start_compress(&encoding.codec, TRUE);
    jpeg_write_marker(&encoding.codec, JPEG_APP0 + 1, encoding.exif.data(),
                      static_cast<unsigned>(encoding.exif.size()));
    if (!request.iccData.empty()) {
        jpeg_write_icc_profile(&encoding.codec,
                               reinterpret_cast<const JOCTET*>(request.iccData.data()),
                               static_cast<unsigned>(request.iccData.size()));
    }
    const std::size_t rowBytes = static_cast<std::size_t>(request.size.width) * 3;
    const auto rowsAtOnce = static_cast<std::int64_t>(encoding.samples.size() / rowBytes);
    for (std::int64_t first = 0; first < request.size.height;) {
        const std::int64_t count = std::min(rowsAtOnce, request.size.height - first);
        if (!readRows(encoding, rows, count)) return false;
        for (std::int64_t row = 0; row < count; ++row) {
            auto* pointer = reinterpret_cast<JSAMPROW>(encoding.samples.data() +
                                                       static_cast<std::size_t>(row) * rowBytes);
            jpeg_write_scanlines(&encoding.codec, &pointer, 1);
        }
        first += count;
    }
    jpeg_finish_compress(&encoding.codec);
    return true;
}

} // namespace

SampleLayout layoutFor(BitDepth) {
    return {SampleModel::rgb, SampleType::unsigned8, AlphaKind::none};
}

bool canEncode() {
    return true;
}

std::expected<void, ImageIOError> encode(const ImageEncodeRequest& request, SampleRowSource& rows,
                                         ByteSink& sink) {
    if (request.iccData.size() > largestProfile) {
        return std::unexpected(ImageIOError::encodingFailed());
    }
    Encoding encoding;
    encoding.sink = &sink;
    encoding.offset = sink.size();
    encoding.codec.err = jpeg_std_error(&encoding.errors);
    encoding.errors.error_exit = fail;
    encoding.errors.output_message = [](j_common_ptr) {};
    encoding.destination.init_destination = beginOutput;
    encoding.destination.empty_output_buffer = continueOutput;
    encoding.destination.term_destination = endOutput;
    for (const char c : {'E', 'x', 'i', 'f', '\0', '\0'})
        encoding.exif.push_back(static_cast<JOCTET>(c));
    for (const std::byte byte : exifOfResolution(request.resolution))
        encoding.exif.push_back(static_cast<JOCTET>(byte));
    encoding.samples.resize(
        static_cast<std::size_t>(request.size.width) * 3 *
        static_cast<std::size_t>(std::min<std::int64_t>(64, request.size.height)));

    if (run(encoding, request, rows)) return {};
    if (!encoding.outcome) return encoding.outcome;
    return std::unexpected(ImageIOError::encodingFailed());
}

} // namespace ombrel::jpeg
