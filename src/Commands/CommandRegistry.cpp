#include "Commands/CommandRegistry.h"

#include "Base/Check.h"
#include "Commands/Coding/FieldCodecs.h"
#include "Commands/CommandList.h"

#include <algorithm>
#include <array>

namespace ombrel {

namespace {

constexpr std::string_view commandKey = "command";

template <typename T>
std::vector<FieldDescription> fieldsOf(ValueKinds& kinds) {
    return describeFields(T::schema().fields, kinds);
}

template <typename T>
Json encodeAs(const Command& command) {
    Json object = Json::object();
    object[std::string(commandKey)] = T::schema().name;
    encodeFields(T::schema().fields, *command.as<T>(), object);
    return object;
}

template <typename T>
Decoded<Command> decodeAs(const Json& json, Decoder& in) {
    T value;
    std::optional<JsonError> error =
        decodeFields(T::schema().fields, json, in, value, Completion::byField, commandKey);
    if (error) return std::unexpected(std::move(*error));
    if constexpr (requires { value.complete(in.state(), [&] { return in.makeID(); }); })
        value.complete(in.state(), [&] { return in.makeID(); });
    return Command(std::move(value));
}

template <typename... Ts>
constexpr std::array<CommandType, sizeof...(Ts)> tableOf(CommandTypes<Ts...>) {
    return {CommandType{Ts::schema().name, Ts::schema().description, &typeid(Ts), fieldsOf<Ts>,
                        encodeAs<Ts>, decodeAs<Ts>}...};
}

} // namespace

std::span<const CommandType> commandTypes() {
    static const auto table = tableOf(AllCommands());
    return table;
}

const CommandType* commandTypeNamed(std::string_view name) {
    const auto types = commandTypes();
    const auto found = std::ranges::find(types, name, &CommandType::name);
    return found == types.end() ? nullptr : &*found;
}

Json encodeCommand(const Command& command) {
    for (const CommandType& each : commandTypes())
        if (*each.type == command.type()) return each.encode(command);
    OMBREL_CHECK(false, "a command that is encoded is listed in CommandList.h");
    return {};
}

Decoded<Command> decodeCommand(const Json& json, const DecodingContext& context) {
    Decoder in(context);
    return FieldCodec<Command>::decode(json, in);
}

Decoded<Command> FieldCodec<Command>::decode(const Json& json, Decoder& in) {
    const Json* name = json.is_object() ? fieldOf(json, commandKey) : nullptr;
    if (name == nullptr || !name->is_string())
        return in.mustBe("an object whose \"command\" is the name of a command");
    const auto& text = name->get_ref<const std::string&>();
    const CommandType* type = commandTypeNamed(text);
    if (type == nullptr) return in.fault(fmt::format("is unknown: there is no \"{}\"", text));
    if (in.depth == Decoder::maximumDepth) return in.fault("is nested too deep");
    ++in.depth;
    Decoded<Command> command = type->decode(json, in);
    --in.depth;
    return command;
}

} // namespace ombrel
