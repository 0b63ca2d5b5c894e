#include "IO/Codecs/TiffSamples.h"

#include "Base/Half.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace ombrel {

namespace {

template <typename Value>
Value loadAt(const std::byte* base, std::size_t index) {
    Value value;
    std::memcpy(&value, base + index * sizeof(Value), sizeof(Value));
    return value;
}

template <typename Value>
void storeAt(std::span<std::byte> out, std::size_t index, Value value) {
    std::memcpy(out.data() + index * sizeof(Value), &value, sizeof(Value));
}

/// libtiff hands 24-bit samples over in the machine's byte order.
std::uint32_t load24(const std::byte* base, std::size_t index) {
    const std::byte* bytes = base + index * 3;
    const int low = std::endian::native == std::endian::little ? 0 : 2;
    return std::to_integer<std::uint32_t>(bytes[low]) |
           std::to_integer<std::uint32_t>(bytes[1]) << 8 |
           std::to_integer<std::uint32_t>(bytes[2 - low]) << 16;
}

/// 1 sign bit, 7 bits of exponent, 16 of mantissa (Adobe's TIFF technical note 3).
double toDouble24(std::uint32_t bits) {
    const double sign = (bits & 0x800000u) != 0 ? -1 : 1;
    const int exponent = static_cast<int>((bits >> 16) & 0x7Fu);
    const double mantissa = static_cast<double>(bits & 0xFFFFu) / 65536;
    if (exponent == 127) {
        return mantissa != 0 ? std::numeric_limits<double>::quiet_NaN()
                             : sign * std::numeric_limits<double>::infinity();
    }
    return exponent == 0 ? sign * std::ldexp(mantissa, -62)
                         : sign * std::ldexp(1 + mantissa, exponent - 63);
}

float toFloat(double value) {
    // Doubles beyond the floats become infinite instead of being undefined.
    const double limit = std::numeric_limits<float>::max();
    if (value > limit) return std::numeric_limits<float>::infinity();
    if (value < -limit) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(value);
}

/// The sRGB curve, continued above 1 and mirrored below 0: LogLuv holds linear light, while rows
/// without a profile count as encoded.
float encodeSRGB(double linear) {
    const double magnitude = std::abs(linear);
    const double encoded =
        magnitude <= 0.0031308 ? 12.92 * magnitude : 1.055 * std::pow(magnitude, 1 / 2.4) - 0.055;
    return toFloat(std::copysign(encoded, linear));
}

SampleModel modelOf(TiffColor color) {
    switch (color) {
    case TiffColor::gray:
    case TiffColor::invertedGray:
    case TiffColor::luminance:
        return SampleModel::gray;
    case TiffColor::cmyk:
        return SampleModel::cmyk;
    case TiffColor::cieLab:
    case TiffColor::iccLab:
        return SampleModel::lab;
    default:
        return SampleModel::rgb;
    }
}

SampleType typeOf(const TiffPixelFormat& format) {
    if (modelOf(format.color) == SampleModel::lab || format.color == TiffColor::xyz) {
        return SampleType::float32;
    }
    if (format.color == TiffColor::palette) return SampleType::unsigned16;
    if (format.number == TiffNumber::floating) {
        return format.bitsPerSample == 16 ? SampleType::half : SampleType::float32;
    }
    if (format.bitsPerSample <= 8) return SampleType::unsigned8;
    return format.bitsPerSample <= 16 ? SampleType::unsigned16 : SampleType::float32;
}

std::size_t bytesOfSpread(std::size_t sampleCount, int bits) {
    return (sampleCount * static_cast<std::size_t>(bits) + 7) / 8;
}

/// Samples of any width up to 32 bits, most significant bit first.
void spreadBits(const std::byte* packed, int bits, std::span<std::uint32_t> out) {
    const std::size_t byteCount = bytesOfSpread(out.size(), bits);
    std::uint64_t held = 0;
    int heldBits = 0;
    std::size_t next = 0;
    for (std::uint32_t& sample : out) {
        while (heldBits < bits && next < byteCount) {
            held = (held << 8) | std::to_integer<std::uint64_t>(packed[next++]);
            heldBits += 8;
        }
        heldBits -= bits;
        sample = static_cast<std::uint32_t>((held >> heldBits) & ((std::uint64_t{1} << bits) - 1));
    }
}

} // namespace

int TiffPixelFormat::colorSampleCount() const {
    switch (color) {
    case TiffColor::gray:
    case TiffColor::invertedGray:
    case TiffColor::palette:
    case TiffColor::luminance:
        return 1;
    case TiffColor::cmyk:
        return 4;
    default:
        return 3;
    }
}

