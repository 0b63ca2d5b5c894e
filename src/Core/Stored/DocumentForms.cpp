#include "Core/Stored/DocumentForms.h"

#include "Base/Base64.h"

#include <span>

namespace ombrel::Stored {

namespace {

struct NamedProfile {
    std::string name;
    std::vector<std::byte> iccData;
};

constexpr std::array<std::string_view, 3> bitDepthNames{"eight", "sixteen", "thirtyTwo"};

} // namespace

template <>
struct Form<std::vector<std::byte>> {
    static Json encode(const std::vector<std::byte>& bytes) { return base64Text(bytes); }
    static Result<std::vector<std::byte>> decode(const Json& json) {
        if (!json.is_string()) return expected("bytes in base64");
        std::optional<std::vector<std::byte>> bytes =
            bytesOfBase64(json.get_ref<const std::string&>());
        if (!bytes) return expected("bytes in base64");
        return std::move(*bytes);
    }
};

template <>
struct Fields<NamedProfile> {
    static constexpr std::tuple list{field("name", &NamedProfile::name),
                                     field("iccData", &NamedProfile::iccData)};
};

Result<Uuid> Form<Uuid>::decode(const Json& json) {
    const std::optional<Uuid> uuid =
        json.is_string() ? Uuid::parse(json.get_ref<const std::string&>()) : std::nullopt;
    if (!uuid) return expected("a UUID");
    return *uuid;
}

Json Form<RealPoint>::encode(const RealPoint& point) {
    return Stored::encode(std::array{point.x, point.y});
}

Result<RealPoint> Form<RealPoint>::decode(const Json& json) {
    const auto numbers = Stored::decode<std::array<double, 2>>(json);
    if (!numbers) return std::unexpected(numbers.error());
    return RealPoint{(*numbers)[0], (*numbers)[1]};
}

Json Form<RealSize>::encode(const RealSize& size) {
    return Stored::encode(std::array{size.width, size.height});
}

Result<RealSize> Form<RealSize>::decode(const Json& json) {
    const auto numbers = Stored::decode<std::array<double, 2>>(json);
    if (!numbers) return std::unexpected(numbers.error());
    return RealSize{(*numbers)[0], (*numbers)[1]};
}

Json Form<RealRect>::encode(const RealRect& rect) {
    return Stored::encode(std::array{std::array{rect.origin.x, rect.origin.y},
                                     std::array{rect.size.width, rect.size.height}});
}

Result<RealRect> Form<RealRect>::decode(const Json& json) {
    const auto pairs = Stored::decode<std::array<std::array<double, 2>, 2>>(json);
    if (!pairs) return std::unexpected(pairs.error());
    const auto& [origin, size] = *pairs;
    return RealRect{{origin[0], origin[1]}, {size[0], size[1]}};
}

Json Form<AffineTransform>::encode(const AffineTransform& transform) {
    const auto& [a, b, c, d, tx, ty] = transform;
    return Stored::encode(std::array{a, b, c, d, tx, ty});
}

Result<AffineTransform> Form<AffineTransform>::decode(const Json& json) {
    const auto numbers = Stored::decode<std::array<double, 6>>(json);
    if (!numbers) return std::unexpected(numbers.error());
    const auto& [a, b, c, d, tx, ty] = *numbers;
    return AffineTransform{a, b, c, d, tx, ty};
}

Json Form<ColorProfile>::encode(const ColorProfile& profile) {
    const std::span<const std::byte> data = profile.iccData();
    return Stored::encode(NamedProfile{profile.name(), {data.begin(), data.end()}});
}

Result<ColorProfile> Form<ColorProfile>::decode(const Json& json) {
    Result<NamedProfile> named = Stored::decode<NamedProfile>(json);
    if (!named) return std::unexpected(named.error());
    return ColorProfile(std::move(named->name), std::move(named->iccData));
}

Json Form<BitDepth>::encode(BitDepth depth) {
    return bitDepthNames[static_cast<std::size_t>(depth)];
}

Result<BitDepth> Form<BitDepth>::decode(const Json& json) {
    constexpr std::array depths{BitDepth::eight, BitDepth::sixteen, BitDepth::thirtyTwo};
    const bool isNumber = json.is_number();
    const Result<std::string_view> name = isNumber ? std::string_view() : decodeName(json);
    if (!name) return std::unexpected(name.error());
    for (const BitDepth depth : depths) {
        if (isNumber ? json == bitsPerChannel(depth) : encode(depth) == *name) return depth;
    }
    return isNumber ? expected("8, 16 or 32") : unknownCase(*name);
}

Result<LayerLocks> Form<LayerLocks>::decode(const Json& json) {
    const bool isKeyed = json.is_object() && json.contains("rawValue");
    const Result<std::uint8_t> bits =
        Stored::decode<std::uint8_t>(isKeyed ? json["rawValue"] : json);
    if (!bits) return std::unexpected(bits.error());
    return LayerLocks{*bits};
}

} // namespace ombrel::Stored
