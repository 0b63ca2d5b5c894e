// Why an image file could not be read or written, in words for the user.
#pragma once

#include "Core/Geometry.h"

#include <string>

namespace ombrel {

struct ImageIOError {
    enum class Kind {
        unsupportedFormat,
        imageTooLarge,
        unreadable,
        encodingFailed,
        cancelled, ///< the caller's Progress was cancelled; nothing to tell the user
    };

    Kind kind = Kind::unreadable;
    std::string formatName; ///< of unsupportedFormat
    PixelSize size;         ///< of imageTooLarge

    static ImageIOError unsupportedFormat(std::string name);
    static ImageIOError imageTooLarge(PixelSize size);
    static ImageIOError unreadable();
    static ImageIOError encodingFailed();
    static ImageIOError cancelled();

    std::string text() const;
    bool operator==(const ImageIOError&) const = default;
};

} // namespace ombrel
