// Our own writer: rows are filtered and deflated in blocks, in parallel. libpng's single stream
// takes some eight times as long for a file of the same size (see Export/png).
#include "IO/Codecs/PngCodec.h"
#include "IO/Codecs/PngFilter.h"
#include "IO/Codecs/Resolution.h"

#include "Base/Check.h"

#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <zlib.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>
#include <vector>

namespace ombrel::png {

namespace {

using EncodeResult = std::expected<void, ImageIOError>;

using Byte = std::uint8_t;

// A block of rows is deflated on its own and ends on a byte boundary, so that blocks can be made in
// parallel and joined into one stream. Larger ones compress a little better.
constexpr std::size_t blockBytesGoal = 512 * 1024;
constexpr std::size_t batchBytesGoal = 16 * 1024 * 1024;
// Level 2 of ISA-L is as small as zlib's level 3 on photographs and some seven times as fast.
constexpr int deflateLevel = 2;

void putBigEndian(std::vector<Byte>& out, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        out.push_back(static_cast<Byte>(value >> shift));
}

/// A chunk whose length and check value are filled in when it is complete.
class Chunk {
public:
    explicit Chunk(std::string_view type) : bytes_(4) {
        for (const char c : type)
            bytes_.push_back(static_cast<Byte>(c));
    }
    std::vector<Byte>& bytes() { return bytes_; }

    const std::vector<Byte>& close() {
        const auto length = static_cast<std::uint32_t>(bytes_.size() - 8);
        for (int i = 0; i < 4; ++i)
            bytes_[static_cast<std::size_t>(i)] = static_cast<Byte>(length >> (24 - 8 * i));
        putBigEndian(bytes_, crc32_gzip_refl(0, bytes_.data() + 4, bytes_.size() - 4));
        return bytes_;
    }

private:
    std::vector<Byte> bytes_;
};

/// Appends to the end of a sink; one failure ends it all.
class Appender {
public:
    explicit Appender(ByteSink& sink) : sink_(sink), offset_(sink.size()) {}

    bool put(std::span<const Byte> bytes) {
        if (!sink_.writeAt(offset_, std::as_bytes(bytes))) return false;
        offset_ += bytes.size();
        return true;
    }

private:
    ByteSink& sink_;
    std::uint64_t offset_;
};

class Deflater {
public:
    Deflater() : levelBuffer_(ISAL_DEF_LVL2_DEFAULT) {}

    /// Appends `input` as deflate blocks that depend on nothing before them and end on a byte
    /// boundary; the last block of a stream is marked as such.
    void append(std::span<const Byte> input, bool isLast, std::vector<Byte>& out) {
        isal_deflate_init(&stream_);
        stream_.level = deflateLevel;
        stream_.level_buf = levelBuffer_.data();
        stream_.level_buf_size = static_cast<std::uint32_t>(levelBuffer_.size());
        stream_.next_in = const_cast<Byte*>(input.data()); // the library only reads
        stream_.avail_in = static_cast<std::uint32_t>(input.size());
        stream_.end_of_stream = isLast;
        stream_.flush = FULL_FLUSH;
        std::size_t used = out.size();
        do {
            out.resize(used + std::max<std::size_t>(input.size() / 2, 64 * 1024));
            stream_.next_out = out.data() + used;
            const std::size_t room = out.size() - used;
            stream_.avail_out = static_cast<std::uint32_t>(room);
            OMBREL_CHECK(isal_deflate(&stream_) == COMP_OK, "deflate takes any input");
            used += room - stream_.avail_out;
        } while (stream_.avail_out == 0);
        out.resize(used);
    }

private:
    isal_zstream stream_;
    std::vector<Byte> levelBuffer_;
};

struct Block {
    Chunk chunk{"IDAT"};
    std::uint32_t checksum = 1; ///< Adler-32 of the filtered rows alone
    std::size_t length = 0;     ///< bytes of the filtered rows
};

struct Worker {
    Worker(std::size_t rowBytes, std::size_t pixelBytes) : filter(rowBytes, pixelBytes) {}
    PngFilter filter;
    Deflater deflater;
    std::vector<Byte> filtered;
};

/// The picture itself: batches of rows, each cut into blocks.
class PixelWriter {
public:
    PixelWriter(const ImageEncodeRequest& request, SampleRowSource& rows, Appender& appender)
        : request_(request), rows_(rows), appender_(appender),
          rowBytes_(static_cast<std::size_t>(request.size.width) * request.layout.bytesPerPixel()),
          rowsPerBlock_(std::max<std::size_t>(1, blockBytesGoal / rowBytes_)),
          rowsPerBatch_(rowsPerBlock_ * std::clamp<std::size_t>(
                                            batchBytesGoal / (rowsPerBlock_ * rowBytes_), 8, 256)),
          workers_([this] { return Worker(rowBytes_, request_.layout.bytesPerPixel()); }) {}

