#pragma once

#include <cstddef>
#include <string_view>

namespace keldra {

inline constexpr int kPanelWidth = 855;
inline constexpr int kPanelHeight = 521;

/// The files of the skin, in the order in which they are loaded; the about box's own comes last.
enum class ESkinImage {
    Background,
    Knob,
    BigButton,
    GateWhite,
    GateBlue,
    FaderHandle,
    LfoShape,
    ArpMode,
    ArpRange,
    ModWheelDestination,
    EgDestination,
    LfoDestination,
    FilterMode,
    Link,
    Unlink,
    Wheel,
    WhiteKey,
    BlackKey,
    PreviousProgram,
    NextProgram,
    About,
};

/// One file: frames of one size, laid out in a grid without gaps.
struct SkinImageRow {
    ESkinImage image;
    std::string_view file;
    int frameWidth, frameHeight;
    int across, down; ///< frames
    int bitsPerPixel; ///< 32 where the panel shows through, else 24

    [[nodiscard]] constexpr int Width() const { return frameWidth * across; }
    [[nodiscard]] constexpr int Height() const { return frameHeight * down; }
};

inline constexpr int kFilmstripFrames = 128;
inline constexpr int kButtonFrames = 4; ///< off, off while pressed, on, on while pressed

// Selectors have a column a position: above as it is, below as the chosen one. Keys have two frames
// side by side: released, pressed.
// clang-format off
inline constexpr SkinImageRow kSkinImages[] = {
    {ESkinImage::Background,          "background.tga",     kPanelWidth, kPanelHeight, 1, 1, 24},
    {ESkinImage::Knob,                "knob.tga",           36,  36, 1, kFilmstripFrames, 32},
    {ESkinImage::BigButton,           "big_button.tga",     30,  30, 1, kButtonFrames, 32},
    {ESkinImage::GateWhite,           "btn_gate_white.tga", 14,  20, 1, kButtonFrames, 32},
    {ESkinImage::GateBlue,            "btn_gate_blue.tga",  14,  20, 1, kButtonFrames, 32},
    {ESkinImage::FaderHandle,         "fader_handle.tga",   22,  18, 1, 1, 32},
    {ESkinImage::LfoShape,            "tab_lfo_shape.tga",  60,  12, 5, 2, 24},
    {ESkinImage::ArpMode,             "tab_arp_mode.tga",   48,  12, 5, 2, 24},
    {ESkinImage::ArpRange,            "tab_arp_range.tga",  37,  12, 4, 2, 24},
    {ESkinImage::ModWheelDestination, "tab_mw_dest.tga",    56,  12, 5, 2, 24},
    {ESkinImage::EgDestination,       "tab_eg_dest.tga",    56,  12, 5, 2, 24},
    {ESkinImage::LfoDestination,      "tab_lfo_dest.tga",   56,  12, 6, 2, 24},
    {ESkinImage::FilterMode,          "tab_flt_mode.tga",   28,  12, 3, 2, 24},
    {ESkinImage::Link,                "btn_link.tga",       28,  20, 1, kButtonFrames, 32},
    {ESkinImage::Unlink,              "btn_unlink.tga",     28,  20, 1, kButtonFrames, 32},
    {ESkinImage::Wheel,               "wheel.tga",          26,  92, 1, kFilmstripFrames, 32},
    {ESkinImage::WhiteKey,            "key_white.tga",      19, 101, 2, 1, 24},
    {ESkinImage::BlackKey,            "key_black.tga",      13,  64, 2, 1, 32},
    {ESkinImage::PreviousProgram,     "btn_prg_prev.tga",   10,  11, 1, kButtonFrames, 32},
    {ESkinImage::NextProgram,         "btn_prg_next.tga",   10,  11, 1, kButtonFrames, 32},
    {ESkinImage::About,               "About.tga",         432, 259, 1, 1, 24},
};
// clang-format on

[[nodiscard]] constexpr const SkinImageRow& RowOf(ESkinImage image)
{
    return kSkinImages[static_cast<std::size_t>(image)];
}

namespace detail {
constexpr bool SkinImagesAreInOrder()
{
    int place = 0;
    for (const SkinImageRow& row : kSkinImages)
        if (static_cast<int>(row.image) != place++)
            return false;
    return true;
}
} // namespace detail

static_assert(std::size(kSkinImages) == 21 && detail::SkinImagesAreInOrder());

} // namespace keldra
