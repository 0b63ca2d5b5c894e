#include "Engine/StateBands.h"

#include "Base/Check.h"
#include "Engine/Flattener.h"

#include <algorithm>

namespace ombrel {

namespace {

DocumentState bakedState(const DocumentState& state, EffectBaking* effects) {
    if (effects == nullptr) return state;
    return effects->baked(state).value_or(state);
}

} // namespace

StateBands::StateBands(const DocumentState& state, PixelDevice& device, TileStore& store,
                       EffectBaking* effects, const Progress* cancellation)
    : state_(bakedState(state, effects)), program_(state_.compositeProgram()), device_(device),
      store_(store), cancellation_(cancellation) {}

std::expected<void, EngineError> StateBands::read(std::int64_t firstRow, std::int64_t rowCount,
                                                  std::span<std::byte> out) {
    const std::int64_t rowBytes = size().width * 8;
    const std::int64_t endRow = firstRow + rowCount;
    OMBREL_CHECK(firstRow >= 0 && rowCount >= 0 && endRow <= size().height &&
                     static_cast<std::int64_t>(out.size()) >= rowCount * rowBytes,
                 "the rows lie in the picture and fit the memory");
    for (std::int64_t row = firstRow; row < endRow;) {
        const std::int64_t bandRow = row / tileSize * tileSize;
        const std::int64_t bandEnd = std::min(bandRow + tileSize, size().height);
        const auto rest = out.subspan(static_cast<std::size_t>((row - firstRow) * rowBytes));
        // As many whole bands as there are, at once: more tiles for the device to share out.
        const std::int64_t wholeEnd =
            endRow == size().height ? endRow : endRow / tileSize * tileSize;
        if (row == bandRow && wholeEnd > row && row != keptRow_) {
            const auto result = flattenRows(row, wholeEnd - row, rest);
            if (!result) return result;
            row = wholeEnd;
            continue;
        }
        if (keptRow_ != bandRow) {
            const auto result = keepBand(bandRow, bandEnd - bandRow);
            if (!result) return result;
        }
        const std::int64_t end = std::min(endRow, bandEnd);
        std::copy_n(kept_.begin() + (row - bandRow) * rowBytes, (end - row) * rowBytes,
                    rest.begin());
        row = end;
    }
    return {};
}

std::expected<void, EngineError>
StateBands::flattenRows(std::int64_t firstRow, std::int64_t rowCount, std::span<std::byte> out) {
    return Flattener::flattenRect(program_, !state_.canvas.blendUsingGamma1,
                                  {0, firstRow, size().width, rowCount}, out, device_, store_,
                                  cancellation_);
}

std::expected<void, EngineError> StateBands::keepBand(std::int64_t firstRow,
                                                      std::int64_t rowCount) {
    keptRow_ = -1;
    kept_.resize(static_cast<std::size_t>(rowCount * size().width * 8));
    auto result = flattenRows(firstRow, rowCount, kept_);
    if (result) keptRow_ = firstRow;
    return result;
}

} // namespace ombrel
