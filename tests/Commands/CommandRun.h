// Runs commands on states and compares what documents look like.
#pragma once

#include "Base/Progress.h"
#include "Commands/Command.h"
#include "Engine/CpuDevice.h"
#include "Engine/Flattener.h"
#include "Engine/HalfDistance.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace ombrel::test {

class CommandRun {
public:
    explicit CommandRun(TileStore& store) : store_(store) {}

    CommandResult apply(DocumentState& state, const Command& command,
                        Progress* progress = nullptr) {
        return command.apply(state, {.store = store_, .device = device_, .progress = progress});
    }
    /// The state after a command that must succeed.
    DocumentState after(DocumentState state, const Command& command) {
        const CommandResult result = apply(state, command);
        EXPECT_TRUE(result) << command.name() << ": " << result.error().text();
        return state;
    }
    /// Why a command is refused, or "done".
    std::string refusal(DocumentState state, const Command& command) {
        const CommandResult result = apply(state, command);
        return result ? "done" : result.error().text();
    }
    FlatImage flat(const DocumentState& state) {
        return Flattener::flatten(state, device_, store_).value();
    }
    /// The largest distance of two pictures of one size, in halves.
    int distance(const DocumentState& one, const DocumentState& other) {
        EXPECT_EQ(one.canvas.size, other.canvas.size);
        const FlatImage a = flat(one);
        const FlatImage b = flat(other);
        int worst = 0;
        for (std::size_t at = 0; at < a.bytes().size(); at += 2) {
            Half first;
            Half second;
            std::memcpy(&first, a.bytes().data() + at, 2);
            std::memcpy(&second, b.bytes().data() + at, 2);
            worst = std::max(worst, halfDistance(first, second));
        }
        return worst;
    }

private:
    TileStore& store_;
    CpuDevice device_;
};

/// Colours that no two neighbours share; alpha between `leastAlpha` and 1.
inline auto mottled(int seed, float leastAlpha = 1) {
    return [=](std::int64_t x, std::int64_t y) {
        const auto noise = [&](std::int64_t salt) {
            const auto value = static_cast<std::uint64_t>((x + 4096) * 7919 + (y + 4096) * 104729 +
                                                          seed * 31 + salt);
            return static_cast<float>((value * 0x9E3779B97F4A7C15u) >> 40) * 0x1p-24f;
        };
        const float alpha = leastAlpha + (1 - leastAlpha) * noise(1);
        return PremultipliedColor{noise(2) * alpha, noise(3) * alpha, noise(4) * alpha, alpha};
    };
}

} // namespace ombrel::test
