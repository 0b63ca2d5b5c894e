#include "IO/TiffFiles.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

namespace ombrel::test {

namespace {

struct Memory {
    std::vector<std::byte> bytes;
    std::uint64_t position = 0;
};

Memory& memoryOf(thandle_t client) {
    return *static_cast<Memory*>(client);
}

tmsize_t readMemory(thandle_t client, void* out, tmsize_t length) {
    Memory& memory = memoryOf(client);
    if (memory.position >= memory.bytes.size()) return 0;
    const std::size_t count = std::min<std::size_t>(static_cast<std::size_t>(length),
                                                    memory.bytes.size() - memory.position);
    std::memcpy(out, memory.bytes.data() + memory.position, count);
    memory.position += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t writeMemory(thandle_t client, void* data, tmsize_t length) {
    Memory& memory = memoryOf(client);
    const auto count = static_cast<std::size_t>(length);
    if (memory.bytes.size() < memory.position + count) memory.bytes.resize(memory.position + count);
    std::memcpy(memory.bytes.data() + memory.position, data, count);
    memory.position += count;
    return length;
}

toff_t seekMemory(thandle_t client, toff_t offset, int origin) {
    Memory& memory = memoryOf(client);
    const std::uint64_t base = origin == SEEK_CUR   ? memory.position
                               : origin == SEEK_END ? memory.bytes.size()
                                                    : 0;
    return memory.position = base + offset;
}

toff_t sizeOfMemory(thandle_t client) {
    return memoryOf(client).bytes.size();
}

int closeMemory(thandle_t) {
    return 0;
}

TIFF* openForWriting(Memory& memory, const char* mode) {
    return TIFFClientOpen("", mode, &memory, readMemory, writeMemory, seekMemory, closeMemory,
                          sizeOfMemory, nullptr, nullptr);
}

void setTags(TIFF* tiff, const TiffRecipe& recipe) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, recipe.width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, recipe.height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, recipe.bits);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, recipe.samples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, recipe.photometric);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, recipe.sampleFormat);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, recipe.compression);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, recipe.planar);
    if (recipe.predictor != PREDICTOR_NONE) {
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, recipe.predictor);
    }
    if (!recipe.extraSamples.empty()) {
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, static_cast<int>(recipe.extraSamples.size()),
                     recipe.extraSamples.data());
    }
    if (recipe.tile > 0) {
        TIFFSetField(tiff, TIFFTAG_TILEWIDTH, recipe.tile);
        TIFFSetField(tiff, TIFFTAG_TILELENGTH, recipe.tile);
    } else {
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, recipe.rowsPerStrip);
    }
    if (recipe.tags) recipe.tags(tiff);
}

/// Appends samples to rows of bytes as TIFF packs them: whole bytes in the machine's order, other
/// widths as a stream of bits.
class Packer {
public:
    void add(std::uint64_t value, int bits) {
        if (bits % 8 == 0) {
            for (int i = 0; i < bits / 8; ++i)
                bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
            return;
        }
        for (int bit = bits - 1; bit >= 0; --bit) {
            held_ = static_cast<std::uint8_t>(held_ << 1 | ((value >> bit) & 1));
            if (++heldBits_ == 8) flush();
        }
    }
    void endRow() {
        if (heldBits_ > 0) {
            held_ = static_cast<std::uint8_t>(held_ << (8 - heldBits_));
            flush();
        }
    }
    std::vector<std::uint8_t> take() { return std::move(bytes_); }

private:
    void flush() {
        bytes_.push_back(held_);
        held_ = 0;
        heldBits_ = 0;
    }

    std::vector<std::uint8_t> bytes_;
    std::uint8_t held_ = 0;
    int heldBits_ = 0;
};

static_assert(std::endian::native == std::endian::little);

/// A rectangle's samples: all of them, or one plane's.
std::vector<std::uint8_t> pack(const TiffRecipe& recipe, const TiffSampleSource& sampleAt,
                               std::uint32_t x0, std::uint32_t y0, std::uint32_t width,
                               std::uint32_t height, int plane) {
    const bool isPlanar = recipe.planar == PLANARCONFIG_SEPARATE;
    Packer packer;
    for (std::uint32_t y = y0; y < y0 + height; ++y) {
        for (std::uint32_t x = x0; x < x0 + width; ++x) {
            for (int s = isPlanar ? plane : 0; s < (isPlanar ? plane + 1 : recipe.samples); ++s)
                packer.add(sampleAt(x, y, s), recipe.bits);
        }
        packer.endRow();
    }
    return packer.take();
}

bool writeSegments(TIFF* tiff, const TiffRecipe& recipe, const TiffSampleSource& sampleAt) {
    const int planes = recipe.planar == PLANARCONFIG_SEPARATE ? recipe.samples : 1;
    const std::uint32_t width = recipe.tile > 0 ? recipe.tile : recipe.width;
    const std::uint32_t height = recipe.tile > 0 ? recipe.tile : recipe.rowsPerStrip;
    for (int plane = 0; plane < planes; ++plane) {
        for (std::uint32_t y = 0; y < recipe.height; y += height) {
            for (std::uint32_t x = 0; x < recipe.width; x += width) {
                const std::uint32_t rows =
                    recipe.tile > 0 ? height : std::min(height, recipe.height - y);
                std::vector<std::uint8_t> data = pack(recipe, sampleAt, x, y, width, rows, plane);
                const auto size = static_cast<tmsize_t>(data.size());
                const auto sample = static_cast<std::uint16_t>(plane);
                const tmsize_t written =
                    recipe.tile > 0
                        ? TIFFWriteEncodedTile(tiff, TIFFComputeTile(tiff, x, y, 0, sample),
                                               data.data(), size)
                        : TIFFWriteEncodedStrip(tiff, TIFFComputeStrip(tiff, y, sample),
                                                data.data(), size);
                if (written != size) return false;
            }
        }
    }
    return true;
}

} // namespace

std::vector<std::byte> makeTiff(const TiffRecipe& recipe, const TiffSampleSource& sampleAt) {
    Memory memory;
    TIFF* tiff = openForWriting(memory, recipe.mode);
    if (tiff == nullptr) return {};
    setTags(tiff, recipe);
    const bool isWritten = writeSegments(tiff, recipe, sampleAt);
    TIFFClose(tiff);
    return isWritten ? std::move(memory.bytes) : std::vector<std::byte>{};
}

std::vector<std::byte>
makeTiffOfSegments(const TiffRecipe& recipe, std::uint32_t segmentCount,
                   const std::function<std::vector<std::uint8_t>(std::uint32_t)>& segment) {
    Memory memory;
    TIFF* tiff = openForWriting(memory, recipe.mode);
    if (tiff == nullptr) return {};
    setTags(tiff, recipe);
    bool isWritten = true;
    for (std::uint32_t i = 0; i < segmentCount && isWritten; ++i) {
        std::vector<std::uint8_t> data = segment(i);
        const auto size = static_cast<tmsize_t>(data.size());
        isWritten = (recipe.tile > 0 ? TIFFWriteEncodedTile(tiff, i, data.data(), size)
                                     : TIFFWriteEncodedStrip(tiff, i, data.data(), size)) == size;
    }
    TIFFClose(tiff);
    return isWritten ? std::move(memory.bytes) : std::vector<std::byte>{};
}

} // namespace ombrel::test
