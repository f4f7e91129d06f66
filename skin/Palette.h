#pragma once

namespace keldra::skin {

/// A colour with its opacity, each part 0 .. 1.
struct Ink {
    double red = 0, green = 0, blue = 0, alpha = 1;

    [[nodiscard]] constexpr Ink Faded(double by) const { return {red, green, blue, alpha * by}; }
    /// Between this (0) and another (1).
    [[nodiscard]] constexpr Ink Toward(const Ink& other, double by) const
    {
        return {red + (other.red - red) * by, green + (other.green - green) * by,
                blue + (other.blue - blue) * by, alpha + (other.alpha - alpha) * by};
    }
    [[nodiscard]] constexpr Ink Lit(double by) const
    {
        return by >= 0 ? Toward({1, 1, 1, alpha}, by) : Toward({0, 0, 0, alpha}, -by);
    }
};

constexpr Ink Bytes(int red, int green, int blue, double alpha = 1.0)
{
    return {red / 255.0, green / 255.0, blue / 255.0, alpha};
}

inline constexpr Ink kBlack = Bytes(0, 0, 0);
inline constexpr Ink kWhite = Bytes(255, 255, 255);

// The case
inline constexpr Ink kGroove = Bytes(17, 14, 12);   ///< between the plates
inline constexpr Ink kPlateTop = Bytes(55, 48, 41); ///< plates, lit from above
inline constexpr Ink kPlateFoot = Bytes(41, 36, 30);
inline constexpr Ink kRecess = Bytes(21, 18, 15); ///< behind lists

// Print
inline constexpr Ink kCream = Bytes(236, 220, 188); ///< captions
inline constexpr Ink kBrass = Bytes(205, 176, 122); ///< titles and inlays
inline constexpr Ink kLabel = Bytes(172, 155, 124); ///< words that head a list or a group
inline constexpr Ink kMark = Bytes(150, 134, 106);  ///< scale marks

// Light
inline constexpr Ink kLampHot = Bytes(255, 240, 204);
inline constexpr Ink kLamp = Bytes(247, 208, 140);
inline constexpr Ink kLampEdge = Bytes(206, 148, 72);
inline constexpr Ink kGlassPrint = Bytes(96, 70, 34);
inline constexpr Ink kGlass = Bytes(228, 206, 166); ///< displays and menus

} // namespace keldra::skin
