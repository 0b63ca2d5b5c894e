// Commands as JSON, {"command": "AddLayerCommand", ...its fields}, and what there is to know about
// each kind. Built from CommandList.h. Any thread.
#pragma once

#include "Commands/Coding/Decoder.h"
#include "Commands/Coding/FieldCodec.h"
#include "Commands/Command.h"

#include <span>
#include <string_view>
#include <typeinfo>
#include <vector>

namespace ombrel {

struct CommandType {
    std::string_view name; ///< the struct's
    std::string_view description;
    const std::type_info* type;
    std::vector<FieldDescription> (*fields)(ValueKinds& kinds);
    Json (*encode)(const Command& command); ///< of this type
    Decoded<Command> (*decode)(const Json& json, Decoder& in);
};

/// In the order of the list.
std::span<const CommandType> commandTypes();
const CommandType* commandTypeNamed(std::string_view name); ///< null where there is none

/// The command must be of a listed type.
Json encodeCommand(const Command& command);
/// Errors name the field and what it must be. What a script may leave out is made up here: after
/// this a command is complete, and encodes to JSON that says all.
Decoded<Command> decodeCommand(const Json& json, const DecodingContext& context);

/// Commands inside commands.
template <>
struct FieldCodec<Command> {
    static Json encode(const Command& command) { return encodeCommand(command); }
    static Decoded<Command> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds&) { return "command"; }
};

} // namespace ombrel
