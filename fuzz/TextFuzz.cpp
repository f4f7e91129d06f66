// What a user types into a value field: understood or not, and what was understood is shown in
// words that mean the same.

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "frame/ParameterTable.h"
#include "frame/Text.h"
#include "frame/ValueText.h"

using namespace keldra;

namespace {

using Text = std::array<char, kValueTextSize>;

Text TextOf(int index, float value)
{
    Text text;
    text.fill('x');
    WriteValueText(index, value, text);
    if (std::memchr(text.data(), '\0', text.size()) == nullptr)
        std::abort();
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const int index = data[0] - 8; // also beyond both ends
    const std::string_view typed(reinterpret_cast<const char*>(data) + 1, size - 1);
    static_cast<void>(FindParameter(typed));

    if (const auto value = ParseValueText(index, typed)) {
        if (!std::isfinite(*value) || *value < 0.0f)
            std::abort();
        if (index >= kHostParameterCount)
            return 0; // settings show no text: they have a menu
        const Text shown = TextOf(index, *value);
        const auto again = ParseValueText(index, TextIn(shown));
        if (!again || ParseValueText(index, TextIn(TextOf(index, *again))) != again) // "-0" is "0"
            std::abort();
    }
    if (typed.size() >= sizeof(float)) { // stored values are any bytes
        std::uint32_t bits = 0;
        std::memcpy(&bits, typed.data(), sizeof(bits));
        static_cast<void>(TextOf(index, std::bit_cast<float>(bits)));
    }
    return 0;
}
