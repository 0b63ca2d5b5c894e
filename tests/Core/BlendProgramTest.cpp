#include "Core/BlendMath.h"
#include "Core/FillComposite.h"

#include "TestSeed.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace ombrel {

namespace {

using BlendMath::BeginOp;
using BlendMath::EndOp;
using BlendMath::LayerOp;
using BlendMath::Op;
using Random = std::mt19937_64;

PremultipliedColor times(const PremultipliedColor& c, float f) {
    return {c.red * f, c.green * f, c.blue * f, c.alpha * f};
}

// The same programs by recursive descent: every level is a call of its own.
class RecursiveInterpreter {
public:
    RecursiveInterpreter(std::span<const Op> ops, bool perceptual, std::int32_t x, std::int32_t y)
        : ops_(ops), perceptual_(perceptual), x_(x), y_(y) {}

    PremultipliedColor run() {
        const PremultipliedColor result = level({}, 0);
        return perceptual_ ? TransferFunction::decode(result) : result;
    }

private:
    // Returns at the end that closes this level (closing_ is then set) or with the program.
    PremultipliedColor level(PremultipliedColor content, int depth) {
        while (next_ < ops_.size()) {
            const std::size_t index = next_++;
            if (const auto* layer = std::get_if<LayerOp>(&ops_[index])) {
                content = afterLayer(content, *layer, index);
            } else if (const auto* begin = std::get_if<BeginOp>(&ops_[index])) {
                if (depth == 10) continue;
                const PremultipliedColor inside =
                    level(begin->isolated ? PremultipliedColor{} : content, depth + 1);
                if (closing_ == nullptr) return inside; // the program ended inside
                content = afterGroup(content, inside);
            } else if (depth > 0) {
                closing_ = &std::get<EndOp>(ops_[index]);
                closingIndex_ = index;
                return content;
            }
        }
        closing_ = nullptr;
        return content;
    }

    PremultipliedColor onto(const PremultipliedColor& below, PremultipliedColor c, BlendMode mode,
                            std::size_t index) const {
        if (mode != BlendMode::dissolve) return BlendMath::composite(mode, below, c);
        c = BlendMath::dissolve(c, x_, y_, static_cast<std::uint32_t>(index));
        return BlendMath::composite(BlendMode::normal, below, c);
    }

    PremultipliedColor afterLayer(const PremultipliedColor& below, const LayerOp& op,
                                  std::size_t index) const {
        if (op.color.alpha <= 0) return below;
        PremultipliedColor c = perceptual_ ? TransferFunction::encode(op.color) : op.color;
        c = times(c, op.opacity * op.mask);
        PremultipliedColor result = onto(below, c, op.blendMode, index);
        if (!op.clipped) return result;
        if (op.blendMode == BlendMode::dissolve) {
            c = BlendMath::dissolve(c, x_, y_, static_cast<std::uint32_t>(index));
        }
        result.red -= c.red * (1 - below.alpha);
        result.green -= c.green * (1 - below.alpha);
        result.blue -= c.blue * (1 - below.alpha);
        result.alpha = below.alpha;
        return result;
    }

    PremultipliedColor afterGroup(const PremultipliedColor& under,
                                  const PremultipliedColor& inside) const {
        const float f = closing_->opacity * closing_->mask;
        if (closing_->isolated) {
            return onto(under, times(inside, f), closing_->blendMode, closingIndex_);
        }
        if (f == 1) return inside;
        return {under.red + (inside.red - under.red) * f,
                under.green + (inside.green - under.green) * f,
                under.blue + (inside.blue - under.blue) * f,
                under.alpha + (inside.alpha - under.alpha) * f};
    }

