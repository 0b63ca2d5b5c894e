// The clipboard as people use it: between documents, and to and from another program.
#include "App/Clipboard/ClipMimeData.h"
#include "App/Shell/ShellFixture.h"

#include "App/Canvas/CanvasView.h"
#include "App/Shell/PlaceImage.h"
#include "Commands/LayerPropertyCommands.h"
#include "Core/ViewMapping.h"

#include <QApplication>
#include <QClipboard>
#include <QColorSpace>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QImage>
#include <QMimeData>
#include <QProcess>
#include <QStandardPaths>
#include <QStatusBar>

#include <cmath>

namespace ombrel {

namespace {

/// Straight 16-bit sRGB of a document colour.
QRgba64 encoded(const PremultipliedColor& color) {
    const auto sample = [&](float linear) {
        const double straight = color.alpha > 0 ? linear / color.alpha : 0;
        const double value =
            straight <= 0.0031308 ? straight * 12.92 : 1.055 * std::pow(straight, 1 / 2.4) - 0.055;
        return static_cast<quint16>(std::lround(value * 65535));
    };
    return qRgba64(sample(color.red), sample(color.green), sample(color.blue),
                   static_cast<quint16>(std::lround(color.alpha * 65535.0f)));
}

int largestDifference(QRgba64 a, QRgba64 b) {
    return std::max({std::abs(a.red() - b.red()), std::abs(a.green() - b.green()),
                     std::abs(a.blue() - b.blue()), std::abs(a.alpha() - b.alpha())});
}

} // namespace

class ClipboardTest : public ShellTest {
protected:
    ~ClipboardTest() override { QApplication::clipboard()->clear(); } // before the store goes

