// Writes gui/FontData.cpp: the two built-in bitmap fonts, drawn from DejaVu Sans.
//
//   MakeFonts FOLDER-OF-DEJAVU OUTPUT.cpp
//
// The fonts are 11 pixels high and have fixed advance widths, narrower than DejaVu's own at this
// size. So each glyph is fitted alone: FreeType's automatic hinter puts its strokes on whole
// pixels, and of many horizontal scales the one is taken whose hinted outline is as wide as its
// cell and whose pixels come out sharpest. At 11 pixels an em the heights need no help: the small
// letters are six pixels high, the capitals eight, the descenders two.
//
// What is kept of a glyph is its pixels with ink. Each font has to hold an exact number of them;
// the faintest ones, which hardly anybody can see, are left out until the number is met.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ft2build.h>
#include <string>
#include <vector>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

namespace {

constexpr int kFirst = '!';
constexpr int kCount = 94;
constexpr int kHeight = 11;
constexpr int kBaseline = 9; // rows above the baseline

using Advances = std::array<int, kCount>;

constexpr Advances kRegularAdvances{
    3, 2, 8, 6, 9, 8, 2, 4, 4, 6, 7, 3, 4, 3, 4, 5, 5, 5, 5, 5, 5, 5, 5, 5, 5, 3, 3, 6, 8, 6, 4, 10,
    6, 5, 6, 6, 5, 5, 6, 6, 3, 4, 5, 4, 7, 6, 7, 5, 7, 6, 5, 5, 6, 5, 9, 5, 5, 5, 3, 4, 3, 7, 6, 3,
    5, 5, 4, 5, 5, 4, 5, 5, 1, 3, 4, 1, 7, 5, 5, 5, 5, 3, 4, 4, 5, 5, 7, 5, 5, 4, 5, 1, 5, 7};
constexpr Advances kBoldAdvances{3,  3, 9, 7, 13, 9, 3, 5, 5, 7, 9, 3, 5,  3, 6, 7, 7,  7, 7,
                                 7,  7, 7, 7, 7,  7, 3, 3, 9, 9, 9, 6, 10, 8, 7, 7, 8,  6, 6,
                                 8,  8, 5, 6, 7,  7, 9, 7, 8, 7, 8, 8, 7,  7, 8, 7, 11, 7, 7,
                                 7,  5, 6, 5, 9,  8, 5, 7, 7, 6, 7, 7, 5,  7, 7, 3, 5,  7, 3,
                                 11, 7, 7, 7, 7,  5, 6, 5, 7, 7, 9, 7, 7,  6, 8, 5, 8,  9};

/// Where a glyph's ink lies, when not over its whole cell.
struct Placement {
    char character;
    int left;                       ///< first column of ink
    int width;                      ///< columns of ink
    const char* fontFile = nullptr; ///< another face than the font's own
    int rowsUp = 0;                 ///< moved up after hinting
};

struct Recipe {
    const char* name; ///< of the array in the output
    const char* fontFile;
    const Advances* advances;
    int inkPixels;   ///< exactly so many are kept
    int leftBearing; ///< empty columns before each glyph
    double gamma;    ///< below 1 darkens what is half covered: thin diagonals
    std::vector<Placement> placements;
};

// The typewriter face has serifs on the I, which keep it apart from l and |.
const Recipe kRecipes[] = {
    {"kRegularFontData",
     "DejaVuSans.ttf",
     &kRegularAdvances,
     2111,
     0,
     0.75,
     {{'!', 1, 1},
      {'"', 0, 3},
      {'\'', 0, 1},
      {'(', 1, 3},
      {')', 0, 3},
      {'*', 0, 5},
      {',', 1, 1},
      {'.', 1, 1},
      {':', 1, 1},
      {';', 1, 1},
      {'I', 0, 3, "DejaVuSansMono.ttf"},
      {'J', 0, 3},
      {'_', 0, 6, nullptr, 1}}},
    {"kBoldFontData",
     "DejaVuSans-Bold.ttf",
     &kBoldAdvances,
     3520,
     1,
     0.85,
     {{'"', 0, 3, "DejaVuSans.ttf"}, {'\'', 1, 1}, {'I', 2, 2}, {'|', 2, 1}}},
};

constexpr int kColumns = 16;
using Bitmap = std::vector<std::uint8_t>; // kHeight rows of kColumns coverages

struct Candidate {
    Bitmap bitmap;
    double score = -1e9;
};

/// Draws a hinted outline into a cell, stretched and moved to lie exactly over its columns.
Bitmap Render(FT_Library library, FT_Outline& outline, const Placement& place)
{
    FT_BBox box;
    FT_Outline_Get_CBox(&outline, &box);
    const double scale = place.width * 64.0 / static_cast<double>(box.xMax - box.xMin);
    for (int i = 0; i < outline.n_points; ++i) {
        FT_Vector& point = outline.points[i];
        point.x = std::lround(static_cast<double>(point.x - box.xMin) * scale + place.left * 64);
        point.y += (kHeight - kBaseline + place.rowsUp) * 64;
    }
    Bitmap bitmap(kHeight * kColumns);
    FT_Bitmap target{};
    target.rows = kHeight;
    target.width = kColumns;
    target.pitch = kColumns;
    target.buffer = bitmap.data();
    target.num_grays = 256;
    target.pixel_mode = FT_PIXEL_MODE_GRAY;
    FT_Outline_Get_Bitmap(library, &outline, &target);
    return bitmap;
}

/// How much of the ink is full or absent rather than grey: 1 is a perfectly sharp picture.
double Sharpness(const Bitmap& bitmap)
{
    double ink = 0;
    double square = 0;
    for (const std::uint8_t coverage : bitmap) {
        ink += coverage;
        square += static_cast<double>(coverage) * coverage / 255.0;
    }
    return ink > 0 ? square / ink : 0;
}

Bitmap FitGlyph(FT_Library library, FT_Face face, const Placement& place)
{
    Candidate best;
    for (double scale = 0.50; scale <= 1.50; scale += 0.01) {
        FT_Set_Char_Size(face, std::lround(kHeight * 64 * scale), kHeight * 64, 72, 72);
        for (const FT_Int32 mode : {FT_LOAD_TARGET_NORMAL, FT_LOAD_TARGET_LIGHT}) {
            if (FT_Load_Char(face, static_cast<FT_ULong>(place.character),
                             FT_LOAD_NO_BITMAP | FT_LOAD_FORCE_AUTOHINT | mode) != 0)
                continue;
            FT_Outline& outline = face->glyph->outline;
            FT_BBox box;
            FT_Outline_Get_CBox(&outline, &box);
            const double inkWidth = static_cast<double>(box.xMax - box.xMin) / 64.0;
            const double misfit = std::fabs(inkWidth - place.width);
            if (misfit > 0.75 || inkWidth < 0.2)
                continue;
            Candidate candidate{Render(library, outline, place), 0};
            candidate.score = Sharpness(candidate.bitmap) - 0.25 * misfit;
            if (candidate.score > best.score)
                best = candidate;
        }
    }
    return best.bitmap;
}

struct Ink {
    int glyph;
    std::size_t place;
    int weight; ///< coverage of a pixel, or how much ink lies around an empty one
};

int InkAround(const Bitmap& bitmap, int column, int row)
{
    int sum = 0;
    for (int y = std::max(row - 1, 0); y <= std::min(row + 1, kHeight - 1); ++y)
        for (int x = std::max(column - 1, 0); x <= std::min(column + 1, kColumns - 1); ++x)
            sum += bitmap[static_cast<std::size_t>(y * kColumns + x)];
    return sum;
}

/// Drops the faintest pixels, or adds some with a coverage of 2 % where most ink lies around, until
/// the font has as many as it has to have.
void MeetInkCount(std::vector<Bitmap>& glyphs, const Recipe& recipe)
{
    std::vector<Ink> inked;
    std::vector<Ink> empty;
    for (int glyph = 0; glyph < kCount; ++glyph) {
        const Bitmap& bitmap = glyphs[static_cast<std::size_t>(glyph)];
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kColumns; ++x) {
                const auto place = static_cast<std::size_t>(y * kColumns + x);
                if (bitmap[place] != 0)
                    inked.push_back({glyph, place, bitmap[place]});
                else if (x >= recipe.leftBearing &&
                         x < (*recipe.advances)[static_cast<std::size_t>(glyph)])
                    empty.push_back({glyph, place, InkAround(bitmap, x, y)});
            }
    }
    const int missing = recipe.inkPixels - static_cast<int>(inked.size());
    std::stable_sort(inked.begin(), inked.end(),
                     [](const Ink& a, const Ink& b) { return a.weight < b.weight; });
    std::stable_sort(empty.begin(), empty.end(),
                     [](const Ink& a, const Ink& b) { return a.weight > b.weight; });
    for (int i = 0; i < -missing; ++i) {
        const Ink& ink = inked[static_cast<std::size_t>(i)];
        glyphs[static_cast<std::size_t>(ink.glyph)][ink.place] = 0;
    }
    for (int i = 0; i < missing; ++i) {
        const Ink& ink = empty[static_cast<std::size_t>(i)];
        glyphs[static_cast<std::size_t>(ink.glyph)][ink.place] = 5;
    }
    std::printf("%s: %d pixels too %s, the last of them %d\n", recipe.name, std::abs(missing),
                missing < 0 ? "many" : "few",
                missing < 0 ? inked[static_cast<std::size_t>(-missing)].weight : 5);
}