    std::span<const Op> ops_;
    bool perceptual_;
    std::int32_t x_;
    std::int32_t y_;
    std::size_t next_ = 0;
    const EndOp* closing_ = nullptr;
    std::size_t closingIndex_ = 0;
};

float unit(Random& random) {
    const std::uint64_t draw = random();
    if (draw % 4 == 0) return (draw >> 8) % 2 == 0 ? 0.0f : 1.0f;
    return static_cast<float>(draw >> 40) * 0x1p-24f;
}

BlendMode anyMode(Random& random) {
    return static_cast<BlendMode>(random() % blendModeCount);
}

LayerOp randomLayer(Random& random) {
    const float alpha = unit(random);
    const float gain = random() % 6 == 0 ? 3.0f : 1.0f;
    LayerOp op;
    op.color = {unit(random) * gain * alpha, (unit(random) - 0.1f) * alpha, unit(random) * alpha,
                alpha};
    op.opacity = unit(random);
    op.mask = random() % 2 == 0 ? 1.0f : unit(random);
    op.blendMode = anyMode(random);
    op.clipped = random() % 4 == 0;
    return op;
}

std::vector<Op> randomProgram(Random& random) {
    std::vector<Op> ops;
    const std::size_t length = random() % 60;
    const std::uint64_t deep = random() % 3; // some programs pass the deepest level
    while (ops.size() < length) {
        const std::uint64_t draw = random() % 10;
        if (draw < 2 + 2 * deep) {
            ops.emplace_back(BeginOp{random() % 2 == 0});
        } else if (draw < 4 + 2 * deep) {
            ops.emplace_back(EndOp{random() % 2 == 0, unit(random), anyMode(random),
                                   random() % 2 == 0 ? 1.0f : unit(random)});
        } else {
            ops.emplace_back(randomLayer(random));
        }
    }
    return ops;
}

LayerOp plain(const PremultipliedColor& color, BlendMode mode = BlendMode::normal) {
    LayerOp op;
    op.color = color;
    op.blendMode = mode;
    return op;
}

constexpr PremultipliedColor red{1, 0, 0, 1};
constexpr PremultipliedColor blueGlass{0, 0, 0.5f, 0.5f};

} // namespace

TEST(BlendProgram, anyProgramGivesWhatRecursionGives) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    for (int round = 0; round < 20000; ++round) {
        const std::vector<Op> ops = randomProgram(random);
        const bool perceptual = random() % 2 == 0;
        const auto x = static_cast<std::int32_t>(random());
        const auto y = static_cast<std::int32_t>(random());
        const PremultipliedColor expected = RecursiveInterpreter(ops, perceptual, x, y).run();
        const PremultipliedColor result = BlendMath::evaluate(ops, perceptual, x, y);
        ASSERT_EQ(result, expected) << "program " << round << " of " << ops.size() << " ops";
    }
}

TEST(BlendProgram, aClippedLayerOverNothingLeavesNothing) {
    for (const BlendModeName& name : blendModeNames) {
        LayerOp op = plain({0.3f, 0.2f, 0.1f, 0.6f}, name.mode);
        op.clipped = true;
        EXPECT_EQ(BlendMath::evaluate(std::vector<Op>{op}, false, 3, 4), PremultipliedColor{})
            << name.rawValue;
    }
}

TEST(BlendProgram, theEleventhLevelIsIgnoredAndItsEndClosesAnOuterOne) {
    std::vector<Op> ops;
    for (int i = 0; i < 11; ++i)
        ops.emplace_back(BeginOp{true});
    ops.emplace_back(plain(red));
    ops.emplace_back(EndOp{true, 0.5f}); // meant for the eleventh, closes the tenth
    for (int i = 0; i < 9; ++i)
        ops.emplace_back(EndOp{});
    EXPECT_EQ(BlendMath::evaluate(ops, false, 0, 0), (PremultipliedColor{0.5f, 0, 0, 0.5f}));
    ops.emplace_back(EndOp{true, 0}); // one too many: nothing is left to close
    EXPECT_EQ(BlendMath::evaluate(ops, false, 0, 0), (PremultipliedColor{0.5f, 0, 0, 0.5f}));
}

TEST(BlendProgram, aPassThroughGroupIsAllOrNothingAtTheEndsOfItsOpacity) {
    // 3 + (1e-7 - 3) is not 1e-7 in floats: a whole group must not round.
    const PremultipliedColor bright{3, 3, 3, 1};
    const PremultipliedColor faint{1e-7f, 0.1f, 0.7f, 1};
    for (const bool perceptual : {false, true}) {
        const std::vector<Op> ungrouped{plain(bright), plain(faint)};
        const std::vector<Op> backdrop{plain(bright)};
        const std::vector<Op> whole{plain(bright), BeginOp{false}, plain(faint), EndOp{false, 1}};
        const std::vector<Op> hidden{plain(bright), BeginOp{false}, plain(faint), EndOp{false, 0}};
        const std::vector<Op> masked{plain(bright), BeginOp{false}, plain(faint),
                                     EndOp{false, 1, BlendMode::normal, 0}};
        EXPECT_EQ(BlendMath::evaluate(whole, perceptual, 0, 0),
                  BlendMath::evaluate(ungrouped, perceptual, 0, 0));
        EXPECT_EQ(BlendMath::evaluate(hidden, perceptual, 0, 0),
                  BlendMath::evaluate(backdrop, perceptual, 0, 0));
        EXPECT_EQ(BlendMath::evaluate(masked, perceptual, 0, 0),
                  BlendMath::evaluate(backdrop, perceptual, 0, 0));
    }
}