std::vector<int> TiffPixelFormat::neededPlanes() const {
    if (!isPlanar) return {0};
    std::vector<int> planes;
    planes.reserve(static_cast<std::size_t>(colorSampleCount()) + 1);
    for (int sample = 0; sample < colorSampleCount(); ++sample)
        planes.push_back(sample);
    if (alpha != AlphaKind::none) planes.push_back(alphaSample);
    return planes;
}

std::optional<TiffSampleConverter::Raw> TiffSampleConverter::rawOf(const TiffPixelFormat& format) {
    const int bits = format.bitsPerSample;
    if (format.number == TiffNumber::floating) {
        switch (bits) {
        case 16:
            return Raw::half;
        case 24:
            return Raw::f24;
        case 32:
            return Raw::f32;
        case 64:
            return Raw::f64;
        default:
            return std::nullopt;
        }
    }
    switch (bits) {
    case 8:
        return Raw::u8;
    case 16:
        return Raw::u16;
    case 24:
        return Raw::u24;
    case 64:
        return Raw::u64;
    default:
        return bits >= 1 && bits <= 32 ? std::optional(Raw::u32) : std::nullopt;
    }
}

std::optional<TiffSampleConverter> TiffSampleConverter::make(TiffPixelFormat format,
                                                             std::int64_t width) {
    const std::optional<Raw> raw = rawOf(format);
    if (!raw || format.samplesPerPixel < format.colorSampleCount()) return std::nullopt;
    const bool isInteger = format.number != TiffNumber::floating;
    switch (format.color) {
    case TiffColor::palette:
        if (!isInteger || format.bitsPerSample > 16 ||
            format.palette.size() < std::size_t{1} << format.bitsPerSample) {
            return std::nullopt;
        }
        break;
    case TiffColor::ycbcr:
        if (*raw != Raw::u8) return std::nullopt;
        break;
    case TiffColor::luminance:
    case TiffColor::xyz:
        if (*raw != Raw::f32) return std::nullopt;
        break;
    case TiffColor::cieLab:
    case TiffColor::iccLab:
        if (isInteger && *raw != Raw::u8 && *raw != Raw::u16) return std::nullopt;
        break;
    default:
        break;
    }
    const SampleLayout layout{modelOf(format.color), typeOf(format), format.alpha};
    return TiffSampleConverter(std::move(format), width, *raw, layout);
}

TiffSampleConverter::TiffSampleConverter(TiffPixelFormat format, std::int64_t width, Raw raw,
                                         SampleLayout layout)
    : format_(std::move(format)), width_(static_cast<std::size_t>(width)), raw_(raw),
      layout_(layout), spreadsBits_(raw == Raw::u32 && format_.bitsPerSample != 32),
      largest_(std::ldexp(1.0, format_.bitsPerSample) - 1) {}

std::span<const std::byte* const>
TiffSampleConverter::spread(std::span<const std::byte* const> planes) {
    if (!spreadsBits_) return planes;
    const std::size_t samples =
        width_ * static_cast<std::size_t>(format_.isPlanar ? 1 : format_.samplesPerPixel);
    spreadPlanes_.resize(planes.size());
    spreadPointers_.resize(planes.size());
    for (std::size_t i = 0; i < planes.size(); ++i) {
        spreadPlanes_[i].resize(samples);
        spreadBits(planes[i], format_.bitsPerSample, spreadPlanes_[i]);
        spreadPointers_[i] = reinterpret_cast<const std::byte*>(spreadPlanes_[i].data());
    }
    return spreadPointers_;
}

TiffSampleConverter::Channel
TiffSampleConverter::channelOf(std::span<const std::byte* const> planes, int sample) const {
    const bool isAlpha = format_.alpha != AlphaKind::none && sample == format_.alphaSample;
    if (format_.isPlanar)
        return {isAlpha ? planes.back() : planes[static_cast<std::size_t>(sample)], 1};
    static constexpr std::array<std::size_t, 9> rawBytes{1, 2, 3, 4, 8, 2, 3, 4, 8};
    return {planes[0] + static_cast<std::size_t>(sample) * rawBytes[static_cast<std::size_t>(raw_)],
            static_cast<std::size_t>(format_.samplesPerPixel)};
}

/// Signed samples are moved up so that their whole range becomes 0 to 1.
std::uint64_t TiffSampleConverter::integerAt(const Channel& channel, std::size_t index) const {
    const std::size_t at = index * channel.step;
    std::uint64_t value = 0;
    switch (raw_) {
    case Raw::u8:
        value = loadAt<std::uint8_t>(channel.base, at);
        break;
    case Raw::u16:
        value = loadAt<std::uint16_t>(channel.base, at);
        break;
    case Raw::u24:
        value = load24(channel.base, at);
        break;
    case Raw::u64:
        value = loadAt<std::uint64_t>(channel.base, at);
        break;
    default:
        value = loadAt<std::uint32_t>(channel.base, at);
        break;
    }
    if (format_.number == TiffNumber::signedInteger) {
        value ^= std::uint64_t{1} << (format_.bitsPerSample - 1);
    }
    return value;
}

