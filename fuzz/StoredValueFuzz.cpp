// Any text as the JSON of a value that files hold: it is refused with words or becomes a value
// whose own JSON reads back to the same. The first byte, a letter from A on, chooses the type.
#include "Base/Check.h"
#include "Core/Stored/BoardForms.h"
#include "Core/Stored/EffectForms.h"
#include "Core/Stored/ShapeForms.h"
#include "Core/Stored/TextForms.h"

#include <array>
#include <cstdint>

using namespace ombrel;

namespace {

template <typename T>
void readAs(const Json& json) {
    const Stored::Result<T> value = Stored::decode<T>(json);
    if (!value) {
        OMBREL_CHECK(!value.error().text().empty(), "an error has words");
        return;
    }
    const std::string text = compactText(Stored::encode(*value));
    const Stored::Result<T> again = Stored::decode<T>(parseJson(text).value());
    OMBREL_CHECK(again && compactText(Stored::encode(*again)) == text, "what was written is read");
}

constexpr std::array readers{
    readAs<Canvas>,     readAs<LayerProperties>, readAs<GradientDefinition>,
    readAs<Effect>,     readAs<ShapeContent>,    readAs<TextContent>,
    readAs<VectorPath>, readAs<InstanceContent>,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto json = parseJson(text);
    if (json) readers[(data[0] + 256u - 'A') % readers.size()](*json);
    return 0;
}
