// The textures of tiles on a graphics device, by revision. Keeps what recent frames showed, up to
// a number of tiles, and forgets the coldest beyond it. Wants its context to be current.
#pragma once

#include "Engine/Frame.h"

#include <QOpenGLFunctions_3_3_Core>
#include <cstdint>
#include <unordered_map>

namespace ombrel {

class OpenGLTiles {
public:
    explicit OpenGLTiles(QOpenGLFunctions_3_3_Core& gl) : gl_(gl) {}
    ~OpenGLTiles();
    OpenGLTiles(const OpenGLTiles&) = delete;
    OpenGLTiles& operator=(const OpenGLTiles&) = delete;

    void beginFrame();
    /// Binds the texture to the present unit, uploading it first where it is new.
    void bind(const FramePixels& pixels);
    void endFrame();                                 ///< forgets
    std::size_t uploads() const { return uploads_; } ///< since the frame began

private:
    struct Entry {
        GLuint texture = 0;
        std::uint64_t lastFrame = 0;
    };

    static constexpr std::size_t keptTiles = 1024; ///< 512 MiB

    void upload(const std::byte* bytes);

    QOpenGLFunctions_3_3_Core& gl_;
    std::unordered_map<std::uint64_t, Entry> entries_;
    std::uint64_t frame_ = 0;
    std::size_t uploads_ = 0;
};

} // namespace ombrel
