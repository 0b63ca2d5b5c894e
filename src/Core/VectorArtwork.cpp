#include "Core/VectorArtwork.h"

namespace ombrel {

bool VectorArtwork::Item::Content::operator==(const Content& other) const = default;
bool VectorArtwork::Item::operator==(const Item& other) const = default;
bool VectorArtwork::operator==(const VectorArtwork&) const = default;
bool VectorMask::operator==(const VectorMask&) const = default;

} // namespace ombrel
