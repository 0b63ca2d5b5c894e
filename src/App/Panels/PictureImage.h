// A small picture as an image of the screen, premultiplied. Any thread.
#pragma once

#include "Core/ColorProfile.h"
#include "Engine/FlatImage.h"

#include <QImage>

namespace ombrel {

QImage pictureImage(const FlatImage& picture, const ColorProfile& profile);

} // namespace ombrel
