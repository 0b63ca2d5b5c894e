#include "App/Canvas/OpenGLPresenter.h"

#include "App/Canvas/DisplayColors.h"
#include "App/Canvas/FrameLayout.h"
#include "App/Canvas/OpenGLShaders.h"
#include "App/Canvas/OpenGLTiles.h"

#include <QMatrix3x3>
#include <QOpenGLContext>
#include <QOpenGLShaderProgram>
#include <QOpenGLVersionFunctionsFactory>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>

namespace ombrel {

namespace {

QVector2D vector(const std::array<float, 2>& pair) {
    return {pair[0], pair[1]};
}

QVector4D vector(const LocalRect& rect) {
    return {rect.left, rect.top, rect.right, rect.bottom};
}

QVector4D vector(const DotGrid& grid) {
    return {grid.phase[0], grid.phase[1], grid.spacing, grid.alpha};
}

QMatrix3x3 matrixOf(const ProfileConversion& conversion) {
    QMatrix3x3 matrix;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            matrix(row, column) =
                conversion.columns[static_cast<std::size_t>(column)][static_cast<std::size_t>(row)];
    return matrix;
}

QByteArray withLocalPoints(const char* source) {
    return QByteArray(OpenGLShaders::localPoints) + source;
}

} // namespace

class OpenGLPresenter::Device {
public:
    explicit Device(QOpenGLFunctions_3_3_Core& functions) : gl(functions), tiles(functions) {}
    ~Device() {
        const std::array<GLuint, 2> textures{linear_, curves_};
        gl.glDeleteTextures(2, textures.data());
        gl.glDeleteFramebuffers(1, &framebuffer_);
        gl.glDeleteVertexArrays(1, &vertices_);
    }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    std::expected<void, std::string> prepare();
    void setColors(DisplayColors colors);
    void draw(const Frame& frame);
    QImage read();

    QOpenGLFunctions_3_3_Core& gl;
    OpenGLTiles tiles;

private:
    std::expected<void, std::string> link(QOpenGLShaderProgram& program, const char* vertex,
                                          const QByteArray& fragment);
    void resize(const FrameLayout& layout);
    void clear(const Frame& frame);
    void begin(QOpenGLShaderProgram& program, const FrameLayout& layout);
    void drawArea(QOpenGLShaderProgram& program, const FrameLayout& layout, const LocalRect& area);
    void drawDots(const FrameLayout& layout, const DotPlacement& dots);
    void drawChecks(const FrameLayout& layout, const CheckPlacement& checks);
    void drawTiles(const FrameLayout& layout, const FrameNode& node, bool isSmooth);
    void encode(GLuint target);

    QOpenGLShaderProgram tileProgram_;
    QOpenGLShaderProgram checksProgram_;
    QOpenGLShaderProgram dotsProgram_;
    QOpenGLShaderProgram encodeProgram_;
    GLuint vertices_ = 0; ///< none: corners follow from their number, but the core wants an array
    GLuint framebuffer_ = 0;
    GLuint linear_ = 0; ///< the picture before it is encoded
    GLuint curves_ = 0;
    int width_ = 0;
    int height_ = 0;
    DisplayColors colors_;
};

std::expected<void, std::string> OpenGLPresenter::Device::link(QOpenGLShaderProgram& program,
                                                               const char* vertex,
                                                               const QByteArray& fragment) {
    const bool isLinked = program.addShaderFromSourceCode(QOpenGLShader::Vertex, vertex) &&
                          program.addShaderFromSourceCode(QOpenGLShader::Fragment, fragment) &&
                          program.link();
    if (!isLinked) return std::unexpected(program.log().toStdString());
    return {};
}

std::expected<void, std::string> OpenGLPresenter::Device::prepare() {
    using namespace OpenGLShaders;
    auto linked = link(tileProgram_, areaVertex, withLocalPoints(tileFragment));
    if (linked) linked = link(checksProgram_, areaVertex, withLocalPoints(checksFragment));
    if (linked) linked = link(dotsProgram_, wholeVertex, withLocalPoints(dotsFragment));
    if (linked) linked = link(encodeProgram_, wholeVertex, encodeFragment);
    if (!linked) return linked;
    gl.glGenVertexArrays(1, &vertices_);
    gl.glGenFramebuffers(1, &framebuffer_);
    gl.glGenTextures(1, &linear_);
    gl.glGenTextures(1, &curves_);
    setColors(DisplayColors());
    return {};
}

void OpenGLPresenter::Device::setColors(DisplayColors colors) {
    colors_ = std::move(colors);
    std::vector<std::uint8_t> texels;
    texels.reserve(std::size_t{4} * DisplayColors::steps);
    for (std::size_t i = 0; i < DisplayColors::steps; ++i) {
        for (const DisplayColors::Curve& curve : colors_.curves())
            texels.push_back(curve[i]);
        texels.push_back(255);
    }
    gl.glBindTexture(GL_TEXTURE_2D, curves_);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, DisplayColors::side, DisplayColors::side, 0,
                    GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
}

void OpenGLPresenter::Device::resize(const FrameLayout& layout) {
    if (width_ == layout.width() && height_ == layout.height()) return;
    width_ = layout.width();
    height_ = layout.height();
    gl.glBindTexture(GL_TEXTURE_2D, linear_);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    gl.glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA16F, width_, height_, 0, GL_RGBA, GL_HALF_FLOAT,
                    nullptr);
    gl.glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, linear_, 0);
}