/// Integers as shares of their range.
double TiffSampleConverter::numberAt(const Channel& channel, std::size_t index) const {
    const std::size_t at = index * channel.step;
    switch (raw_) {
    case Raw::half:
        return ombrel::toFloat(Half{loadAt<std::uint16_t>(channel.base, at)});
    case Raw::f24:
        return toDouble24(load24(channel.base, at));
    case Raw::f32:
        return loadAt<float>(channel.base, at);
    case Raw::f64:
        return loadAt<double>(channel.base, at);
    default:
        return static_cast<double>(integerAt(channel, index)) / largest_;
    }
}

void TiffSampleConverter::convertChannel(const Channel& channel, int outChannel,
                                         std::span<std::byte> out) const {
    const auto count = static_cast<std::size_t>(layout_.channelCount());
    const auto first = static_cast<std::size_t>(outChannel);
    const bool isInverted =
        format_.color == TiffColor::invertedGray && outChannel < format_.colorSampleCount();
    const auto forEach = [&](auto value) {
        for (std::size_t x = 0; x < width_; ++x)
            storeAt(out, x * count + first, value(x));
    };
    switch (layout_.type) {
    case SampleType::unsigned8: {
        const auto largest = static_cast<std::uint64_t>(largest_);
        const std::uint64_t flip = isInverted ? largest : 0; // x ^ largest is largest - x
        forEach([&](std::size_t x) {
            const std::uint64_t value = integerAt(channel, x) ^ flip;
            return static_cast<std::uint8_t>((value * 255 + largest / 2) / largest);
        });
        break;
    }
    case SampleType::unsigned16: {
        const auto largest = static_cast<std::uint64_t>(largest_);
        const std::uint64_t flip = isInverted ? largest : 0;
        forEach([&](std::size_t x) {
            const std::uint64_t value = integerAt(channel, x) ^ flip;
            return static_cast<std::uint16_t>((value * 65535 + largest / 2) / largest);
        });
        break;
    }
    case SampleType::half:
        forEach([&](std::size_t x) {
            const auto value = static_cast<float>(numberAt(channel, x));
            return toHalf(isInverted ? 1 - value : value).bits;
        });
        break;
    case SampleType::float32:
        forEach([&](std::size_t x) {
            const double value = numberAt(channel, x);
            return toFloat(isInverted ? 1 - value : value);
        });
        break;
    }
}

void TiffSampleConverter::convertColor(std::span<const std::byte* const> planes,
                                       std::span<std::byte> out) const {
    const int colors = format_.colorSampleCount();
    for (int sample = 0; sample < colors; ++sample)
        convertChannel(channelOf(planes, sample), sample, out);
    if (modelOf(format_.color) != SampleModel::lab || format_.number == TiffNumber::floating) {
        return;
    }
    // Shares of the integer range to L* 0 to 100 and a*, b* about -128 to 127. With 16 bits the
    // old ICC encoding puts 100 at FF00h; a* and b* have the same step in both kinds.
    const bool isDeep = raw_ == Raw::u16;
    const bool isOffset = format_.color == TiffColor::iccLab;
    const double lightness = isDeep && isOffset ? 100.0 * 65535 / 65280 : 100.0;
    const double range = isDeep ? 65535.0 / 256 : 255.0;
    const auto count = static_cast<std::size_t>(layout_.channelCount());
    for (std::size_t x = 0; x < width_; ++x) {
        float* pixel = reinterpret_cast<float*>(out.data()) + x * count;
        pixel[0] = static_cast<float>(pixel[0] * lightness);
        for (int channel = 1; channel < 3; ++channel) {
            double value = pixel[channel] * range;
            if (isOffset) {
                value -= 128;
            } else if (value >= 128) {
                value -= 256; // two's complement
            }
            pixel[channel] = static_cast<float>(value);
        }
    }
}

void TiffSampleConverter::convertPalette(std::span<const std::byte* const> planes,
                                         std::span<std::byte> out) const {
    const Channel channel = channelOf(planes, 0);
    const auto count = static_cast<std::size_t>(layout_.channelCount());
    for (std::size_t x = 0; x < width_; ++x) {
        const auto& entry = format_.palette[static_cast<std::size_t>(integerAt(channel, x))];
        std::memcpy(out.data() + x * count * 2, entry.data(), sizeof(entry));
    }
}

