#include "App/Canvas/OpenGLPresenter.h"
#include "App/Canvas/RasterPresenter.h"
#include "App/PresentedScene.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPainter>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numbers>

namespace ombrel {

namespace {

constexpr RealSize viewSize{640, 420};
constexpr double sixth = std::numbers::pi / 6;

const std::vector<PresentedView>& views() {
    static const std::vector<PresentedView> views{
        {"eighth", 0.125, 0, {450, 300}},
        {"third", 0.33, 0, {450, 300}},
        {"whole", 1, 0, {450, 300}},
        {"fourfold", 4, 0, {620.25, 320.5}},
        {"turned", 0.7, sixth, {450, 300}},
        {"turnedFar", 0.2, -2.5 * sixth, {300, 200}},
        {"turnedClose", 2.5, sixth, {280, 390}},
        {"between", 1.3, 0, {449.7, 300.2}},
        {"smallest", 0.01, sixth, {450, 300}},
    };
    return views;
}

/// A context with a framebuffer to draw into; `error` says why there is none.
class OpenGLGround {
public:
    explicit OpenGLGround(QSize size) {
        // The offscreen platform lends no context.
        if (QGuiApplication::platformName() == "offscreen") {
            error = "This platform has no OpenGL.";
            return;
        }
        QSurfaceFormat format;
        format.setVersion(3, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
        context_.setFormat(format);
        if (!context_.create()) {
            error = "No OpenGL context can be had.";
            return;
        }
        surface_.setFormat(context_.format());
        surface_.create();
        if (!context_.makeCurrent(&surface_)) {
            error = "The OpenGL context cannot be made current.";
            return;
        }
        target_ = std::make_unique<QOpenGLFramebufferObject>(size);
        target_->bind();
        auto created = OpenGLPresenter::create();
        if (created) {
            presenter = *std::move(created);
        } else {
            error = created.error();
        }
    }

    std::string error;

private:
    QOffscreenSurface surface_;
    QOpenGLContext context_;
    std::unique_ptr<QOpenGLFramebufferObject> target_;

public:
    std::unique_ptr<OpenGLPresenter> presenter; ///< goes before its context
};

/// The largest difference of any channel of two pixels.
int differenceOf(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                     std::abs(qBlue(a) - qBlue(b))});
}

void expectAlike(const QImage& image, const QImage& other) {
    ASSERT_EQ(image.size(), other.size());
    int different = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int difference = differenceOf(image.pixel(x, y), other.pixel(x, y));
            if (difference > 1 && ++different < 5)
                ADD_FAILURE() << "pixel " << x << ", " << y << " differs by " << difference;
        }
    }
    EXPECT_EQ(different, 0);
}

int encoded(double light) {
    return static_cast<int>(
        std::lround(255 * ToneCurve::sRGB().encoded(std::clamp(light, 0.0, 1.0))));
}

void save(const QImage& image, const std::string& name) {
    const char* folder = std::getenv("OMBREL_GOLDEN_OUT");
    if (folder != nullptr) image.save(QString::fromStdString(std::string(folder) + "/" + name));
}

QSize sizeOf(RealSize size) {
    return {static_cast<int>(size.width), static_cast<int>(size.height)};
}

} // namespace

TEST(CanvasPresenter, bothPresentersDrawTheSamePicture) {
    OpenGLGround ground(sizeOf(viewSize));
    if (!ground.error.empty()) GTEST_SKIP() << ground.error;
    RasterPresenter raster;
    for (const ColorProfile& profile : {ColorProfile::sRGB(), ColorProfile::displayP3()}) {
        PresentedScene scene(profile);
        for (const PresentedView& view : views()) {
            for (const bool checkerboard : {true, false}) {
                SCOPED_TRACE(view.name + " " + profile.name());
                const Frame frame = scene.frame(view, viewSize, checkerboard);
                raster.present(frame);
                ground.presenter->present(frame);
                const QImage picture = ground.presenter->picture();
                expectAlike(raster.picture(), picture);
                if (!checkerboard) continue;
                save(raster.picture(), view.name + "-raster.png");
                save(picture, view.name + "-opengl.png");
            }
        }
    }
}

