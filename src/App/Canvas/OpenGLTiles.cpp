#include "App/Canvas/OpenGLTiles.h"

#include <algorithm>
#include <vector>

namespace ombrel {

namespace {

constexpr GLsizei tileSide = 256;

} // namespace

OpenGLTiles::~OpenGLTiles() {
    for (const auto& [revision, entry] : entries_)
        gl_.glDeleteTextures(1, &entry.texture);
}

void OpenGLTiles::beginFrame() {
    ++frame_;
    uploads_ = 0;
}

void OpenGLTiles::bind(const FramePixels& pixels) {
    Entry& entry = entries_[pixels.revision];
    const bool isNew = entry.texture == 0;
    if (isNew) gl_.glGenTextures(1, &entry.texture);
    gl_.glBindTexture(GL_TEXTURE_2D, entry.texture);
    if (isNew) upload(pixels.bytes);
    entry.lastFrame = frame_;
}

void OpenGLTiles::upload(const std::byte* bytes) {
    ++uploads_;
    gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    gl_.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    gl_.glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16F, tileSide, tileSide, 0, GL_RGBA, GL_HALF_FLOAT,
                     bytes);
}

void OpenGLTiles::endFrame() {
    if (entries_.size() <= keptTiles) return;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> hidden; // last frame, revision
    for (const auto& [revision, entry] : entries_)
        if (entry.lastFrame != frame_) hidden.emplace_back(entry.lastFrame, revision);
    std::ranges::sort(hidden);
    const std::size_t excess = std::min(entries_.size() - keptTiles, hidden.size());
    for (std::size_t i = 0; i < excess; ++i) {
        const auto found = entries_.find(hidden[i].second);
        gl_.glDeleteTextures(1, &found->second.texture);
        entries_.erase(found);
    }
}

} // namespace ombrel