/// TIFF 6, section 21: samples are stretched from their black and white to full range, then turned
/// by the luma weights.
void TiffSampleConverter::convertYCbCr(std::span<const std::byte* const> planes,
                                       std::span<std::byte> out) const {
    const std::array<Channel, 3> channels{channelOf(planes, 0), channelOf(planes, 1),
                                          channelOf(planes, 2)};
    const auto& [red, green, blue] = format_.lumaWeights;
    const auto& limits = format_.blackAndWhite;
    const auto stretched = [&](int channel, std::size_t x, float range) {
        const auto i = static_cast<std::size_t>(channel);
        const float extent = limits[2 * i + 1] - limits[2 * i];
        const auto code = static_cast<float>(integerAt(channels[i], x));
        return (code - limits[2 * i]) * range / (extent != 0 ? extent : 1);
    };
    const auto toByte = [](float value) { // NaN from absurd weights becomes 0
        return static_cast<std::uint8_t>(value > 0 ? std::min(value, 255.0f) + 0.5f : 0.0f);
    };
    const auto count = static_cast<std::size_t>(layout_.channelCount());
    for (std::size_t x = 0; x < width_; ++x) {
        const float luma = stretched(0, x, 255);
        const float r = luma + stretched(2, x, 127) * (2 - 2 * red);
        const float b = luma + stretched(1, x, 127) * (2 - 2 * blue);
        const float g = (luma - blue * b - red * r) / green;
        storeAt(out, x * count, toByte(r));
        storeAt(out, x * count + 1, toByte(g));
        storeAt(out, x * count + 2, toByte(b));
    }
}

void TiffSampleConverter::convertLuminance(std::span<const std::byte* const> planes,
                                           std::span<std::byte> out) const {
    const Channel channel = channelOf(planes, 0);
    const auto count = static_cast<std::size_t>(layout_.channelCount());
    for (std::size_t x = 0; x < width_; ++x)
        storeAt(out, x * count, encodeSRGB(numberAt(channel, x)));
}

/// XYZ relative to equal-energy white, as LogLuv keeps it, to BT.709 primaries (the matrix that
/// belongs to the format: G. Ward Larson, "LogLuv encoding for full-gamut, high-dynamic range
/// images", 1998).
void TiffSampleConverter::convertXYZ(std::span<const std::byte* const> planes,
                                     std::span<std::byte> out) const {
    static constexpr double matrix[3][3] = {
        {2.690, -1.276, -0.414}, {-1.022, 1.978, 0.044}, {0.061, -0.224, 1.163}};
    const std::array<Channel, 3> channels{channelOf(planes, 0), channelOf(planes, 1),
                                          channelOf(planes, 2)};
    const auto count = static_cast<std::size_t>(layout_.channelCount());
    for (std::size_t x = 0; x < width_; ++x) {
        std::array<double, 3> xyz;
        for (std::size_t i = 0; i < 3; ++i)
            xyz[i] = numberAt(channels[i], x);
        for (std::size_t i = 0; i < 3; ++i) {
            const double linear =
                matrix[i][0] * xyz[0] + matrix[i][1] * xyz[1] + matrix[i][2] * xyz[2];
            storeAt(out, x * count + i, encodeSRGB(linear));
        }
    }
}

void TiffSampleConverter::convertRow(std::span<const std::byte* const> planes,
                                     std::span<std::byte> out) {
    const std::size_t pixelBytes = layout_.bytesPerPixel();
    const bool isAsStored =
        !format_.isPlanar && format_.samplesPerPixel == layout_.channelCount() &&
        format_.number != TiffNumber::signedInteger &&
        (format_.color == TiffColor::gray || format_.color == TiffColor::rgb ||
         format_.color == TiffColor::cmyk) &&
        (raw_ == Raw::u8 || raw_ == Raw::u16 || raw_ == Raw::half || raw_ == Raw::f32);
    if (isAsStored) {
        std::memcpy(out.data(), planes[0], width_ * pixelBytes);
        return;
    }
    const std::span<const std::byte* const> samples = spread(planes);
    switch (format_.color) {
    case TiffColor::palette:
        convertPalette(samples, out);
        break;
    case TiffColor::ycbcr:
        convertYCbCr(samples, out);
        break;
    case TiffColor::luminance:
        convertLuminance(samples, out);
        break;
    case TiffColor::xyz:
        convertXYZ(samples, out);
        break;
    default:
        convertColor(samples, out);
        break;
    }
    if (format_.alpha != AlphaKind::none) {
        convertChannel(channelOf(samples, format_.alphaSample), layout_.channelCount() - 1, out);
    }
}

} // namespace ombrel
