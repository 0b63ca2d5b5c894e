#include "IO/ImageIOError.h"

namespace ombrel {

ImageIOError ImageIOError::unsupportedFormat(std::string name) {
    return {Kind::unsupportedFormat, std::move(name), {}};
}
ImageIOError ImageIOError::imageTooLarge(PixelSize size) {
    return {Kind::imageTooLarge, {}, size};
}
ImageIOError ImageIOError::unreadable() {
    return {Kind::unreadable, {}, {}};
}
ImageIOError ImageIOError::encodingFailed() {
    return {Kind::encodingFailed, {}, {}};
}
ImageIOError ImageIOError::cancelled() {
    return {Kind::cancelled, {}, {}};
}

std::string ImageIOError::text() const {
    switch (kind) {
    case Kind::unsupportedFormat:
        return "Saving as " + formatName + " is not supported.";
    case Kind::imageTooLarge:
        return "The image is too large (" + size.text() + ").";
    case Kind::unreadable:
        return "The file could not be read as an image.";
    case Kind::encodingFailed:
        return "The image could not be encoded.";
    case Kind::cancelled:
        return "Cancelled.";
    }
    return {};
}

} // namespace ombrel
