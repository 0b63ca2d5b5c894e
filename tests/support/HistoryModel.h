// The undo list as plainly as it can be written: every state in a vector, every sum from scratch.
#pragma once

#include "Core/History.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace ombrel {

struct HistoryModel {
    struct Entry {
        DocumentState state;
        std::optional<std::string> key;
        History::Date date;
        std::int64_t retained = 0; ///< counted when the successor was written
    };
    std::vector<Entry> entries;
    std::size_t current = 0;
    std::size_t maximumStates;
    std::int64_t budget;

    HistoryModel(const DocumentState& initial, std::size_t states, std::int64_t bytes)
        : maximumStates(states), budget(bytes) {
        entries.push_back({initial, {}, {}});
    }

    void record(const DocumentState& state, const std::optional<std::string>& key,
                History::Date date) {
        entries.resize(current + 1, entries.front());
        Entry& present = entries[current];
        const std::chrono::duration<double> gap = date - present.date;
        if (key && current != 0 && present.key == key && gap.count() < 1.5) {
            present = {state, key, date};
            entries[current - 1].retained = bytesOnlyIn(entries[current - 1].state, state);
            return;
        }
        present.retained = bytesOnlyIn(present.state, state);
        entries.push_back({state, key, date});
        ++current;
        while (current > 0 && (entries.size() > maximumStates || total() > budget)) {
            entries.erase(entries.begin());
            --current;
        }
    }
    bool undo() { return moves(current > 0, -1); }
    bool redo() { return moves(current + 1 < entries.size(), 1); }
    void jump(std::int64_t index) {
        current =
            static_cast<std::size_t>(std::clamp<std::int64_t>(index, 0, std::ssize(entries) - 1));
    }
    const DocumentState& state() const { return entries[current].state; }
    std::int64_t total() const {
        std::int64_t sum = 0;
        for (const Entry& entry : entries)
            sum += entry.retained;
        return sum;
    }

private:
    bool moves(bool can, int step) {
        if (can) current += static_cast<std::size_t>(step);
        return can;
    }
    static std::int64_t bytesOnlyIn(const DocumentState& older, const DocumentState& newer) {
        const std::unordered_set<TileID> held = newer.tileIDs();
        std::unordered_set<TileID> counted;
        std::int64_t bytes = 0;
        for (const TileGrid& grid : older.allGrids()) {
            grid.forEach([&](TileCoord, const TileCell& cell) {
                if (cell.isPixels() && !held.contains(cell.tile().id()) &&
                    counted.insert(cell.tile().id()).second)
                    bytes += cell.tile().format() == TileFormat::r8 ? 65536 : 524288;
            });
        }
        return bytes;
    }
};

} // namespace ombrel
