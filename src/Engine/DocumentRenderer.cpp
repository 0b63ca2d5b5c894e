#include "Engine/DocumentRenderer.h"

#include "Base/Check.h"
#include "Base/Log.h"
#include "Base/ThreadAnnotations.h"
#include "Engine/FrameTiles.h"
#include "Engine/PreviewCache.h"
#include "Engine/ViewGeometry.h"

#include <algorithm>
#include <iterator>
#include <unistd.h>
#include <unordered_set>

namespace ombrel {

namespace {

using Clock = CompositeCache::Clock;

constexpr int mostFramesInFlight = 2; ///< besides the one that is being drawn
constexpr int framesBetweenPrunes = 30;
constexpr std::size_t hiddenSlots = 8;
constexpr int framesForFirstLook = 10; ///< before it there is nothing at all to show
constexpr int coarserLevels = 3;       ///< more, and a stand-in says little
constexpr int coarsestPreview = 6;     ///< a sampled tile has 64 x 64 tiles of each layer below it

bool intersects(const RealRect& a, const RealRect& b) {
    return a.origin.x < b.origin.x + b.size.width && b.origin.x < a.origin.x + a.size.width &&
           a.origin.y < b.origin.y + b.size.height && b.origin.y < a.origin.y + a.size.height;
}

RealRect boundsOf(const DocumentState& state, RealPoint origin) {
    const PixelSize size = state.canvas.size;
    return {origin, {static_cast<double>(size.width), static_cast<double>(size.height)}};
}

/// A frame without nodes.
Frame groundOf(const Viewport& viewport) {
    Frame frame;
    frame.pixelSize = screenSize(viewport);
    frame.contentsScale = viewport.contentsScale;
    frame.boardToPixels = boardToScreen(viewport);
    frame.pasteboard = linearColor(viewport.pasteboard);
    frame.dots = viewport.board.dots;
    frame.drawsCheckerboard = viewport.checkerboard;
    frame.isSmooth = screenScale(viewport) < 1;
    return frame;
}

/// Visible tiles of a node, those nearest to the middle of the view first.
std::vector<TileCoord> tilesFromMiddle(const PyramidGeometry& geometry, int level,
                                       const RealRect& view, RealPoint origin) {
    const double left = view.origin.x - origin.x;
    const double top = view.origin.y - origin.y;
    const TileRange range =
        geometry.visibleTiles(level, left, top, left + view.size.width, top + view.size.height);
    const auto side = static_cast<double>(PyramidGeometry::tileSide(level));
    const double middleX = (left + view.size.width / 2) / side - 0.5;
    const double middleY = (top + view.size.height / 2) / side - 0.5;
    std::vector<TileCoord> coords(range.begin(), range.end());
    std::ranges::sort(coords, {}, [&](TileCoord coord) {
        const double x = coord.x - middleX;
        const double y = coord.y - middleY;
        return std::pair(x * x + y * y, coord);
    });
    return coords;
}

/// Whether a coarser tile that is up to date lies over it, not much coarser.
bool hasValidAbove(const CompositeCache& cache, int level, TileCoord coord) {
    for (int above = 1; above <= coarserLevels; ++above) {
        if (cache.isValid(level + above, PyramidGeometry::ancestor(coord, above))) return true;
    }
    return false;
}

/// Each once, in the order of the first that has it.
std::vector<TileCoord> ancestorsOf(std::span<const TileCoord> coords, int levels) {
    std::vector<TileCoord> ancestors;
    std::unordered_set<TileCoord> seen;
    for (const TileCoord coord : coords) {
        const TileCoord above = PyramidGeometry::ancestor(coord, levels);
        if (seen.insert(above).second) ancestors.push_back(above);
    }
    return ancestors;
}

} // namespace

struct DocumentRenderer::Slot {
    Slot(PixelDevice& device, TileStore& store, const Executor* actor)
        : cache(device, store, actor) {}

