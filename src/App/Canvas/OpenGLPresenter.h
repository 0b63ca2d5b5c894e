// Draws frames on a graphics device, by OpenGL 3.3 core, into the framebuffer that is bound. Tiles
// stay on the device as half-float textures and are uploaded when their revision is new; the
// coldest go when there are too many. A frame is blended in linear light in a half-float picture
// and encoded into the framebuffer by one last pass.
//
// Every call, the destructor included, wants the same context to be current.
#pragma once

#include "App/Canvas/CanvasPresenter.h"

#include <expected>
#include <memory>
#include <string>

namespace ombrel {

class OpenGLPresenter final : public CanvasPresenter {
public:
    /// The error says what the context cannot do.
    static std::expected<std::unique_ptr<OpenGLPresenter>, std::string> create();
    ~OpenGLPresenter() override;

    void setDisplayProfile(const ColorProfile& profile) override;
    void present(const Frame& frame) override;
    QImage picture() override;       ///< reads back from the framebuffer that is bound
    std::size_t lastUploads() const; ///< tiles that the last frame brought to the device

private:
    class Device;

    explicit OpenGLPresenter(std::unique_ptr<Device> device);

    std::unique_ptr<Device> device_;
};

} // namespace ombrel
