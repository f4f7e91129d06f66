#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "gui/Color.h"

namespace keldra {

/// A line of a menu or a list.
struct MenuItem {
    enum class EKind : std::uint8_t {
        Choice,    ///< the only one that can be chosen
        Separator, ///< a line
        Caption,
    };
    bool dimmed = false; ///< text at half its alpha; can be chosen all the same
    bool marked = false; ///< bold and bright, behind a small square
    std::string text;    ///< at most 511 bytes are shown
    EKind kind = EKind::Choice;
};

/// The colours of a menu or a list, by number, because layouts change single ones.
enum EMenuColor : int {
    kMenuPanel = 0,
    kMenuOutline = 1,
    kMenuText = 2,
    kMenuChosenText = 3,
    kMenuMarkedText = 4,
    kMenuRow = 5,
    kMenuHoveredBand = 6,
    kMenuRowLine = 7,
    kMenuChosenBand = 8,
    kMenuCaption = 9,
    kMenuCaptionText = 10,
    kMenuThumbHeld = 11,
    kMenuThumb = 12,
    kMenuTrack = 13,
    kMenuColorCount = 14,
};
using MenuPalette = std::array<Color, kMenuColorCount>;

inline constexpr MenuPalette kMenuPalette{
    Rgb(35, 35, 35),    Rgb(190, 172, 139), Rgb(247, 223, 180),
    kOpaqueBlack,       Rgb(255, 245, 198), // the text's, brighter by a tenth
    Rgb(35, 35, 35),    Rgb(65, 65, 65),    Rgba(190, 172, 139, 30),
    Rgb(218, 195, 150), Rgb(190, 172, 139), kOpaqueBlack,
    Rgb(228, 206, 166), Rgb(190, 172, 139), Rgb(25, 25, 25),
};

} // namespace keldra