/// The font in its packed form (gui/Fonts.h).
std::vector<std::uint8_t> Packed(const std::vector<Bitmap>& glyphs, const Advances& advances)
{
    std::vector<std::uint8_t> data(1 + 2 * kCount);
    data[0] = kHeight;
    for (std::size_t glyph = 0; glyph < kCount; ++glyph) {
        data[1 + 2 * glyph] = static_cast<std::uint8_t>(data.size() & 255);
        data[2 + 2 * glyph] = static_cast<std::uint8_t>(data.size() >> 8);
        data.push_back(static_cast<std::uint8_t>(advances[glyph]));
        const std::size_t countPlace = data.size();
        data.push_back(0);
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kColumns; ++x) {
                const int coverage = glyphs[glyph][static_cast<std::size_t>(y * kColumns + x)];
                if (coverage == 0)
                    continue;
                ++data[countPlace];
                data.push_back(static_cast<std::uint8_t>(y << 4 | x));
                data.push_back(static_cast<std::uint8_t>(255 - coverage));
            }
    }
    return data;
}

std::vector<std::uint8_t> MakeFont(FT_Library library, const std::string& folder,
                                   const Recipe& recipe)
{
    std::vector<Bitmap> glyphs;
    for (int i = 0; i < kCount; ++i) {
        const auto character = static_cast<char>(kFirst + i);
        const int advance = (*recipe.advances)[static_cast<std::size_t>(i)];
        Placement place{character, recipe.leftBearing, advance - recipe.leftBearing};
        for (const Placement& special : recipe.placements)
            if (special.character == character)
                place = special;
        const std::string fontFile = place.fontFile != nullptr ? place.fontFile : recipe.fontFile;
        FT_Face face = nullptr;
        if (FT_New_Face(library, (folder + "/" + fontFile).c_str(), 0, &face) != 0)
            return {};
        Bitmap bitmap = FitGlyph(library, face, place);
        FT_Done_Face(face);
        if (bitmap.empty()) {
            std::printf("%s: nothing fits '%c'\n", recipe.name, character);
            return {};
        }
        for (std::uint8_t& coverage : bitmap)
            coverage = static_cast<std::uint8_t>(
                std::lround(255.0 * std::pow(coverage / 255.0, recipe.gamma)));
        glyphs.push_back(bitmap);
    }
    MeetInkCount(glyphs, recipe);
    return Packed(glyphs, *recipe.advances);
}

