// Any value of the types that commands hold, at random, and any command from its list of fields: a
// new command is covered as soon as it is listed, a new field type needs a line here.
#pragma once

#include "Commands/Coding/FieldCodecs.h"
#include "Commands/CommandList.h"
#include "Core/TileStore.h"
#include "support/RandomValues.h"
#include "support/TestStore.h"

#include <cmath>
#include <limits>
#include <random>

namespace ombrel::test {

class RandomValues {
public:
    RandomValues(std::uint64_t seed, TileStore& store) : random_(seed), store_(store) {}

    std::uint64_t below(std::uint64_t n) { return random_() % n; }
    bool oneIn(std::uint64_t n) { return below(n) == 0; }
    double unit() { return static_cast<double>(random_() >> 11) * 0x1p-53; }

    /// A command of the type with a value in every field, optional ones now and then.
    template <typename T>
    T command() {
        T value{};
        setAll(T::schema().fields, value);
        return value;
    }

    template <typename T>
    T value() {
        T made{};
        set(made);
        return made;
    }

    LayerID id() {
        LayerID made;
        for (std::uint8_t& byte : made.rawValue.bytes)
            byte = static_cast<std::uint8_t>(random_());
        return made;
    }

private:
    template <typename T, typename... Fields>
    void setAll(const std::tuple<Fields...>& fields, T& owner) {
        std::apply([&](const auto&... each) { (setField(each, owner), ...); }, fields);
    }
    template <typename Owner, typename Value>
    void setField(const Field<Owner, Value>& field, Owner& owner) {
        Value& value = owner.*field.member;
        if constexpr (std::is_arithmetic_v<Value>) {
            if (field.isBounded()) {
                const double low = std::max(field.least, -1e12);
                value = static_cast<Value>(low + unit() * (std::min(field.most, 1e12) - low));
                return;
            }
        }
        set(value);
    }
    template <typename Owner, typename Value>
    void setField(const EmbeddedFields<Owner, Value>& embedded, Owner& owner) {
        set(owner.*embedded.member);
    }

    template <HasRecord T>
    void set(T& record) {
        setAll(Record<T>::fields(), record);
    }
    template <typename T>
    void set(std::optional<T>& optional) {
        optional.reset();
        if (!oneIn(3)) set(optional.emplace());
    }
    template <typename T>
    void set(std::vector<T>& list) {
        for (std::uint64_t i = below(4); i > 0; --i)
            set(list.emplace_back());
    }
    template <typename T>
    void set(std::map<LayerID, T>& map) {
        for (std::uint64_t i = below(4); i > 0; --i)
            set(map[id()]);
    }
    template <typename E>
        requires(std::is_enum_v<E>)
    void set(E& value) {
        const auto& cases = EnumNames<E>::cases;
        value = cases[below(std::size(cases))].value;
    }
    void set(bool& value) { value = oneIn(2); }
    template <typename T>
        requires(std::is_integral_v<T>)
    void set(T& value) {
        value = static_cast<T>(random_());
    }
    void set(double& value) {
        if (oneIn(8))
            value = oneIn(2) ? -0.0 : std::numeric_limits<double>::infinity();
        else
            value = std::ldexp(unit() - 0.5, static_cast<int>(below(60)) - 30);
    }
    void set(float& value) {
        double wide = 0;
        set(wide);
        value = static_cast<float>(wide);
    }
    void set(std::string& value) {
        static constexpr std::array<std::string_view, 5> pieces{"Layer", " 1", "\"\\\n", "Ü", "🎨"};
        value.clear();
        for (std::uint64_t i = below(5); i > 0; --i)
            value += pieces[below(pieces.size())];
    }
    void set(LayerID& value) { value = id(); }
    void set(LayerLocks& value) { value = {static_cast<std::uint8_t>(random_())}; }
    void set(Command& inner) {
        if (oneIn(2))
            inner = command<SetClippingCommand>();
        else
            inner = command<TranslateLayersCommand>();
    }
    void set(RealPoint& point) {
        set(point.x);
        set(point.y);
    }
    void set(ColorProfile& profile) {
        const auto builtIn = ColorProfile::builtIn();
        if (oneIn(2))
            profile = builtIn[below(builtIn.size())];
        else
            profile = ColorProfile("Mine", std::vector<std::byte>(below(9), std::byte{7}));
    }
    void set(std::vector<LayerNode>& nodes) {
        if (depth_ == 2) return;
        ++depth_;
        for (std::uint64_t i = below(3); i > 0; --i) {
            if (oneIn(2))
                nodes.emplace_back(value<GroupLayer>());
            else
                nodes.emplace_back(value<PixelLayer>());
        }
        --depth_;
    }
    void set(TileGrid& grid) {
        std::optional<Tile> tile;
        for (std::uint64_t i = below(6); i > 0; --i) {
            const TileCoord coord{static_cast<std::int32_t>(below(6)) - 3,
                                  static_cast<std::int32_t>(below(3)) - 1};
            if (oneIn(2)) {
                grid.set(coord, PremultipliedColor{0.1f, 0, static_cast<float>(unit()), 1});
            } else {
                // Now and then the tile of another cell.
                if (!tile || oneIn(2))
                    tile = makeTestTile(store_, grid.format(), static_cast<std::uint8_t>(below(9)));
                grid.set(coord, *tile);
            }
        }
    }

    ombrel::RandomValues contents() { return ombrel::RandomValues(random_()); }
    void set(CowOptional<ShapeContent>& shape) {
        if (oneIn(4)) shape = contents().shape();
    }
    void set(CowOptional<TextContent>& text) {
        if (oneIn(4)) text = contents().textContent();
    }
    void set(CowOptional<InstanceContent>& instance) {
        if (oneIn(4)) instance = contents().instance();
    }
    void set(CowList<Effect>& effects) {
        for (std::uint64_t i = below(3); i > 0; --i)
            effects.write().push_back(contents().effect());
    }

    std::mt19937_64 random_;
    TileStore& store_;
    int depth_ = 0;
};

/// Calls visit.operator()<T>() for every command type.
template <typename Visit, typename... Ts>
void forEachCommandType(Visit&& visit, CommandTypes<Ts...>) {
    (visit.template operator()<Ts>(), ...);
}

} // namespace ombrel::test
