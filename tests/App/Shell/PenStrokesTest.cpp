// A pen on the real window: strokes, and the way back.
#include "App/Canvas/CanvasView.h"
#include "Core/ViewMapping.h"
#include "ShellFixture.h"
#include "TestSeed.h"
#include "Tools/BrushTool.h"

#include <QApplication>
#include <QPointingDevice>
#include <QTabletEvent>
#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <malloc.h>
#include <random>
#include <unistd.h>

namespace ombrel {

namespace {

constexpr PixelSize documentSize{4000, 3000};
constexpr int strokeCount = 50;

class Pen {
public:
    explicit Pen(CanvasView& canvas) : canvas_(canvas) {}

    void proximity(QEvent::Type type) { send(type, {}, 0, Qt::NoButton); }
    /// One event of a pen that touches, at a place of the document.
    void touch(QEvent::Type type, RealPoint at, double pressure) {
        const RealPoint point = viewPoint(canvas_.controller().viewTransform(), at);
        send(type, {point.x, point.y}, pressure, Qt::LeftButton);
    }

private:
    void send(QEvent::Type type, QPointF where, double pressure, Qt::MouseButton button) {
        const bool isHeld = type != QEvent::TabletRelease && button != Qt::NoButton;
        QTabletEvent event(type, &device_, where, canvas_.mapToGlobal(where), pressure, 20, -15, 0,
                           0, 0, {}, type == QEvent::TabletMove ? Qt::NoButton : button,
                           isHeld ? Qt::MouseButtons(button) : Qt::NoButton);
        const bool isProximity = button == Qt::NoButton;
        QObject* receiver = isProximity ? static_cast<QObject*>(qApp) : &canvas_;
        QCoreApplication::sendEvent(receiver, &event);
    }

    CanvasView& canvas_;
    QPointingDevice device_{"pen",
                            7,
                            QInputDevice::DeviceType::Stylus,
                            QPointingDevice::PointerType::Pen,
                            QInputDevice::Capability::Pressure | QInputDevice::Capability::XTilt,
                            1,
                            1};
};

/// A loop somewhere on the canvas, softly begun and ended.
void paintLoop(Pen& pen, std::mt19937_64& random) {
    std::uniform_real_distribution<double> unit(0, 1);
    const RealPoint middle{unit(random) * documentSize.width, unit(random) * documentSize.height};
    const double reach = 100 + 500 * unit(random);
    constexpr int samples = 40;
    for (int i = 0; i <= samples; ++i) {
        const double t = i / double{samples};
        const RealPoint at{middle.x + reach * std::cos(5 * t), middle.y + reach * std::sin(7 * t)};
        const auto type = i == 0         ? QEvent::TabletPress
                          : i == samples ? QEvent::TabletRelease
                                         : QEvent::TabletMove;
        pen.touch(type, at, i == samples ? 0 : 0.1 + 0.9 * std::sin(3.1 * t));
        if (i % 8 == 0) QCoreApplication::processEvents();
    }
}

/// Bytes of this process in memory.
std::int64_t residentBytes() {
    malloc_trim(0);
    std::ifstream file("/proc/self/statm");
    std::int64_t all = 0;
    std::int64_t resident = 0;
    file >> all >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

class PenStrokes : public ShellTest {
protected:
    PenStrokes() { settings->set(SettingKeys::historyStates, std::int64_t{strokeCount + 10}); }

    /// With brush and eraser. Each begins while the one before may still be rendered.
    void paintAll(DocumentSession& session, Pen& pen) {
        std::mt19937_64 random(testSeed());
        std::uniform_real_distribution<double> logarithmOfSize(1, 5.5);
        auto& brush = dynamic_cast<BrushTool&>(*session.toolOf(ToolKind::brush));
        for (int i = 0; i < strokeCount; ++i) {
            brush.options().setSize(std::exp(logarithmOfSize(random)));
            session.setTool(i % 5 == 4 ? ToolKind::eraser : ToolKind::brush);
            paintLoop(pen, random);
        }
    }
    void undoAll(DocumentSession& session) {
        for (int i = 0; i < strokeCount; ++i) {
            ASSERT_TRUE(session.canUndo());
            trigger("undo");
        }
    }
};

} // namespace

TEST_F(PenStrokes, areUndoneToTheBitAndGiveTheirMemoryBack) {
    makeDocument(documentSize);
    addLayer(document());
    DocumentSession& session = *document().session();
    const DocumentState first = *session._state;
    const std::int64_t entries = session._history->count();
    Pen pen(document().window()->canvas());
    pen.proximity(QEvent::TabletEnterProximity);
    std::vector<std::int64_t> memory;
    for (int round = 0; round < 3; ++round) {
        paintAll(session, pen);
        const auto isDone = [&] { return session._history->count() == entries + strokeCount; };
        ASSERT_TRUE(eventually(isDone, 60'000)) << session._history->count();
        EXPECT_EQ(session.undoName(), "Eraser Tool");
        const DocumentState painted = *session._state;
        EXPECT_NE(painted, first);
        undoAll(session);
        EXPECT_EQ(*session._state, first);
        trigger("redo");
        trigger("undo");
        memory.push_back(residentBytes());
    }
    // What only the history holds is compressed, and buffers kept for more strokes are given back,
    // when nobody paints any more.
    const auto isAtRest = [&] {
        const TileStore::Statistics tiles = store->statistics();
        return tiles.pooledBytes == 0 && 4 * tiles.residentTiles < tiles.tileCount;
    };
    EXPECT_TRUE(eventually(isAtRest, 20'000)) << store->statistics().residentTiles;
    // For people: what the process holds depends on the tests before this one, too.
    RecordProperty("megabytes", fmt::format("{} {}", memory.front() >> 20, memory.back() >> 20));
}

} // namespace ombrel