TEST(BlendProgram, dissolveCountsEveryOpOfTheProgram) {
    // The same layer behind one more op draws its speckle from the next index.
    LayerOp half = plain({0.5f, 0.5f, 0.5f, 0.5f}, BlendMode::dissolve);
    int differing = 0;
    for (std::int32_t x = 0; x < 64; ++x) {
        const std::vector<Op> first{half};
        const std::vector<Op> second{EndOp{}, half};
        const float expected = BlendMath::dissolveNoise(x, 9, 1) < 0.5f ? 1.0f : 0.0f;
        const PremultipliedColor result = BlendMath::evaluate(second, false, x, 9);
        EXPECT_EQ(result.alpha, expected);
        if (BlendMath::evaluate(first, false, x, 9) != result) ++differing;
    }
    EXPECT_GT(differing, 16);
}

TEST(BlendProgram, perceptualBlendingMixesEncodedValues) {
    const std::vector<Op> ops{plain(red), plain(blueGlass)};
    const PremultipliedColor linear = BlendMath::evaluate(ops, false, 0, 0);
    EXPECT_EQ(linear, (PremultipliedColor{0.5f, 0, 0.5f, 1}));
    const PremultipliedColor perceptual = BlendMath::evaluate(ops, true, 0, 0);
    const float mixed = TransferFunction::decode(0.5f);
    EXPECT_FLOAT_EQ(perceptual.red, mixed);
    EXPECT_FLOAT_EQ(perceptual.blue, mixed);
    EXPECT_EQ(perceptual.alpha, 1);
}

TEST(BlendProgram, aFlatStackIsAProgramOfPlainLayers) {
    const std::array layers{
        BlendMath::FlatLayer{red},
        BlendMath::FlatLayer{blueGlass, 0.7f, BlendMode::screen},
        BlendMath::FlatLayer{{0.2f, 0.3f, 0.1f, 0.5f}, 0.9f, BlendMode::dissolve},
    };
    std::vector<Op> ops;
    for (const BlendMath::FlatLayer& layer : layers)
        ops.emplace_back(LayerOp{layer.color, layer.opacity, layer.blendMode});
    for (std::int32_t x = 0; x < 32; ++x) {
        EXPECT_EQ(BlendMath::evaluate(std::span(layers), true, x, 1),
                  BlendMath::evaluate(ops, true, x, 1));
    }
}

TEST(FillComposite, laysTheCoveredSourceOverTheBackdrop) {
    const PremultipliedColor white = PremultipliedColor::white();
    const FillComposite linear{BlendMode::normal, 1, false};
    EXPECT_EQ(linear.apply(red, white, 0.25f, 0, 0), (PremultipliedColor{1, 0.75f, 0.75f, 1}));
    EXPECT_EQ(linear.apply(red, white, 0, 0, 0), white);

    const FillComposite perceptual{BlendMode::normal, 1, true};
    const PremultipliedColor mixed = perceptual.apply(red, white, 0.5f, 0, 0);
    EXPECT_FLOAT_EQ(mixed.green, TransferFunction::decode(0.5f));

    const FillComposite multiplied{BlendMode::multiply, 1, false};
    EXPECT_EQ(multiplied.apply({0.5f, 0.25f, 1, 1}, {0.5f, 0.5f, 0.5f, 1}, 1, 0, 0),
              (PremultipliedColor{0.25f, 0.125f, 0.5f, 1}));
}

TEST(FillComposite, dissolveDrawsFromIndexZero) {
    const FillComposite fill{BlendMode::dissolve, 1, true};
    for (std::int32_t x = 0; x < 64; ++x) {
        const PremultipliedColor result = fill.apply(red, {}, 0.5f, x, 3);
        const bool isKept = BlendMath::dissolveNoise(x, 3, 0) < 0.5f;
        EXPECT_EQ(result, isKept ? red : PremultipliedColor{}) << x;
    }
}

} // namespace ombrel