    EncodeResult run() {
        const auto height = static_cast<std::size_t>(request_.size.height);
        // One row more in front: the last of the batch before, which the filters look at.
        std::vector<Byte> samples(rowBytes_ * (1 + std::min(rowsPerBatch_, height)));
        for (std::size_t first = 0; first < height; first += rowsPerBatch_) {
            const std::size_t count = std::min(rowsPerBatch_, height - first);
            const std::span<Byte> fresh(samples.data() + rowBytes_, count * rowBytes_);
            if (auto read =
                    rows_.readRows(static_cast<std::int64_t>(count), std::as_writable_bytes(fresh));
                !read) {
                return read;
            }
            if (!writeBatch(samples, first, count)) {
                return std::unexpected(ImageIOError::encodingFailed());
            }
            std::memcpy(samples.data(), samples.data() + count * rowBytes_, rowBytes_);
        }
        return {};
    }

private:
    bool writeBatch(std::span<Byte> samples, std::size_t firstRow, std::size_t rowCount) {
        if (request_.layout.type == SampleType::unsigned16) {
            toBigEndian(samples.subspan(rowBytes_, rowCount * rowBytes_));
        }
        std::vector<Block> blocks((rowCount + rowsPerBlock_ - 1) / rowsPerBlock_);
        const bool endsPicture =
            firstRow + rowCount == static_cast<std::size_t>(request_.size.height);
        tbb::parallel_for(std::size_t{0}, blocks.size(), [&](std::size_t index) {
            const std::size_t begin = index * rowsPerBlock_;
            const std::size_t end = std::min(begin + rowsPerBlock_, rowCount);
            Block& block = blocks[index];
            if (firstRow == 0 && index == 0) { // the header of the zlib stream: 32 KiB, fast
                block.chunk.bytes().insert(block.chunk.bytes().end(), {0x78, 0x01});
            }
            fillBlock(samples, firstRow, begin, end, endsPicture && end == rowCount, block);
        });
        for (std::size_t index = 0; index < blocks.size(); ++index) {
            Block& block = blocks[index];
            checksum_ = static_cast<std::uint32_t>(
                adler32_combine(checksum_, block.checksum, static_cast<z_off_t>(block.length)));
            const bool isLast = endsPicture && index + 1 == blocks.size();
            if (isLast) putBigEndian(block.chunk.bytes(), checksum_);
            if (!appender_.put(block.chunk.close())) return false;
        }
        return true;
    }

    void fillBlock(std::span<const Byte> samples, std::size_t firstRow, std::size_t begin,
                   std::size_t end, bool isLast, Block& block) {
        Worker& worker = workers_.local();
        block.length = (end - begin) * (rowBytes_ + 1);
        worker.filtered.resize(block.length);
        for (std::size_t row = begin; row < end; ++row) {
            const auto above = samples.subspan(row * rowBytes_, rowBytes_);
            worker.filter.filter(
                samples.subspan((row + 1) * rowBytes_, rowBytes_),
                firstRow + row == 0 ? std::span<const Byte>() : above,
                std::span(worker.filtered).subspan((row - begin) * (rowBytes_ + 1), rowBytes_ + 1));
        }
        block.checksum = isal_adler32(1, worker.filtered.data(), worker.filtered.size());
        worker.deflater.append(worker.filtered, isLast, block.chunk.bytes());
    }