TEST(CanvasPresenter, bothLayNodesOverEachOther) {
    OpenGLGround ground(sizeOf(viewSize));
    if (!ground.error.empty()) GTEST_SKIP() << ground.error;
    RasterPresenter raster;
    PresentedScene scene(ColorProfile::sRGB());
    for (const double rotation : {0.0, sixth}) {
        for (const bool checkerboard : {true, false}) {
            SCOPED_TRACE(testing::Message() << rotation << checkerboard);
            Frame frame = scene.frame({"", 0.4, rotation, {450, 300}}, viewSize, checkerboard);
            // The second covers a part of the first, the third lies beside them.
            for (const RealPoint& corner : {RealPoint{310.5, 140}, RealPoint{-520, -630}}) {
                FrameNode other = frame.nodes[0];
                other.bounds.origin = corner;
                frame.nodes.push_back(std::move(other));
            }
            raster.present(frame);
            ground.presenter->present(frame);
            expectAlike(raster.picture(), ground.presenter->picture());
        }
    }
}

TEST(CanvasPresenter, bothConvertToTheDisplay) {
    OpenGLGround ground(sizeOf(viewSize));
    if (!ground.error.empty()) GTEST_SKIP() << ground.error;
    RasterPresenter raster;
    PresentedScene scene(ColorProfile::displayP3());
    const Frame frame = scene.frame(views()[4], viewSize);
    raster.present(frame);
    const QImage onSRGB = raster.picture().copy();
    raster.setDisplayProfile(ColorProfile::adobeRGB());
    ground.presenter->setDisplayProfile(ColorProfile::adobeRGB());
    raster.present(frame);
    ground.presenter->present(frame);
    expectAlike(raster.picture(), ground.presenter->picture());
    EXPECT_NE(raster.picture(), onSRGB);
}

TEST(CanvasPresenter, uploadsATileOnlyOnce) {
    OpenGLGround ground(sizeOf(viewSize));
    if (!ground.error.empty()) GTEST_SKIP() << ground.error;
    PresentedScene scene(ColorProfile::sRGB());
    ground.presenter->present(scene.frame(views()[2], viewSize));
    EXPECT_GT(ground.presenter->lastUploads(), 4u);
    PresentedView moved = views()[2];
    moved.center.x += 20;
    ground.presenter->present(scene.frame(moved, viewSize));
    EXPECT_EQ(ground.presenter->lastUploads(), 0u);
}

TEST(RasterPresenter, drawsWhatTheFrameSays) {
    for (const ColorProfile& profile : {ColorProfile::sRGB(), ColorProfile::displayP3()}) {
        PresentedScene scene(profile);
        RasterPresenter raster;
        for (const PresentedView& view : views()) {
            SCOPED_TRACE(view.name + " " + profile.name());
            const Frame frame = scene.frame(view, viewSize);
            raster.present(frame);
            const QImage picture = raster.picture();
            const FrameReference reference(frame, ColorProfile::sRGB());
            int wrong = 0;
            int opaque = 0;
            for (int y = 0; y < picture.height(); ++y) {
                for (int x = 0; x < picture.width(); ++x) {
                    const auto light = reference.at(x, y);
                    if (!light || light->alpha < 1) continue;
                    ++opaque;
                    const QRgb expected =
                        qRgb(encoded(light->red), encoded(light->green), encoded(light->blue));
                    if (differenceOf(picture.pixel(x, y), expected) > 1) ++wrong;
                }
            }
            EXPECT_EQ(wrong, 0) << "of " << opaque;
            EXPECT_GT(opaque, view.scale < 0.1 ? 0 : 1000);
        }
    }
}

TEST(RasterPresenter, showsTheCanvasOnChecksAndThePasteboardAround) {
    PresentedScene scene(ColorProfile::sRGB());
    RasterPresenter raster;
    raster.present(scene.frame({"", 0.5, 0, {450, 300}}, viewSize));
    const QImage picture = raster.picture();
    // The canvas is 450 x 300 in the middle of 640 x 420, clear for the first 20 x 15.
    EXPECT_EQ(picture.pixel(95 + 3, 60 + 3), qRgb(255, 255, 255));
    EXPECT_EQ(picture.pixel(95 + 11, 60 + 3), qRgb(204, 204, 204));
    EXPECT_EQ(picture.pixel(95 + 3, 60 + 11), qRgb(204, 204, 204));
    int ground = 0;
    for (int x = 0; x < 640; ++x)
        ground += picture.pixel(x, 20) == qRgb(0x30, 0x38, 0x40) ? 1 : 0;
    EXPECT_GT(ground, 300);
    EXPECT_LE(ground, 640);
    QImage painted(640, 420, QImage::Format_RGB32);
    QPainter painter(&painted);
    raster.paint(painter);
    EXPECT_EQ(painted, picture);
}

} // namespace ombrel