void OpenGLPresenter::Device::clear(const Frame& frame) {
    const auto& [red, green, blue] = frame.pasteboard;
    const PremultipliedColor ground =
        colors_.conversionFrom(ColorProfile::sRGB()).apply(red, green, blue, 1);
    gl.glClearColor(ground.red, ground.green, ground.blue, 1);
    gl.glClear(GL_COLOR_BUFFER_BIT);
}

void OpenGLPresenter::Device::begin(QOpenGLShaderProgram& program, const FrameLayout& layout) {
    program.bind();
    program.setUniformValue("along", vector(layout.along()));
    program.setUniformValue("across", vector(layout.across()));
    program.setUniformValue("start", vector(layout.start()));
    const AffineTransform& map = layout.toPixels();
    program.setUniformValue("toPixels",
                            QVector4D(static_cast<float>(map.a), static_cast<float>(map.b),
                                      static_cast<float>(map.c), static_cast<float>(map.d)));
    program.setUniformValue("toPixelsAt",
                            QVector2D(static_cast<float>(map.tx), static_cast<float>(map.ty)));
    program.setUniformValue("viewSize",
                            QVector2D(static_cast<float>(width_), static_cast<float>(height_)));
}

void OpenGLPresenter::Device::drawArea(QOpenGLShaderProgram& program, const FrameLayout& layout,
                                       const LocalRect& area) {
    // A pixel wider on every side: the fragments decide for themselves whether they belong.
    const float margin = 1.0f / layout.scale();
    program.setUniformValue("area", vector(area));
    program.setUniformValue("corners", QVector4D(area.left - margin, area.top - margin,
                                                 area.right + margin, area.bottom + margin));
    gl.glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
}

void OpenGLPresenter::Device::drawDots(const FrameLayout& layout, const DotPlacement& dots) {
    begin(dotsProgram_, layout);
    dotsProgram_.setUniformValue("fine", vector(dots.grids[0]));
    dotsProgram_.setUniformValue("coarse", vector(dots.grids[1]));
    dotsProgram_.setUniformValue("look", QVector3D(dots.radius, dots.light, layout.scale()));
    gl.glDrawArrays(GL_TRIANGLES, 0, 3);
}

void OpenGLPresenter::Device::drawChecks(const FrameLayout& layout, const CheckPlacement& checks) {
    begin(checksProgram_, layout);
    checksProgram_.setUniformValue(
        "checks", QVector3D(checks.corner[0], checks.corner[1], checks.squaresPerUnit));
    checksProgram_.setUniformValue("squares",
                                   QVector2D(FrameLayout::lightSquare, FrameLayout::darkSquare));
    drawArea(checksProgram_, layout, checks.area);
}

