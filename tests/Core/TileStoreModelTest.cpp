// The store against a model of one thread: after every operation each tile must be where the model
// says, down to the last byte of the sums.
#include "Core/TileStore.h"
#include "Core/TileStoreFakes.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace ombrel {
namespace {

using namespace testing;

enum class Place { resident, compressed, spilled };

struct ModelTile {
    Tile tile;
    std::uint64_t seed;
    Place place;
    std::uint64_t lastUse;
    std::int64_t blobBytes; ///< of the form it has or would have
    std::int64_t pins = 0;
};

class Model {
public:
    explicit Model(std::uint64_t seed) : random_(seed) {
        for (std::uint64_t content = 0; content < 8; ++content) {
            contents_.push_back(patternBytes(content, format));
            blobs_.push_back(TileCompression::encode(contents_.back(), format));
        }
    }

    ~Model() {
        for (const ModelTile& each : tiles_) {
            for (std::int64_t i = 0; i < each.pins; ++i) {
                store_->unpin(each.tile);
            }
        }
    }
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    void step() {
        switch (random_.below(12)) {
        case 0:
        case 1:
            return makeResident();
        case 2:
            return makeCompressed();
        case 3:
        case 4:
            return release();
        case 5:
        case 6:
        case 7:
            return pin();
        case 8:
        case 9:
            return unpin();
        case 10:
            return compressSome();
        default:
            return evict();
        }
    }

    void compare() const {
        TileStore::Statistics expected;
        for (const ModelTile& each : tiles_) {
            ++expected.tileCount;
            expected.pinnedTiles += each.pins > 0 ? 1 : 0;
            ASSERT_EQ(store_->isResident(each.tile), each.place == Place::resident)
                << each.tile.id().text();
            switch (each.place) {
            case Place::resident:
                ++expected.residentTiles;
                expected.residentBytes += r8Bytes;
                break;
            case Place::compressed:
                ++expected.compressedTiles;
                expected.compressedBytes += each.blobBytes;
                break;
            case Place::spilled:
                ++expected.spilledTiles;
                expected.spilledBytes += each.blobBytes;
                break;
            }
        }
        ASSERT_EQ(store_->statistics(), expected);
        ASSERT_EQ(store_.scratch->extentCount(), static_cast<std::size_t>(expected.spilledTiles));
    }

    void compareBytes() {
        for (ModelTile& each : tiles_) {
            ASSERT_TRUE(holds(each.tile, contents_[each.seed]));
            each.place = Place::resident;
            each.lastUse = ++clock_;
        }
        compare();
    }

private:
    static constexpr TileFormat format = TileFormat::r8;

    ModelTile* any() { return tiles_.empty() ? nullptr : &tiles_[random_.below(tiles_.size())]; }

    void add(Tile tile, std::uint64_t seed, Place place) {
        tiles_.push_back({std::move(tile), seed, place, ++clock_,
                          static_cast<std::int64_t>(blobs_[seed].size())});
    }
    void makeResident() {
        const std::uint64_t seed = random_.below(8);
        add(testing::makeTile(*store_, contents_[seed], format), seed, Place::resident);
    }
    void makeCompressed() {
        const std::uint64_t seed = random_.below(8);
        add(store_->makeTile(blobs_[seed], format), seed, Place::compressed);
    }
    void release() {
        ModelTile* const victim = any();
        if (victim == nullptr || victim->pins > 0) return;
        std::swap(*victim, tiles_.back());
        tiles_.pop_back();
    }
    void pin() {
        ModelTile* const target = any();
        if (target == nullptr) return;
        const std::byte* const bytes = store_->pin(target->tile);
        ASSERT_EQ(std::memcmp(bytes, contents_[target->seed].data(), bytesPerTile(format)), 0);
        target->place = Place::resident;
        target->lastUse = ++clock_;
        ++target->pins;
    }
    void unpin() {
        ModelTile* const target = any();
        if (target == nullptr || target->pins == 0) return;
        store_->unpin(target->tile);
        --target->pins;
    }
    void compressSome() {
        std::vector<Tile> listed;
        for (std::uint64_t i = random_.below(4); i > 0 && !tiles_.empty(); --i) {
            ModelTile& target = *any();
            listed.push_back(target.tile);
            if (target.place == Place::resident && target.pins == 0) {
                target.place = Place::compressed;
            }
        }
        TileStore::compress(listed);
        settle(*store_);
    }

    /// The coldest of one place give way until at most `target` bytes are left there.
    template <typename Bytes>
    void push(Place from, Place to, std::int64_t target, Bytes bytes) {
        std::vector<ModelTile*> candidates;
        std::int64_t excess = -target;
        for (ModelTile& each : tiles_) {
            if (each.place != from) continue;
            excess += bytes(each);
            if (each.pins == 0) candidates.push_back(&each);
        }
        std::ranges::sort(candidates, {}, &ModelTile::lastUse);
        for (ModelTile* const each : candidates) {
            if (excess < 1) return;
            each->place = to;
            excess -= bytes(*each);
        }
    }
    void evict() {
        const auto residentTarget = static_cast<std::int64_t>(random_.below(80)) * 30000;
        const auto compressedTarget = static_cast<std::int64_t>(random_.below(60)) * 20000;
        push(Place::resident, Place::compressed, residentTarget,
             [](const ModelTile&) { return r8Bytes; });
        push(Place::compressed, Place::spilled, compressedTarget,
             [](const ModelTile& each) { return each.blobBytes; });
        store_->evict(residentTarget, compressedTarget, random_.below(2) == 0);
    }

    TestRandom random_;
    FakeStore store_;
    std::vector<std::vector<std::byte>> contents_; ///< by seed
    std::vector<TileBlob> blobs_;
    std::vector<ModelTile> tiles_;
    std::uint64_t clock_ = 0;
};

TEST(TileStoreModel, everyTileIsWhereTheModelSays) {
    Model model(testSeed(20));
    for (int step = 0; step < 6000; ++step) {
        model.step();
        model.compare();
        if (::testing::Test::HasFatalFailure()) FAIL() << "at step " << step;
    }
    model.compareBytes();
}

} // namespace
} // namespace ombrel