    std::int64_t ownedBytes() const {
        return cache.ownedBytes() + (preview ? preview->ownedBytes() : 0);
    }

    CompositeCache cache;
    std::unique_ptr<PreviewCache> preview; ///< null until it is needed
    std::unique_ptr<EffectBaking> effects; ///< may be null
    int lastFrame = 0;                     ///< that used it
};

/// Counts the frames that somebody holds; outlives the renderer with the last of them.
struct DocumentRenderer::Flights {
    Mutex mutex;
    int count OMBREL_GUARDED_BY(mutex) = 0;
    std::function<void()> released OMBREL_GUARDED_BY(mutex);

    int inFlight() {
        const LockGuard lock(mutex);
        return count;
    }
    static std::shared_ptr<void> begin(const std::shared_ptr<Flights>& flights) {
        {
            const LockGuard lock(flights->mutex);
            ++flights->count;
        }
        return {nullptr, [flights](std::nullptr_t) { flights->end(); }};
    }
    void end() {
        std::function<void()> tell;
        {
            const LockGuard lock(mutex);
            --count;
            tell = released;
        }
        if (tell) tell();
    }
};

/// What is handed along while a frame is made.
struct DocumentRenderer::Work {
    const Viewport& viewport;
    RealRect view;
    Frame frame;
    std::optional<Clock::time_point> deadline;
    std::optional<Clock::time_point> previewDeadline;
    std::size_t tilesLeft = 0;
    bool hasWorked = false; ///< got further with anything