    static void toBigEndian(std::span<Byte> samples) {
        if constexpr (std::endian::native == std::endian::big) return;
        tbb::parallel_for(tbb::blocked_range<std::size_t>(0, samples.size() / 2, 65536),
                          [&](const auto& range) {
                              for (std::size_t i = range.begin(); i < range.end(); ++i)
                                  std::swap(samples[2 * i], samples[2 * i + 1]);
                          });
    }

    const ImageEncodeRequest& request_;
    SampleRowSource& rows_;
    Appender& appender_;
    std::size_t rowBytes_;
    std::size_t rowsPerBlock_;
    std::size_t rowsPerBatch_;
    tbb::enumerable_thread_specific<Worker> workers_;
    std::uint32_t checksum_ = 1;
};

/// Empty on failure.
std::vector<Byte> deflatedProfile(std::span<const std::byte> iccData) {
    uLongf length = compressBound(static_cast<uLong>(iccData.size()));
    std::vector<Byte> packed(length);
    const int outcome =
        compress2(packed.data(), &length, reinterpret_cast<const Bytef*>(iccData.data()),
                  static_cast<uLong>(iccData.size()), Z_BEST_COMPRESSION);
    packed.resize(outcome == Z_OK ? length : 0);
    return packed;
}

bool writeHeader(const ImageEncodeRequest& request, Appender& appender) {
    constexpr Byte signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (!appender.put(signature)) return false;

    Chunk header("IHDR");
    putBigEndian(header.bytes(), static_cast<std::uint32_t>(request.size.width));
    putBigEndian(header.bytes(), static_cast<std::uint32_t>(request.size.height));
    const auto depth = static_cast<Byte>(8 * request.layout.bytesPerSample());
    const Byte colorType = request.layout.alpha == AlphaKind::none ? 2 : 6;
    header.bytes().insert(header.bytes().end(), {depth, colorType, 0, 0, 0});
    if (!appender.put(header.close())) return false;

    if (!request.iccData.empty()) {
        const std::vector<Byte> packed = deflatedProfile(request.iccData);
        Chunk profile("iCCP");
        for (const char c : std::string_view("ICC profile\0\0", 13)) // name, end, method 0
            profile.bytes().push_back(static_cast<Byte>(c));
        profile.bytes().insert(profile.bytes().end(), packed.begin(), packed.end());
        if (packed.empty() || !appender.put(profile.close())) return false;
    }
    Chunk resolution("pHYs");
    const std::uint32_t perMetre = pixelsPerMetre(request.resolution);
    putBigEndian(resolution.bytes(), perMetre);
    putBigEndian(resolution.bytes(), perMetre);
    resolution.bytes().push_back(1); // the unit is the metre
    return appender.put(resolution.close());
}

} // namespace

SampleLayout layoutFor(BitDepth depth) {
    return {SampleModel::rgb,
            depth == BitDepth::eight ? SampleType::unsigned8 : SampleType::unsigned16,
            AlphaKind::straight};
}

bool canEncode() {
    return true;
}

std::expected<void, ImageIOError> encode(const ImageEncodeRequest& request, SampleRowSource& rows,
                                         ByteSink& sink) {
    Appender appender(sink);
    if (!writeHeader(request, appender)) return std::unexpected(ImageIOError::encodingFailed());
    if (auto pixels = PixelWriter(request, rows, appender).run(); !pixels) return pixels;
    if (!appender.put(Chunk("IEND").close())) {
        return std::unexpected(ImageIOError::encodingFailed());
    }
    return {};
}

} // namespace ombrel::png
