// Small pictures of files that were opened or saved, for the list of recent ones: made on a
// background thread from the document, kept in the cache folder, and known from the file's path and
// time, so that a changed file has none. Main thread; the answers too.
#pragma once

#include "App/Shell/AppServices.h"
#include "Core/DocumentState.h"

#include <QImage>

#include <filesystem>
#include <functional>
#include <memory>

namespace ombrel {

class Thumbnails {
public:
    static constexpr int side = 128; ///< the longer one, in pixels

    explicit Thumbnails(AppServices& services);

    void make(const std::filesystem::path& file, const DocumentState& state);
    /// Answers with a null image where there is none; never after this is gone.
    void find(const std::filesystem::path& file, std::function<void(const QImage&)> answer);

    /// What the thumbnail of a state shows. Any thread but the main one.
    static QImage draw(const DocumentState& state, PixelDevice& device, TileStore& store);

private:
    AppServices& services_;
    std::shared_ptr<Strand> strand_;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

} // namespace ombrel
