#include "Core/TileBuffer.h"

#include "Base/Check.h"
#include "Base/ThreadAnnotations.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>

#if defined(__SANITIZE_ADDRESS__)
#define OMBREL_PLAIN_TILE_BUFFERS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define OMBREL_PLAIN_TILE_BUFFERS 1
#endif
#endif

namespace ombrel {

#ifdef OMBREL_PLAIN_TILE_BUFFERS

// The address sanitizer sees overruns of single blocks, not of slots.
TileBuffer TileBuffer::allocate(TileFormat format) {
    void* const block = std::aligned_alloc(4096, bytesPerTile(format));
    OMBREL_CHECK(block != nullptr, "there is memory for a tile");
    return {format, static_cast<std::byte*>(block), nullptr};
}

TileBuffer::~TileBuffer() {
    std::free(bytes_);
}

#else

namespace {

constexpr std::size_t slabSize = std::size_t{2} << 20; ///< one huge page

} // namespace

/// 2 MiB cut into tiles. Every slot is handed out once; when the last one has come back, the whole
/// is unmapped. A slot that comes back before that gives its memory back at once. Never reusing a
/// slot keeps address space a little longer, but slots of a broken huge page would fault in small
/// pages, at five times the cost of a new slab.
struct TileSlab {
    std::byte* base;
    std::size_t handedOut = 0;
    std::size_t live = 0;
};

namespace {

std::byte* mapSlab() {
    // Twice the size always holds an aligned slab; the rest goes back.
    void* const mapped =
        mmap(nullptr, 2 * slabSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    OMBREL_CHECK(mapped != MAP_FAILED, "there is memory for a tile");
    auto* const start = static_cast<std::byte*>(mapped);
    const std::size_t before = (slabSize - reinterpret_cast<std::uintptr_t>(start)) % slabSize;
    std::byte* const base = start + before;
    if (before != 0) munmap(start, before);
    munmap(base + slabSize, slabSize - before);
    // A wish: where huge pages are off, the slab works with small ones.
    static_cast<void>(madvise(base, slabSize, MADV_HUGEPAGE));
    return base;
}

/// The slabs of one format. Its lock is held for mapping an empty slab, never for touching memory.
class SlabSource {
public:
    explicit SlabSource(TileFormat format) : slotSize_(bytesPerTile(format)) {}

    std::pair<TileSlab*, std::byte*> take() {
        const LockGuard lock(mutex_);
        if (current_ == nullptr) current_ = new TileSlab{mapSlab()};
        TileSlab* const slab = current_;
        std::byte* const slot = slab->base + slab->handedOut * slotSize_;
        ++slab->live;
        if (++slab->handedOut == slotsPerSlab()) current_ = nullptr;
        return {slab, slot};
    }

    void giveBack(TileSlab* slab, std::byte* slot) {
        // Before the slot counts as gone: after that, another thread may unmap the slab.
        static_cast<void>(madvise(slot, slotSize_, MADV_DONTNEED));
        {
            const LockGuard lock(mutex_);
            if (--slab->live > 0 || slab == current_) return;
        }
        munmap(slab->base, slabSize);
        delete slab;
    }

private:
    std::size_t slotsPerSlab() const { return slabSize / slotSize_; }

    const std::size_t slotSize_;
    Mutex mutex_;
    TileSlab* current_ OMBREL_GUARDED_BY(mutex_) = nullptr; ///< has slots never handed out
};

/// Never destroyed: tiles may outlive everything else of the process.
SlabSource& slabsOf(TileFormat format) {
    static auto& sources = *new std::array<SlabSource, 2>{
        {SlabSource(TileFormat::rgba16Float), SlabSource(TileFormat::r8)}};
    return sources[static_cast<std::size_t>(format)];
}

} // namespace

TileBuffer TileBuffer::allocate(TileFormat format) {
    const auto [slab, slot] = slabsOf(format).take();
    return {format, slot, slab};
}

TileBuffer::~TileBuffer() {
    if (bytes_ != nullptr) slabsOf(format_).giveBack(slab_, bytes_);
}

#endif

} // namespace ombrel
