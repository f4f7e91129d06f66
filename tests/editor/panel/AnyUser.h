#pragma once

#include <algorithm>

#include "editor/PanelTable.h"
#include "platform/headless/HeadlessWindow.h"

// A user who does anything: by dice, or by the bytes of a fuzzer (fuzz/Input.h).

namespace keldra {

/// A place on the panel or around it, half of the time the middle of a control.
/// @param top  what lies above is left alone
template <typename Chance>
PixelPoint Somewhere(Chance& chance, int top = -100)
{
    PixelPoint at;
    if (chance.OneIn(2)) {
        const auto control = static_cast<std::size_t>(chance.Byte()) % std::size(kPanelControls);
        const PanelRect& rect = kPanelControls[control].rect;
        at = {rect.x + rect.width / 2, rect.y + rect.height / 2};
    } else {
        at.x = chance.Byte() * 4 - 80;
        at.y = chance.Byte() * 3 - 100;
    }
    return {at.x, std::max(at.y, top)};
}

/// One act with mouse or keys.
/// @param act  which, 0 .. 17. @return false for others
template <typename Chance>
bool DoAnything(CHeadlessWindow& window, Chance& chance, int act, int top = -100)
{
    constexpr auto kLeft = EMouseButton::Left;
    constexpr EMouseButton kButtons[] = {kLeft, kLeft, kLeft, EMouseButton::Right,
                                         EMouseButton::Middle};
    const EMouseButton button = chance.Of(kButtons);
    const auto modifiers = static_cast<unsigned>(chance.UpTo(7));
    const int some = chance.Byte();
    if (act < 6) {
        window.MoveTo(Somewhere(chance, top));
        window.Press(button, modifiers);
    } else if (act < 8) {
        window.Release(button);
    } else if (act < 9) {
        window.PressAgain(button, modifiers);
    } else if (act < 12) {
        window.Hold(modifiers);
        window.MoveBy(some - 128, chance.Byte() - 128);
    } else if (act < 14) {
        window.Wheel(static_cast<float>(some - 128) / 4.0f, modifiers, chance.OneIn(4));
    } else if (act < 17) {
        const int keys[] = {some, kKeyEnter + some % 13, some << 8, -some};
        const int key = chance.Of(keys);
        static_cast<void>(window.Key(key, !chance.OneIn(4)));
    } else if (act < 18) {
        window.Tick(some % 40);
    }
    return act < 18;
}

} // namespace keldra