    /// Whether something that takes so long fits in; always, where nothing was done yet.
    bool hasTimeFor(double seconds) const {
        const std::chrono::duration<double> needed(seconds);
        return !hasWorked || !deadline || Clock::now() + needed < *deadline;
    }
};

std::int64_t DocumentRenderer::defaultCacheBytes() {
    const std::int64_t physical = sysconf(_SC_PHYS_PAGES) * sysconf(_SC_PAGESIZE);
    return std::min<std::int64_t>(physical / 8, 3221225472);
}

DocumentRenderer::DocumentRenderer(PixelDevice& device, TileStore& store, Options options,
                                   const Executor* actor)
    : device_(device), store_(store), options_(std::move(options)), actor_(actor),
      flights_(std::make_shared<Flights>()) {}

DocumentRenderer::~DocumentRenderer() {
    onFrameReleased({});
}

int DocumentRenderer::framesInFlight() const {
    return flights_->inFlight();
}

void DocumentRenderer::onFrameReleased(std::function<void()> released) {
    const LockGuard lock(flights_->mutex);
    flights_->released = std::move(released);
}

std::expected<std::optional<Frame>, EngineError>
DocumentRenderer::draw(const Viewport& viewport, const DocumentState& state) {
    OMBREL_CHECK(actor_ == nullptr || actor_->isCurrent(), "frames are drawn on the render actor");
    if (framesInFlight() > mostFramesInFlight) return std::nullopt;
    const TimingInterval interval("Frame");
    const Clock::time_point begin = Clock::now();
    Work work{.viewport = viewport,
              .view = visibleRect(viewport),
              .frame = groundOf(viewport),
              .deadline = {},
              .previewDeadline = {},
              .tilesLeft = options_.tilesOfFrame};
    if (options_.frameTime) {
        work.deadline = begin + *options_.frameTime;
        work.previewDeadline =
            begin + *options_.frameTime * (slots_.empty() ? framesForFirstLook : 1);
    }
    Frame& frame = work.frame;
    frame.number = ++frame_;
    if (auto result = drawMain(state, work); !result) return std::unexpected(result.error());
    for (const BoardSceneNode& node : viewport.board.nodes) {
        if (node.id == viewport.board.activeNode) continue;
        if (!intersects(boundsOf(node.state, node.origin), work.view)) continue;
        if (auto result = drawNode(node, work); !result) return std::unexpected(result.error());
    }
    frame.isComplete = std::ranges::all_of(frame.nodes, &FrameNode::isComplete);
    FrameStatistics& statistics = frame.statistics;
    const auto visibleNodes = static_cast<std::size_t>(statistics.boardNodes);
    if (frame_ % framesBetweenPrunes == 0 || slots_.size() > visibleNodes + 9) prune();
    statistics.cacheBytes = ownedBytes();
    statistics.cachedNodes = static_cast<int>(slots_.size());
    statistics.encodeMilliseconds =
        std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    lastFrame_ = statistics;
    frame.flight = Flights::begin(flights_);
    return std::move(work.frame);
}

DocumentRenderer::Slot& DocumentRenderer::slot(const SlotKey& key) {
    std::unique_ptr<Slot>& slot = slots_[key];
    if (!slot) {
        slot = std::make_unique<Slot>(device_, store_, actor_);
        if (options_.makeEffects) slot->effects = options_.makeEffects();
    }
    slot->lastFrame = frame_;
    return *slot;
}

std::expected<void, EngineError> DocumentRenderer::drawMain(const DocumentState& state,
                                                            Work& work) {
    const BoardScene& board = work.viewport.board;
    FrameNode node{.id = board.activeNode, .bounds = boundsOf(state, {})};
    const auto onBoard = std::ranges::find_if(
        board.nodes, [&](const BoardSceneNode& other) { return other.id == board.activeNode; });
    if (onBoard != board.nodes.end()) node.bounds.origin = onBoard->origin;
    return addNode(slot(std::nullopt), state, std::move(node), true, work);
}

std::expected<void, EngineError> DocumentRenderer::drawNode(const BoardSceneNode& node,
                                                            Work& work) {
    Slot& slot = this->slot(node.id);
    const bool isOver = ownedBytes() > options_.cacheBytes;
    if (isOver) {
        overBudget_.insert(node.id);
    } else {
        overBudget_.erase(node.id);
    }
    ++work.frame.statistics.boardNodes;
    FrameNode drawn{.id = node.id, .bounds = boundsOf(node.state, node.origin)};
    auto result = addNode(slot, node.state, std::move(drawn), !isOver, work);
    if (!result) return result;
    FrameNode& added = work.frame.nodes.back();
    if (!added.isComplete) ++work.frame.statistics.pendingBoardNodes;
    if (isOver) added.isComplete = true; // nothing better will come
    return {};
}

std::expected<void, EngineError> DocumentRenderer::addNode(Slot& slot, const DocumentState& state,
                                                           FrameNode node, bool refreshes,
                                                           Work& work) {
    node.profile = state.canvas.profile;
    CompositeCache& cache = slot.cache;
    FrameStatistics& statistics = work.frame.statistics;
    const bool perceptual = !state.canvas.blendUsingGamma1;
    const auto baked = slot.effects ? slot.effects->baked(state) : std::nullopt;
    cache.update(baked ? *baked : state, perceptual);
    node.level = cache.geometry().levelOfScale(screenScale(work.viewport));
    const std::vector<TileCoord> coords =
        tilesFromMiddle(cache.geometry(), node.level, work.view, node.bounds.origin);
    if (refreshes && work.tilesLeft > 0 && !cache.isReady(node.level, coords)) {
        if (auto shown = preview(slot, node.level, coords, work); !shown) return shown;
        if (auto done = refresh(slot, node.level, coords, work); !done) return done;
    }
    if (work.frame.nodes.empty()) statistics.level = node.level;
    statistics.visibleTiles += static_cast<int>(coords.size());
    FrameTiles(cache, slot.preview.get(), work.deadline).add(node.level, coords, node);
    work.frame.nodes.push_back(std::move(node));
    return {};
}

std::expected<void, EngineError>
DocumentRenderer::refresh(Slot& slot, int level, std::span<const TileCoord> coords, Work& work) {
    CompositeCache& cache = slot.cache;
    if (!work.hasTimeFor(cache.secondsOfTile())) return {};
    const auto result = cache.refresh(
        level, coords,
        {.deadline = work.deadline, .tiles = work.tilesLeft, .ownedBytes = options_.cacheBytes});
    if (!result) return std::unexpected(result.error());
    const std::size_t composited = cache.lastCompositedTiles();
    const std::size_t downsampled = cache.lastDownsampledTiles();
    work.hasWorked = work.hasWorked || composited + downsampled > 0;
    work.tilesLeft -= std::min(composited, work.tilesLeft);
    work.frame.statistics.compositedTiles += static_cast<int>(composited);
    work.frame.statistics.downsampledTiles += static_cast<int>(downsampled);
    return {};
}

std::expected<void, EngineError>
DocumentRenderer::preview(Slot& slot, int level, std::span<const TileCoord> coords, Work& work) {
    const CompositeCache& cache = slot.cache;
    const bool isOneLayer = cache.program().size() < 2; // mostly shown as it stands
    if (!work.deadline || isOneLayer || !work.hasTimeFor(0)) return {};
    std::vector<TileCoord> missing;
    std::ranges::copy_if(coords, std::back_inserter(missing), [&](TileCoord coord) {
        return !cache.isValid(level, coord) && !hasValidAbove(cache, level, coord);
    });
    const double frameSeconds = std::chrono::duration<double>(*options_.frameTime).count();
    if (missing.empty() || cache.fits(level, coords, frameSeconds)) return {};
    // The finest level of which a frame can composite all that is missing; the one there is, if it
    // nearly does, because its samples are taken already.
    const int last = std::min({level + coarserLevels, coarsestPreview, cache.maxLevel()});
    int chosen = level;
    const auto seconds = [&](int at) {
        return static_cast<double>(ancestorsOf(missing, at - level).size()) * cache.secondsOfTile();
    };
    while (chosen < last && seconds(chosen) > frameSeconds)
        ++chosen;
    if (chosen > last) return {};
    if (!slot.preview) slot.preview = std::make_unique<PreviewCache>(device_, store_, actor_);
    const int present = slot.preview->level();
    const auto presentTiles = [&] { // as fast as they were, if that is known
        return static_cast<double>(ancestorsOf(missing, present - level).size());
    };
    if (present >= std::max(level, 1) && present <= last &&
        (seconds(present) <= 2 * frameSeconds ||
         presentTiles() * slot.preview->secondsOfTile() <= frameSeconds))
        chosen = present;
    slot.preview->update(cache.program(), cache.canvasSize(), cache.perceptualBlend(), chosen);
    const auto result = slot.preview->refresh(ancestorsOf(missing, chosen - level),
                                              *work.previewDeadline, options_.cacheBytes);
    if (!result) return std::unexpected(result.error());
    work.hasWorked = work.hasWorked || slot.preview->hasWorked();
    return {};
}

std::int64_t DocumentRenderer::ownedBytes() const {
    std::int64_t bytes = 0;
    for (const auto& [key, slot] : slots_)
        bytes += slot->ownedBytes();
    return bytes;
}

void DocumentRenderer::prune() {
    std::vector<decltype(slots_)::iterator> hidden;
    std::int64_t total = 0;
    for (auto it = slots_.begin(); it != slots_.end(); ++it) {
        if (it->second->lastFrame == frame_) continue;
        hidden.push_back(it);
        total += it->second->ownedBytes();
    }
    std::ranges::sort(hidden, {}, [](const auto& it) { return it->second->lastFrame; });
    std::size_t count = hidden.size();
    for (const auto& it : hidden) {
        if (count <= hiddenSlots && total <= options_.cacheBytes) break;
        total -= it->second->ownedBytes();
        --count;
        slots_.erase(it);
    }
}

} // namespace ombrel