    static bool hasXclip() {
        return QGuiApplication::platformName() == "xcb" &&
               !QStandardPaths::findExecutable("xclip").isEmpty();
    }
    /// Runs to its end while this process answers.
    static bool run(const QStringList& command) {
        QProcess process;
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(command.front(), command.mid(1));
        return eventually([&] { return process.state() == QProcess::NotRunning; }) &&
               process.exitCode() == 0;
    }
    bool waitForLayers(std::size_t count, std::size_t index = 0) {
        return eventually([&] { return layerCount(index) == count && activities.all().empty(); });
    }
    const DocumentState& state(std::size_t index = 0) { return *document(index).session()->_state; }
    PremultipliedColor activeColorAt(std::int64_t x, std::int64_t y, std::size_t index = 0) {
        const PixelLayer& layer = *state(index).activePixelLayer();
        return layer.pixels.color(x - layer.offset.dx, y - layer.offset.dy);
    }
    /// Colours and alpha that differ everywhere, with none at some places.
    QImage strangePicture(int width, int height) {
        QImage image(width, height, QImage::Format_ARGB32);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                image.setPixel(x, y, qRgba(x * 3 % 256, y * 5 % 256, (x + y) % 256, x % 256));
        return image;
    }
    std::string saved(const QImage& image, const char* name) {
        const std::string path = folder / name;
        EXPECT_TRUE(image.save(QString::fromStdString(path)));
        return path;
    }
    /// Each straight 8-bit sample is the one of the picture, where there is alpha.
    void expectSame(const QImage& image, PixelOffset at) {
        for (int y = 0; y < image.height(); y += 7) {
            for (int x = 0; x < image.width(); x += 11) {
                const QRgba64 seen = encoded(activeColorAt(x + at.dx, y + at.dy));
                const QColor wanted = image.pixelColor(x, y);
                ASSERT_EQ(seen.alpha8(), wanted.alpha()) << x << ", " << y;
                if (wanted.alpha() == 0) continue;
                ASSERT_EQ(seen.red8(), wanted.red()) << x << ", " << y;
                ASSERT_EQ(seen.green8(), wanted.green()) << x << ", " << y;
                ASSERT_EQ(seen.blue8(), wanted.blue()) << x << ", " << y;
            }
        }
    }
};

TEST_F(ClipboardTest, layersGoFromOneDocumentToAnotherAndBackByUndo) {
    makeDocument();
    makeDocument({800, 800});
    ASSERT_EQ(layerCount(1), 2u);
    trigger("copy");
    trigger("paste", 1);
    ASSERT_TRUE(waitForLayers(3, 1));
    EXPECT_EQ(document(1).session()->undoName(), "Paste");
    trigger("undo", 1);
    EXPECT_EQ(layerCount(1), 2u);
    trigger("cut", 1);
    EXPECT_EQ(layerCount(1), 1u);
    trigger("pasteInPlace", 1);
    EXPECT_TRUE(waitForLayers(2, 1));
}

TEST_F(ClipboardTest, aPlacedPictureGoesAboveTheClipStack) {
    makeDocument();
    DocumentSession& session = *document().session();
    const LayerID base = session._state->root->children.front().id();
    const LayerID clipped = session._state->root->children.back().id();
    session.perform(SetClippingCommand{{clipped}, true});
    session.setActiveLayer(base);
    placeImage(document(), *controller, saved(strangePicture(20, 10), "placed.png"));
    ASSERT_TRUE(waitForLayers(3));
    EXPECT_EQ(session.undoName(), "Place Image");
    EXPECT_EQ(state().root->children[1].id(), clipped);
    EXPECT_EQ(state().root->children[2].id(), state().activeLayerID);
    trigger("undo");
    EXPECT_EQ(layerCount(), 2u);
}

TEST_F(ClipboardTest, withoutAPictureThereIsAWordAndNoEdit) {
    makeDocument();
    QApplication::clipboard()->setText("words");
    trigger("paste");
    EXPECT_EQ(document().window()->statusBar()->currentMessage(),
              "There is no picture on the clipboard.");
    QMimeData* damaged = new QMimeData;
    damaged->setData("image/png", "no picture");
    QApplication::clipboard()->setMimeData(damaged);
    trigger("paste");
    ASSERT_TRUE(eventually([&] { return answers.failures.size() == 1; }));
    EXPECT_NE(answers.failures[0].find("The clipboard could not be pasted."), std::string::npos);
    EXPECT_EQ(layerCount(), 2u);
}

TEST_F(ClipboardTest, anotherProgramGetsEveryPixelWithItsAlpha) {
    if (!hasXclip()) GTEST_SKIP() << "needs X and xclip";
    makeDocument({300, 200});
    const QImage image = strangePicture(120, 90);
    ASSERT_TRUE(openAndWait(saved(image, "in.png")));
    trigger("copy", 1);
    const QString out = QString::fromStdString(folder / "out.png");
    ASSERT_TRUE(run({"sh", "-c", "xclip -selection clipboard -t image/png -o > " + out}));
    const QImage seen(out);
    // The first column has no alpha.
    ASSERT_EQ(seen.size(), image.size() - QSize(1, 0));
    for (int y = 0; y < 90; y += 4) {
        for (int x = 1; x < 120; x += 3) {
            const QRgba64 wanted = encoded(activeColorAt(x, y, 1));
            ASSERT_LE(largestDifference(seen.pixelColor(x - 1, y).rgba64(), wanted), 2)
                << x << ", " << y;
            ASSERT_EQ(seen.pixelColor(x - 1, y).rgba(), image.pixel(x, y)) << x << ", " << y;
        }
    }
    EXPECT_FALSE(seen.colorSpace().iccProfile().isEmpty());
}

TEST_F(ClipboardTest, aPictureOfAnotherProgramComesWithEveryPixel) {
    if (!hasXclip()) GTEST_SKIP() << "needs X and xclip";
    makeDocument({300, 200});
    const QImage image = strangePicture(120, 90);
    const std::string path = saved(image, "in.png");
    ASSERT_TRUE(run({"xclip", "-selection", "clipboard", "-t", "image/png", "-i",
                     QString::fromStdString(path)}));
    ASSERT_TRUE(
        eventually([] { return QApplication::clipboard()->mimeData()->hasFormat("image/png"); }));
    trigger("paste");
    ASSERT_TRUE(waitForLayers(3));
    expectSame(image, {90, 55});
}

TEST_F(ClipboardTest, layersReachAnotherProcessAsLayers) {
    if (!hasXclip()) GTEST_SKIP() << "needs X and xclip";
    makeDocument({300, 200});
    trigger("copy");
    const QString file = QString::fromStdString(folder / "layers");
    ASSERT_TRUE(run({"sh", "-c",
                     "xclip -selection clipboard -t application/x-ombrel -o > " + file +
                         " && xclip -selection clipboard -t application/x-ombrel -i " + file}));
    ASSERT_TRUE(eventually([] {
        return dynamic_cast<const ClipMimeData*>(QApplication::clipboard()->mimeData()) == nullptr;
    })) << "another program has it now";
    trigger("pasteInPlace");
    ASSERT_TRUE(waitForLayers(3));
    EXPECT_EQ(state().activePixelLayer()->properties.name,
              state().root->children[1].properties().name);
}

TEST_F(ClipboardTest, aPictureDroppedOnTheCanvasIsALayerThere) {
    makeDocument({600, 400});
    const QImage image = strangePicture(60, 40);
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QString::fromStdString(saved(image, "one picture.png")))});
    DocumentWindow& window = *document().window();
    const RealPoint on = viewPoint(*document().session()->_viewTransform, {100, 300});
    const QPointF at = window.canvas().mapTo(
        &window, QPoint(static_cast<int>(std::lround(on.x)), static_cast<int>(std::lround(on.y))));
    QDragEnterEvent enters(at.toPoint(), Qt::CopyAction, &files, Qt::LeftButton, {});
    QApplication::sendEvent(&window, &enters);
    EXPECT_TRUE(enters.isAccepted());
    QDropEvent drops(at, Qt::CopyAction, &files, Qt::LeftButton, {});
    QApplication::sendEvent(&window, &drops);
    ASSERT_TRUE(waitForLayers(3));
    EXPECT_EQ(documentCount(), 1u);
    const PixelLayer& layer = *state().activePixelLayer();
    EXPECT_EQ(layer.properties.name, "one picture");
    EXPECT_NEAR(static_cast<double>(layer.offset.dx), 70, 2);
    EXPECT_NEAR(static_cast<double>(layer.offset.dy), 280, 2);
    expectSame(image, layer.offset);
}

} // namespace ombrel
