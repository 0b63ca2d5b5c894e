#include "App/Canvas/GraphicsProbe.h"

#include "Base/Log.h"

#include <QGuiApplication>

#include <algorithm>
#include <array>
#include <chrono>
#include <future>
#include <string>
#include <string_view>
#include <utility>

#include <EGL/egl.h>

namespace ombrel::GraphicsProbe {

namespace {

constexpr unsigned glRenderer = 0x1F01; // GL_RENDERER

/// The name of what draws, as a context without a surface tells it; empty where there is none.
std::string rendererOf(EGLDisplay display) {
    static constexpr std::array<EGLint, 3> wanted{EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    static constexpr std::array<EGLint, 7> version{EGL_CONTEXT_MAJOR_VERSION,
                                                   3,
                                                   EGL_CONTEXT_MINOR_VERSION,
                                                   3,
                                                   EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                                   EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                                   EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglBindAPI(EGL_OPENGL_API) ||
        !eglChooseConfig(display, wanted.data(), &config, 1, &count) || count == 0)
        return {};
    const EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, version.data());
    if (context == EGL_NO_CONTEXT) return {};
    std::string name;
    if (eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context)) {
        using GetString = const unsigned char* (*)(unsigned);
        const auto getString = reinterpret_cast<GetString>(eglGetProcAddress("glGetString"));
        const unsigned char* text = getString != nullptr ? getString(glRenderer) : nullptr;
        if (text != nullptr) name = reinterpret_cast<const char*>(text);
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
    eglDestroyContext(display, context);
    return name;
}

// The display is left open: the driver may be the one that the toolkit uses soon.
std::string askForRenderer() {
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (display == EGL_NO_DISPLAY || !eglInitialize(display, nullptr, nullptr)) return {};
    std::string name = rendererOf(display);
    eglReleaseThread();
    return name;
}

bool isDevice(const std::string& renderer) {
    // Drawn on the processor, OpenGL is slower than what we draw there ourselves.
    static constexpr std::array<std::string_view, 5> software{"llvmpipe", "softpipe", "swrast",
                                                              "Software", "SWR"};
    Log::info("OpenGL is drawn by {}", renderer.empty() ? "nothing" : renderer);
    return !renderer.empty() && std::ranges::none_of(software, [&](std::string_view name) {
        return renderer.find(name) != std::string::npos;
    });
}

std::shared_future<bool>& answer() {
    static std::shared_future<bool> found;
    return found;
}

} // namespace

void begin() {
    if (answer().valid()) return;
    // Other platforms lend no context to widgets, or crash when asked for one.
    const QString platform = QGuiApplication::platformName();
    const bool canHave = platform == "xcb" || platform.startsWith("wayland");
    if (canHave) {
        answer() =
            std::async(std::launch::async, [] { return isDevice(askForRenderer()); }).share();
    } else {
        std::promise<bool> none;
        none.set_value(false);
        answer() = none.get_future().share();
    }
}

std::optional<bool> hasDevice() {
    begin();
    const bool isKnown = answer().wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    return isKnown ? std::optional(answer().get()) : std::nullopt;
}

void finish() {
    if (answer().valid()) answer().wait();
}

} // namespace ombrel::GraphicsProbe
