// One tile of a picture that a cache computed: written once, then shared between the cache and the
// frames that show it, and given back to the store's pool by whoever lets go last. The revision is
// new for every buffer, so that a presenter uploads pixels once. Any thread may hold and read it.
#pragma once

#include "Core/TileStore.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace ombrel {

class CompositeBuffer {
public:
    CompositeBuffer(TileBuffer buffer, TileStore& store)
        : store_(store.shared_from_this()), buffer_(std::move(buffer)) {}
    ~CompositeBuffer() { store_->recycleBuffer(std::move(buffer_)); }
    CompositeBuffer(const CompositeBuffer&) = delete;
    CompositeBuffer& operator=(const CompositeBuffer&) = delete;

    const std::byte* bytes() const { return buffer_.bytes(); }
    std::uint64_t revision() const { return revision_; }

private:
    static std::uint64_t nextRevision() {
        static std::atomic<std::uint64_t> last = 0;
        return last.fetch_add(1, std::memory_order_relaxed) + 1;
    }

    std::shared_ptr<TileStore> store_;
    TileBuffer buffer_;
    std::uint64_t revision_ = nextRevision();
};

} // namespace ombrel
