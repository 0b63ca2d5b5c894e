#include "Core/FillComposite.h"

#include "Core/BlendMath.h"
#include "Core/TransferFunction.h"

namespace ombrel {

PremultipliedColor FillComposite::apply(const PremultipliedColor& source,
                                        const PremultipliedColor& backdrop, float coverage,
                                        std::int32_t x, std::int32_t y) const {
    PremultipliedColor fill = perceptual ? TransferFunction::encode(source) : source;
    const PremultipliedColor below = perceptual ? TransferFunction::encode(backdrop) : backdrop;
    fill = {fill.red * coverage, fill.green * coverage, fill.blue * coverage,
            fill.alpha * coverage};
    BlendMode mode = blend;
    if (mode == BlendMode::dissolve) {
        fill = BlendMath::dissolve(fill, x, y, 0);
        mode = BlendMode::normal;
    }
    const PremultipliedColor result = BlendMath::composite(mode, below, fill);
    return perceptual ? TransferFunction::decode(result) : result;
}

} // namespace ombrel