void WriteArray(std::FILE* file, const char* name, const std::vector<std::uint8_t>& data)
{
    std::fprintf(file, "const std::uint8_t %s[%zu] = {", name, data.size());
    for (std::size_t i = 0; i < data.size(); ++i)
        std::fprintf(file, "%s%d,", i % 24 == 0 ? "\n    " : " ", data[i]);
    std::fprintf(file, "\n};\n");
}

} // namespace

int main(int argc, char** argv)
{
    FT_Library library = nullptr;
    if (argc != 3 || FT_Init_FreeType(&library) != 0) {
        std::printf("usage: MakeFonts FOLDER-OF-DEJAVU OUTPUT.cpp\n");
        return 1;
    }
    std::vector<std::vector<std::uint8_t>> fonts;
    for (const Recipe& recipe : kRecipes) {
        fonts.push_back(MakeFont(library, argv[1], recipe));
        if (fonts.back().empty())
            return 1;
    }
    std::FILE* file = std::fopen(argv[2], "w");
    if (file == nullptr)
        return 1;
    std::fprintf(
        file,
        "// Written by skin/fonts/MakeFonts.cpp; not to be edited by hand.\n"
        "// The glyphs are made from DejaVu Sans 2.37, which is free to use, change and pass on:\n"
        "// (c) 2003 Bitstream, Inc.; changes by the DejaVu project are in the public domain.\n"
        "// Its full licence is in skin/fonts/LICENSE-DejaVu.\n\n"
        "#include \"gui/FontData.h\"\n\nnamespace keldra {\n\n// clang-format off\n");
    for (std::size_t i = 0; i < fonts.size(); ++i)
        WriteArray(file, kRecipes[i].name, fonts[i]);
    std::fprintf(file, "// clang-format on\n\n} // namespace keldra\n");
    return std::fclose(file);
}
