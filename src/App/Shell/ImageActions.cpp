// The menu Image: what changes the canvas as a whole.
#include "App/Shell/ActionReasons.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/LayerDialogs.h"
#include "App/Shell/SizeDialogs.h"
#include "App/Shell/WindowAction.h"
#include "Commands/CanvasCommands.h"
#include "Commands/ColorModeCommands.h"
#include "Commands/RotateCommands.h"

namespace ombrel {

namespace {

using In = const ActionContext&;

using ActionReasons::whenFree;

template <BitDepth depth>
constexpr WindowAction bitDepth(const char* identifier, const char* text) {
    return {"&Image/&Mode",
            identifier,
            text,
            "",
            whenFree,
            [](In in) {
                if (in.session._state->canvas.bitDepth != depth)
                    in.session.perform(SetBitDepthCommand{depth});
            },
            nullptr,
            [](In in) { return in.session._state->canvas.bitDepth == depth; }};
}

template <std::size_t index, bool converts>
constexpr WindowAction profile(const char* identifier, const char* text) {
    return {
        converts ? "&Image/&Convert to Profile" : "&Image/&Assign Profile",
        identifier,
        text,
        "",
        whenFree,
        [](In in) {
            const ColorProfile& wanted = ColorProfile::builtIn()[index];
            if (in.session._state->canvas.profile == wanted) return;
            if constexpr (converts)
                in.session.perform(ConvertProfileCommand{wanted});
            else
                in.session.perform(AssignProfileCommand{wanted});
        },
        nullptr,
        [](In in) { return in.session._state->canvas.profile == ColorProfile::builtIn()[index]; }};
}

template <int degrees>
constexpr WindowAction turn(const char* identifier, const char* text) {
    return {"&Image/&Rotation", identifier, text, "", whenFree, [](In in) {
                in.session.perform(RotateCanvasCommand{double(degrees)});
            }};
}

template <FlipAxis axis>
constexpr WindowAction flip(const char* identifier, const char* text) {
    return {"&Image/&Rotation", identifier, text, "", whenFree, [](In in) {
                in.session.perform(FlipCanvasCommand{axis});
            }};
}

constexpr WindowAction image[] = {
    bitDepth<BitDepth::eight>("depth8", "&8 Bits/Channel"),
    bitDepth<BitDepth::sixteen>("depth16", "&16 Bits/Channel"),
    bitDepth<BitDepth::thirtyTwo>("depth32", "&32 Bits/Channel"),
    {"&Image/&Mode", nullptr, nullptr},
    {"&Image/&Mode", "linearBlending", "Blend in &Linear Light", "", whenFree,
     [](In in) {
         in.session.perform(SetBlendingSpaceCommand{!in.session._state->canvas.blendUsingGamma1});
     },
     nullptr, [](In in) { return in.session._state->canvas.blendUsingGamma1; }},
    profile<0, false>("assignSRGB", "&sRGB"),
    profile<1, false>("assignDisplayP3", "&Display P3"),
    profile<2, false>("assignAdobeRGB", "&Adobe RGB (1998)"),
    profile<0, true>("convertSRGB", "&sRGB"),
    profile<1, true>("convertDisplayP3", "&Display P3"),
    profile<2, true>("convertAdobeRGB", "&Adobe RGB (1998)"),
    {"&Image", nullptr, nullptr},
    {"&Image", "imageSize", "&Image Size…", "Ctrl+Alt+I", whenFree,
     [](In in) { showImageSize(in.window, in.session, in.controller.services().settings); }},
    {"&Image", "canvasSize", "Canvas &Size…", "Ctrl+Alt+C", whenFree,
     [](In in) { showCanvasSize(in.window, in.session, in.controller.services().settings); }},
    turn<180>("rotate180", "&180°"),
    turn<90>("rotateRight", "90° &Right"),
    turn<-90>("rotateLeft", "90° &Left"),
    {"&Image/&Rotation", "rotateBy", "&By Angle…", "", whenFree,
     [](In in) { showRotateBy(in.window, in.session); }},
    {"&Image/&Rotation", nullptr, nullptr},
    flip<FlipAxis::horizontal>("flipHorizontal", "Flip &Horizontal"),
    flip<FlipAxis::vertical>("flipVertical", "Flip &Vertical"),
    {"&Image", nullptr, nullptr},
    {"&Image", "crop", "Cro&p to Rectangle…", "", whenFree,
     [](In in) { showCrop(in.window, in.session); }},
    {"&Image", "trim", "&Trim", "", whenFree, [](In in) { in.session.perform(TrimCommand{}); }},
    {"&Image", "revealAll", "Re&veal All", "", whenFree,
     [](In in) { in.session.perform(RevealAllCommand{}); }},
    {"&Image", nullptr, nullptr},
    {"&Image", "duplicateImage", "&Duplicate", "", nullptr,
     [](In in) { in.controller.duplicate(in.document); }},
};

} // namespace

std::span<const WindowAction> imageActions() {
    return image;
}

} // namespace ombrel
