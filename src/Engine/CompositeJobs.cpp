#include "Engine/CompositeJobs.h"

namespace ombrel {

namespace {

GPUCompositeLayer recordOf(const CompositeStep& step) {
    GPUCompositeLayer record;
    if (const PixelLayer* layer = step.pixelLayer()) {
        record.opacity = layer->properties.opacity;
        record.blendMode = static_cast<std::uint32_t>(layer->properties.blendMode);
        if (std::holds_alternative<ClippedStep>(step.value)) record.flags = CompositeFlags::clipped;
    } else if (const auto* begin = std::get_if<BeginStep>(&step.value)) {
        record.flags = CompositeFlags::begin;
        record.isolated = begin->isolated ? 1 : 0;
    } else {
        const auto& end = std::get<EndStep>(step.value);
        record.flags = CompositeFlags::end;
        record.isolated = end.isolated ? 1 : 0;
        record.opacity = end.opacity;
        record.blendMode = static_cast<std::uint32_t>(end.blendMode);
    }
    if (const LayerMask* mask = step.mask()) {
        record.masked = 1;
        record.maskBackground = mask->background;
    }
    return record;
}

void appendTiles(const TileQuad& quad, std::vector<Tile>& tiles) {
    for (const TileCell& cell : quad.cells) {
        if (cell.isPixels()) tiles.push_back(cell.tile());
    }
}

std::array<GPUTileSource, 4> sourcesOf(const TileQuad& quad, ResourceTracker& tracker) {
    std::array<GPUTileSource, 4> sources;
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const TileCell& cell = quad.cells[i];
        if (cell.isSolid()) sources[i] = cell.color();
        if (cell.isPixels()) sources[i] = tracker.pin(cell.tile());
    }
    return sources;
}

} // namespace

std::vector<GPUCompositeLayer> compositeRecords(const CompositeProgram& program) {
    std::vector<GPUCompositeLayer> records;
    records.reserve(program.size());
    for (const CompositeStep& step : program)
        records.push_back(recordOf(step));
    return records;
}

CompositeJobBuilder::CompositeJobBuilder(const CompositeProgram& program) {
    for (const CompositeStep& step : program) {
        Step entry;
        const LayerMask* mask = step.mask();
        if (const PixelLayer* layer = step.pixelLayer()) {
            entry.pixels = &layer->pixels;
            entry.shift = TileShift::of(layer->offset);
            if (mask != nullptr) {
                entry.mask = &mask->pixels;
                entry.maskShift = TileShift::of(mask->offset);
            }
        } else if (mask != nullptr) {
            entry.pixels = &mask->pixels;
            entry.shift = TileShift::of(mask->offset);
        }
        steps_.push_back(entry);
    }
}

void CompositeJobBuilder::appendTiles(TileCoord coord, std::size_t firstStep,
                                      std::vector<Tile>& tiles) const {
    for (const Step& step : std::span(steps_).subspan(firstStep)) {
        if (step.pixels == nullptr) continue;
        const TileQuad quad = TileQuad::at(*step.pixels, step.shift, coord);
        if (!quad.hasContent()) continue;
        ombrel::appendTiles(quad, tiles);
        if (step.mask != nullptr)
            ombrel::appendTiles(TileQuad::at(*step.mask, step.maskShift, coord), tiles);
    }
}

CompositeJob CompositeJobBuilder::job(TileCoord coord, std::size_t firstStep, std::byte* output,
                                      ResourceTracker& tracker) const {
    CompositeJob job{.output = output, .inputs = {}, .coord = coord};
    job.inputs.resize(steps_.size());
    for (std::size_t i = firstStep; i < steps_.size(); ++i) {
        const Step& step = steps_[i];
        LayerSource& source = job.inputs[i];
        if (step.pixels == nullptr) continue;
        const TileQuad quad = TileQuad::at(*step.pixels, step.shift, coord);
        source.phase = quad.phase;
        if (!quad.hasContent()) continue;
        source.quad = sourcesOf(quad, tracker);
        if (step.mask == nullptr) continue;
        const TileQuad mask = TileQuad::at(*step.mask, step.maskShift, coord);
        source.mask = sourcesOf(mask, tracker);
        source.maskPhase = mask.phase;
    }
    return job;
}

} // namespace ombrel
