// How a struct tells its fields, once, for everything that walks over them: JSON both ways, the
// scripting reference, tests. A command does it in schema():
//   static constexpr auto schema() {
//       using Self = UngroupCommand;
//       return commandSchema("UngroupCommand", "Dissolves a group into its children.",
//                            field("layerID", &Self::layerID, "the group"));
//   }
// A field of std::optional may be left out in scripts; others by orDefault() and orMade().
#pragma once

#include <limits>
#include <string_view>
#include <tuple>

namespace ombrel {

/// What a field becomes that a script leaves out.
enum class Absence {
    refused,   ///< an error, but nothing for a std::optional
    byDefault, ///< what a new struct holds
    made,      ///< FieldCodec::make: a new identifier, the size of the picture just read
};

template <typename Owner, typename Value>
struct Field {
    std::string_view name;
    Value Owner::* member;
    std::string_view description; ///< a phrase in lower case, without a full stop
    Absence absence = Absence::refused;
    double least = -std::numeric_limits<double>::infinity();
    double most = std::numeric_limits<double>::infinity();

    constexpr Field orDefault() const { return with(Absence::byDefault); }
    constexpr Field orMade() const { return with(Absence::made); }
    /// Other numbers are refused, both ends allowed. Without it even NaN passes.
    constexpr Field between(double low, double high) const {
        Field bounded = *this;
        bounded.least = low;
        bounded.most = high;
        return bounded;
    }

    constexpr bool isBounded() const {
        return least > -std::numeric_limits<double>::infinity() ||
               most < std::numeric_limits<double>::infinity();
    }

private:
    constexpr Field with(Absence other) const {
        Field changed = *this;
        changed.absence = other;
        return changed;
    }
};

template <typename Owner, typename Value>
constexpr Field<Owner, Value> field(std::string_view name, Value Owner::* member,
                                    std::string_view description) {
    return {name, member, description};
}

/// The fields of a member record stand directly in its owner.
template <typename Owner, typename Value>
struct EmbeddedFields {
    Value Owner::* member;
};

template <typename Owner, typename Value>
constexpr EmbeddedFields<Owner, Value> embedded(Value Owner::* member) {
    return {member};
}

template <typename... Fields>
struct CommandSchema {
    std::string_view name;        ///< the struct's
    std::string_view description; ///< a sentence or two
    std::tuple<Fields...> fields;
};

template <typename... Fields>
constexpr CommandSchema<Fields...> commandSchema(std::string_view name,
                                                 std::string_view description, Fields... fields) {
    return {name, description, std::tuple(fields...)};
}

/// What a struct that is no command tells of itself: `name` (as the reference calls it, in lower
/// case), `description` and `fields()`, a tuple. Specialised beside the struct's codec.
template <typename T>
struct Record;

} // namespace ombrel