void OpenGLPresenter::Device::drawTiles(const FrameLayout& layout, const FrameNode& node,
                                        bool isSmooth) {
    QOpenGLShaderProgram& program = tileProgram_;
    begin(program, layout);
    program.setUniformValue("conversion", matrixOf(colors_.conversionFrom(node.profile)));
    program.setUniformValue("isSmooth", static_cast<GLint>(isSmooth));
    for (const FrameTile& tile : node.tiles) {
        const TilePlacement placement = layout.placementOf(node, tile);
        const auto* pixels = std::get_if<FramePixels>(&tile.source);
        program.setUniformValue("isSolid", static_cast<GLint>(pixels == nullptr));
        if (pixels != nullptr) {
            tiles.bind(*pixels);
            program.setUniformValue(
                "placement",
                QVector4D(vector(placement.factor), placement.offset[0], placement.offset[1]));
            program.setUniformValue("limits", vector(placement.limits));
        } else {
            const auto& color = std::get<PremultipliedColor>(tile.source);
            program.setUniformValue("solid",
                                    QVector4D(color.red, color.green, color.blue, color.alpha));
        }
        drawArea(program, layout, placement.area);
    }
}

void OpenGLPresenter::Device::encode(GLuint target) {
    gl.glBindFramebuffer(GL_FRAMEBUFFER, target);
    gl.glDisable(GL_BLEND);
    gl.glBindTexture(GL_TEXTURE_2D, linear_);
    gl.glActiveTexture(GL_TEXTURE1);
    gl.glBindTexture(GL_TEXTURE_2D, curves_);
    gl.glActiveTexture(GL_TEXTURE0);
    encodeProgram_.bind();
    encodeProgram_.setUniformValue("linear", 0);
    encodeProgram_.setUniformValue("curves", 1);
    const std::array<GLint, 2> place{0, height_ - 1};
    gl.glUniform2iv(encodeProgram_.uniformLocation("target"), 1, place.data());
    gl.glDrawArrays(GL_TRIANGLES, 0, 3);
    encodeProgram_.release();
}

void OpenGLPresenter::Device::draw(const Frame& frame) {
    const FrameLayout layout(frame);
    if (layout.width() <= 0 || layout.height() <= 0) return;
    GLint target = 0;
    gl.glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &target);
    gl.glBindVertexArray(vertices_);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    gl.glActiveTexture(GL_TEXTURE0);
    resize(layout);
    gl.glViewport(0, 0, width_, height_);
    for (const GLenum off : {GL_DEPTH_TEST, GL_SCISSOR_TEST, GL_CULL_FACE, GL_DITHER})
        gl.glDisable(off);
    gl.glEnable(GL_BLEND);
    gl.glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);
    clear(frame);
    tiles.beginFrame();
    if (const auto dots = layout.dotsOf(frame)) drawDots(layout, *dots);
    for (const FrameNode& node : frame.nodes) {
        if (frame.drawsCheckerboard) drawChecks(layout, layout.checksOf(node));
        drawTiles(layout, node, frame.isSmooth);
    }
    tiles.endFrame();
    encode(static_cast<GLuint>(target));
    gl.glBindVertexArray(0);
}

QImage OpenGLPresenter::Device::read() {
    if (width_ == 0 || height_ == 0) return {};
    QImage image(width_, height_, QImage::Format_RGBX8888);
    gl.glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
    return image.mirrored().convertToFormat(QImage::Format_RGB32);
}

std::expected<std::unique_ptr<OpenGLPresenter>, std::string> OpenGLPresenter::create() {
    QOpenGLContext* const context = QOpenGLContext::currentContext();
    if (context == nullptr) return std::unexpected("There is no OpenGL context.");
    auto* const functions = QOpenGLVersionFunctionsFactory::get<QOpenGLFunctions_3_3_Core>(context);
    if (functions == nullptr || !functions->initializeOpenGLFunctions())
        return std::unexpected("OpenGL 3.3 is not available.");
    auto device = std::make_unique<Device>(*functions);
    if (auto prepared = device->prepare(); !prepared) return std::unexpected(prepared.error());
    return std::unique_ptr<OpenGLPresenter>(new OpenGLPresenter(std::move(device)));
}

OpenGLPresenter::OpenGLPresenter(std::unique_ptr<Device> device) : device_(std::move(device)) {}

OpenGLPresenter::~OpenGLPresenter() = default;

void OpenGLPresenter::setDisplayProfile(const ColorProfile& profile) {
    device_->setColors(DisplayColors(profile));
}

void OpenGLPresenter::present(const Frame& frame) {
    device_->draw(frame);
}

QImage OpenGLPresenter::picture() {
    return device_->read();
}

std::size_t OpenGLPresenter::lastUploads() const {
    return device_->tiles.uploads();
}

} // namespace ombrel
