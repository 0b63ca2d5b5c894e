// One undoable edit as a value: applying it to a copy of the state gives the next state. A command
// touches neither session nor history nor screen, so it runs on any thread. Identifiers of what it
// makes are fixed when it is built: applied twice it gives the same result.
//
// A command is a plain struct with `name()` (or a field `name`, where whoever builds it chooses the
// words) and `apply()`, and where the defaults do not serve `coalescingKey()`, `runsOnQueue()` and
// a constant `nothingDone`. It lists its fields in `schema()`, see Coding/Fields.h. `Command` holds
// any of them.
#pragma once

#include "Commands/CommandError.h"
#include "Core/DocumentState.h"

#include <concepts>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <typeinfo>
#include <utility>

namespace ombrel {

class PixelDevice;
class Progress;
class TileStore;

/// What an edit works with besides the state.
struct CommandContext {
    TileStore& store;             ///< where new tiles go
    PixelDevice& device;          ///< what computes pixels
    Progress* progress = nullptr; ///< told how far long work is, and cancels it; may be null
};

using CommandResult = std::expected<void, CommandError>;

template <typename T>
concept NamedByField = requires(const T& command) {
    { command.name } -> std::convertible_to<std::string>;
};

template <typename T>
concept NamedByFunction = requires(const T& command) {
    { command.name() } -> std::convertible_to<std::string>;
};

/// What a command's own type has is asked first: the rest is not for types that hold a Command.
template <typename T>
concept CommandValue = (NamedByField<T> || NamedByFunction<T>) &&
                       requires(const T& command, DocumentState& state, const CommandContext& in) {
                           { command.apply(state, in) } -> std::same_as<CommandResult>;
                       } && std::equality_comparable<T> && std::copy_constructible<T>;

/// Any command; copying shares it. Immutable, so it goes freely between threads.
class Command {
public:
    template <typename T>
        requires(!std::same_as<T, Command> && CommandValue<T>)
    Command(T value) : model_(std::make_shared<const Model<T>>(std::move(value))) {} // NOLINT: any

    /// What history and the Edit menu show.
    std::string name() const { return model_->name(); }
    /// Successive commands with equal keys may become one history entry.
    std::optional<std::string> coalescingKey() const { return model_->coalescingKey(); }
    /// Whether it is too slow for the main thread.
    bool runsOnQueue() const { return model_->runsOnQueue(); }
    /// What to tell the user where applying it has changed nothing, instead of recording it; null
    /// where it is recorded whatever it does.
    const char* nothingDone() const { return model_->nothingDone(); }
    /// Edits in place. On failure the state may be half changed: the caller throws its copy away.
    CommandResult apply(DocumentState& state, const CommandContext& in) const {
        return model_->apply(state, in);
    }

    /// The command held, when it is a T; else null.
    template <CommandValue T>
    const T* as() const {
        const auto* model = dynamic_cast<const Model<T>*>(model_.get());
        return model == nullptr ? nullptr : &model->value;
    }
    const std::type_info& type() const { return model_->type(); }

    bool operator==(const Command& other) const { return model_->equals(*other.model_); }

private:
    struct AnyModel {
        virtual ~AnyModel() = default;
        virtual std::string name() const = 0;
        virtual std::optional<std::string> coalescingKey() const = 0;
        virtual bool runsOnQueue() const = 0;
        virtual const char* nothingDone() const = 0;
        virtual CommandResult apply(DocumentState& state, const CommandContext& in) const = 0;
        virtual const std::type_info& type() const = 0;
        virtual bool equals(const AnyModel& other) const = 0;
    };

    template <typename T>
    struct Model final : AnyModel {
        explicit Model(T command) : value(std::move(command)) {}

        std::string name() const override {
            if constexpr (NamedByField<T>)
                return value.name;
            else
                return value.name();
        }
        std::optional<std::string> coalescingKey() const override {
            if constexpr (requires { value.coalescingKey(); }) return value.coalescingKey();
            return std::nullopt;
        }
        bool runsOnQueue() const override {
            if constexpr (requires { value.runsOnQueue(); }) return value.runsOnQueue();
            return false;
        }
        const char* nothingDone() const override {
            if constexpr (requires { T::nothingDone; }) return T::nothingDone;
            return nullptr;
        }
        CommandResult apply(DocumentState& state, const CommandContext& in) const override {
            return value.apply(state, in);
        }
        const std::type_info& type() const override { return typeid(T); }
        bool equals(const AnyModel& other) const override {
            const auto* same = dynamic_cast<const Model*>(&other);
            return same != nullptr && same->value == value;
        }

        T value;
    };

    std::shared_ptr<const AnyModel> model_;
};

} // namespace ombrel
