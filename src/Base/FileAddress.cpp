#include "Base/FileAddress.h"

#include <fmt/core.h>

namespace ombrel {

namespace {

constexpr std::string_view scheme = "file://";
constexpr std::string_view localHost = "localhost";

/// What RFC 3986 lets stand in a path as it is.
bool isPlain(char c) {
    constexpr std::string_view marks = "/-._~!$&'()*+,;=:@";
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           marks.find(c) != std::string_view::npos;
}

/// Of a hexadecimal digit; negative for what is none.
int digitOf(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

std::string fileAddress(const std::filesystem::path& path) {
    std::string address(scheme);
    for (const char c : path.native()) {
        if (isPlain(c)) {
            address += c;
        } else {
            address += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        }
    }
    return address;
}

std::optional<std::filesystem::path> pathOfFileAddress(std::string_view address) {
    if (!address.starts_with(scheme)) return std::nullopt;
    address.remove_prefix(scheme.size());
    if (address.starts_with(localHost)) address.remove_prefix(localHost.size());
    if (!address.starts_with('/')) return std::nullopt;
    std::string path;
    for (std::size_t i = 0; i < address.size(); ++i) {
        if (address[i] != '%') {
            path += address[i];
            continue;
        }
        if (address.size() - i < 3) return std::nullopt;
        const int byte = 16 * digitOf(address[i + 1]) + digitOf(address[i + 2]);
        if (digitOf(address[i + 1]) < 0 || digitOf(address[i + 2]) < 0 || byte == 0)
            return std::nullopt;
        path += static_cast<char>(byte);
        i += 2;
    }
    return path;
}

} // namespace ombrel
