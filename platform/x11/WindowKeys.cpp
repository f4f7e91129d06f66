#include "platform/x11/WindowKeys.h"

#include "platform/Window.h"

namespace keldra {

namespace {

// Modifier bits: Num Lock and the third level (AltGr) are where every server has them today.
constexpr unsigned kNumLock = XCB_MOD_MASK_2;
constexpr unsigned kThirdLevel = XCB_MOD_MASK_5;

constexpr bool IsKeypad(xcb_keysym_t keysym)
{
    return keysym >= 0xff80 && keysym <= 0xffbd;
}

struct NamedKey {
    xcb_keysym_t keysym;
    int code;
};
constexpr NamedKey kNamedKeys[] = {
    {0xff08, kKeyBackspace},
    {0xff09, kKeyTab},
    {0xff0d, kKeyEnter},
    {0xff1b, kKeyEscape},
    {0xff50, kKeyHome},
    {0xff51, kKeyLeft},
    {0xff52, kKeyUp},
    {0xff53, kKeyRight},
    {0xff54, kKeyDown},
    {0xff55, kKeyPageUp},
    {0xff56, kKeyPageDown},
    {0xff57, kKeyEnd},
    {0xffff, kKeyDelete},
    // The keypad without Num Lock
    {0xff8d, kKeyEnter},
    {0xff95, kKeyHome},
    {0xff96, kKeyLeft},
    {0xff97, kKeyUp},
    {0xff98, kKeyRight},
    {0xff99, kKeyDown},
    {0xff9a, kKeyPageUp},
    {0xff9b, kKeyPageDown},
    {0xff9c, kKeyEnd},
    {0xff9f, kKeyDelete},
};

} // namespace

int CWindowKeys::CodeOfKeysym(xcb_keysym_t keysym)
{
    if ((keysym >= 0x20 && keysym <= 0x7e) || (keysym >= 0xa0 && keysym <= 0xff))
        return static_cast<int>(keysym); // Latin 1 is numbered as Unicode
    if (keysym >= 0x01000100 && keysym <= 0x0110ffff)
        return static_cast<int>(keysym - 0x01000000);
    if (keysym >= 0xffaa && keysym <= 0xffb9)
        return static_cast<int>(keysym - 0xff80); // the keypad's * + , - . / and digits
    for (const NamedKey& key : kNamedKeys)
        if (key.keysym == keysym)
            return key.code;
    return 0;
}

void CWindowKeys::Load(xcb_connection_t* connection)
{
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const CXcbReply<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(
        connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr));
    if (reply == nullptr)
        return;
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(reply.get());
    keysyms_.assign(keysyms, keysyms + xcb_get_keyboard_mapping_keysyms_length(reply.get()));
    perKeycode_ = reply->keysyms_per_keycode;
    firstKeycode_ = setup->min_keycode;
}

int CWindowKeys::CodeOf(xcb_keycode_t keycode, unsigned state) const
{
    // Columns: two levels of the first group, two of the second, then the third levels.
    const auto at = [&](int column) -> xcb_keysym_t {
        const int index = (keycode - firstKeycode_) * perKeycode_ + column;
        return keycode < firstKeycode_ || column >= perKeycode_ ||
                       index >= static_cast<int>(keysyms_.size())
                   ? 0
                   : keysyms_[static_cast<std::size_t>(index)];
    };
    int first = (state >> 13 & 3) == 1 && at(2) != 0 ? 2 : 0;
    if ((state & kThirdLevel) != 0 && at(4) != 0)
        first = 4;
    const bool shift = (state & XCB_MOD_MASK_SHIFT) != 0;
    xcb_keysym_t plain = at(first);
    const xcb_keysym_t shifted = at(first + 1) != 0 ? at(first + 1) : plain;
    if (IsKeypad(shifted) && (state & kNumLock) != 0)
        return CodeOfKeysym(shift ? plain : shifted);
    const bool isLetter = plain >= 'a' && plain <= 'z';
    const bool capitals = isLetter && (state & XCB_MOD_MASK_LOCK) != 0;
    return CodeOfKeysym(shift != capitals ? shifted : plain);
}

} // namespace keldra
