#pragma once

#include <vector>

#include "platform/x11/WindowConnection.h"

namespace keldra {

/// What the keys of the keyboard write.
class CWindowKeys {
public:
    void Load(xcb_connection_t* connection); ///< at the beginning and when the server says so
    /// @param state  of the event: modifiers and keyboard group
    /// @return a character or an EKey; 0 for what is neither
    [[nodiscard]] int CodeOf(xcb_keycode_t keycode, unsigned state) const;
    [[nodiscard]] static int CodeOfKeysym(xcb_keysym_t keysym);

private:
    std::vector<xcb_keysym_t> keysyms_;
    int perKeycode_ = 0;
    int firstKeycode_ = 0;
};

} // namespace keldra
