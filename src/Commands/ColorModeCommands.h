// What the numbers of the picture mean: its profile, its depth and the space that it is blended in.
#pragma once

#include "Commands/Coding/ColorCodecs.h"
#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

namespace ombrel {

template <>
struct EnumNames<BitDepth> {
    static constexpr std::string_view name = "bit depth";
    static constexpr std::array<EnumCase<BitDepth>, 3> cases{{
        {BitDepth::eight, "eight"},
        {BitDepth::sixteen, "sixteen"},
        {BitDepth::thirtyTwo, "thirtyTwo"},
    }};
};

/// Gives the numbers that a file would hold another meaning: what is seen changes. Pixels are
/// stored as linear light, so where the profiles' curves differ they are encoded by the old ones
/// and read by the new ones.
struct AssignProfileCommand {
    ColorProfile profile;

    static constexpr const char* nothingDone = "The image has this profile already.";

    std::string name() const { return "Assign Profile"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const AssignProfileCommand&) const = default;

    static constexpr auto schema() {
        using Self = AssignProfileCommand;
        return commandSchema("AssignProfileCommand",
                             "Takes the numbers of the image to be of another profile; what is "
                             "seen changes.",
                             field("profile", &Self::profile, "the new profile"));
    }
};

/// Changes the numbers so that what is seen stays, as far as the new profile holds it.
struct ConvertProfileCommand {
    ColorProfile profile;

    static constexpr const char* nothingDone = "The image has this profile already.";

    std::string name() const { return "Convert to Profile"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const ConvertProfileCommand&) const = default;

    static constexpr auto schema() {
        using Self = ConvertProfileCommand;
        return commandSchema("ConvertProfileCommand",
                             "Converts the image to another profile; what is seen stays, as far "
                             "as the profile holds it.",
                             field("profile", &Self::profile, "the new profile"));
    }
};

/// What the document claims; its pixels are the same at every depth.
struct SetBitDepthCommand {
    BitDepth bitDepth = BitDepth::eight;

    static constexpr const char* nothingDone = "The image has this depth already.";

    std::string name() const { return "Bit Depth"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetBitDepthCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetBitDepthCommand;
        return commandSchema("SetBitDepthCommand", "Sets the depth that exports take.",
                             field("bitDepth", &Self::bitDepth, "bits of a channel"));
    }
};

struct SetBlendingSpaceCommand {
    bool blendUsingGamma1 = false;

    static constexpr const char* nothingDone = "The image is blended this way already.";

    std::string name() const { return "Blending Space"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const SetBlendingSpaceCommand&) const = default;

    static constexpr auto schema() {
        using Self = SetBlendingSpaceCommand;
        return commandSchema("SetBlendingSpaceCommand", "Chooses what layers are blended in.",
                             field("blendUsingGamma1", &Self::blendUsingGamma1,
                                   "true blends linear light, false encoded values"));
    }
};

} // namespace ombrel
