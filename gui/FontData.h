#pragma once

#include <cstdint>

namespace keldra {

// The built-in fonts in the form that Fonts.h describes. FontData.cpp is written by
// skin/fonts/MakeFonts.cpp; it says there what the glyphs are made from.
extern const std::uint8_t kRegularFontData[4599];
extern const std::uint8_t kBoldFontData[7417];

} // namespace keldra
