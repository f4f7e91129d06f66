#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <numbers>
#include <string>
#include <vector>

#include "editor/PanelTable.h"
#include "gui/Image.h"
#include "skin/Pictures.h"
#include "skin/TgaFile.h"

namespace keldra {
namespace {

std::string BuiltFile(const SkinImageRow& row)
{
    return std::string(KELDRA_SKIN_FOLDER) + "/" + std::string(row.file);
}

std::vector<unsigned char> BytesOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A built image, as the editor loads it.
const CImage& Built(ESkinImage image)
{
    static std::map<ESkinImage, CImage> images;
    CImage& loaded = images[image];
    if (!loaded.IsValid()) {
        EXPECT_TRUE(loaded.Load(BuiltFile(RowOf(image))));
    }
    return loaded;
}

double Luminance(Color color)
{
    return 0.299 * RedOf(color) + 0.587 * GreenOf(color) + 0.114 * BlueOf(color);
}

/// The mean luminance of a frame on black. @param column, row  of the frame in the image's grid
double MeanLuminance(ESkinImage image, int column, int row)
{
    const SkinImageRow& size = RowOf(image);
    double sum = 0.0;
    for (int y = 0; y < size.frameHeight; ++y) {
        for (int x = 0; x < size.frameWidth; ++x) {
            const Color color =
                Built(image).GetPixel(column * size.frameWidth + x, row * size.frameHeight + y);
            sum += Luminance(color) * (size.bitsPerPixel == 32 ? AlphaOf(color) / 255.0 : 1.0);
        }
    }
    return sum / (size.frameWidth * size.frameHeight);
}

/// How far two frames are apart: the mean difference of luminance, pixel by pixel.
double Difference(ESkinImage image, int columnA, int rowA, int columnB, int rowB)
{
    const SkinImageRow& size = RowOf(image);
    double sum = 0.0;
    for (int y = 0; y < size.frameHeight; ++y)
        for (int x = 0; x < size.frameWidth; ++x)
            sum += std::abs(Luminance(Built(image).GetPixel(columnA * size.frameWidth + x,
                                                            rowA * size.frameHeight + y)) -
                            Luminance(Built(image).GetPixel(columnB * size.frameWidth + x,
                                                            rowB * size.frameHeight + y)));
    return sum / (size.frameWidth * size.frameHeight);
}

TEST(Skin, WritesEveryImageInTheFormatAndSizeThatTheEditorExpects)
{
    for (const SkinImageRow& row : kSkinImages) {
        const std::vector<unsigned char> bytes = BytesOf(BuiltFile(row));
        ASSERT_GE(bytes.size(), 18u) << row.file;
        const auto word = [&](std::size_t at) { return bytes[at] + 256 * bytes[at + 1]; };
        EXPECT_EQ(bytes[0], 0) << row.file << ": no text before the pixels";
        EXPECT_EQ(bytes[1], 0) << row.file << ": no colour map";
        EXPECT_EQ(bytes[2], 2) << row.file << ": uncompressed true colour";
        EXPECT_EQ(word(12), row.Width()) << row.file;
        EXPECT_EQ(word(14), row.Height()) << row.file;
        EXPECT_EQ(bytes[16], row.bitsPerPixel) << row.file;
        EXPECT_EQ(bytes[17] & 0x30, 0)
            << row.file << ": rows from the bottom, columns from the left";
        EXPECT_EQ(bytes.size(), 18u + static_cast<std::size_t>(row.Width() * row.Height()) *
                                          static_cast<std::size_t>(row.bitsPerPixel / 8))
            << row.file;
        if (row.bitsPerPixel != 32)
            continue;
        // Alpha that earns its bytes: the panel shows through somewhere, and not everywhere.
        unsigned char least = 255, most = 0;
        for (std::size_t i = 18 + 3; i < bytes.size(); i += 4) {
            least = std::min(least, bytes[i]);
            most = std::max(most, bytes[i]);
        }
        EXPECT_LT(least, 64) << row.file;
        EXPECT_GT(most, 192) << row.file;
    }
}

TEST(Skin, StoresRowsFromTheBottomUp)
{
    // The lamp is above: a white key is in the shade of the case at its far, upper end.
    const SkinImageRow& row = RowOf(ESkinImage::WhiteKey);
    const std::vector<unsigned char> bytes = BytesOf(BuiltFile(row));
    const auto green = [&](int fileRow) {
        return bytes[18 + static_cast<std::size_t>(3 * (fileRow * row.Width() + 8) + 1)];
    };
    EXPECT_GT(green(row.Height() / 2), green(row.Height() - 1) + 60);
}

TEST(Skin, IsDrawnWithTheSameBytesEveryTime)
{
    const auto type = skin::CType::Open(KELDRA_REGULAR_FONT, KELDRA_BOLD_FONT);
    ASSERT_NE(type, nullptr);
    const std::string again = testing::TempDir() + "keldra-skin-again.tga";
    for (const SkinImageRow& row : kSkinImages) {
        ASSERT_TRUE(skin::WriteTga(skin::DrawImage(row.image, *type), row.bitsPerPixel, again));
        EXPECT_TRUE(BytesOf(again) == BytesOf(BuiltFile(row))) << row.file;
    }
    std::filesystem::remove(again);
}

TEST(Skin, TellsWhatItCannotReadOrWrite)
{
    EXPECT_EQ(skin::CType::Open("/nowhere/Regular.ttf", KELDRA_BOLD_FONT), nullptr);
    EXPECT_EQ(skin::CType::Open(KELDRA_REGULAR_FONT, "/nowhere/Bold.ttf"), nullptr);
    EXPECT_FALSE(skin::WriteTga(skin::Picture(2, 2), 24, "/nowhere/picture.tga"));
}

TEST(Skin, TurnsTheKnobsPointerEvenlyThroughThreeQuartersOfACircle)
{
    // The pointer is the one bright thing on the black skirt; what light the skirt's upper edge
    // reflects is left out.
    const SkinImageRow& size = RowOf(ESkinImage::Knob);
    const auto pointerDegrees = [&](int frame) {
        double x = 0.0, y = 0.0;
        for (int row = 0; row < size.frameHeight; ++row) {
            for (int column = 0; column < size.frameWidth; ++column) {
                const double dx = column + 0.5 - skin::kKnobAxisX;
                const double dy = row + 0.5 - skin::kKnobAxisY;
                const double radius = std::hypot(dx, dy);
                if (radius < 10.4 || radius > 13.0)
                    continue;
                const double light = std::max(
                    0.0,
                    Luminance(
                        Built(ESkinImage::Knob).GetPixel(column, frame * size.frameHeight + row)) -
                        100.0);
                x += dx * light;
                y += dy * light;
            }
        }
        return std::atan2(x, -y) * 180.0 / std::numbers::pi;
    };
    EXPECT_NEAR(pointerDegrees(0), -135.0, 3.0);
    EXPECT_NEAR(pointerDegrees(127), 135.0, 3.0);
    for (int frame = 1; frame < kFilmstripFrames; ++frame) {
        const double step = pointerDegrees(frame) - pointerDegrees(frame - 1);
        EXPECT_NEAR(step, 270.0 / 127.0, 2.0) << frame;
        EXPECT_GT(step, 0.0) << frame;
    }
}

TEST(Skin, MovesTheWheelsNotchUpwardWithEveryFrame)
{
    const SkinImageRow& size = RowOf(ESkinImage::Wheel);
    const auto notchRow = [&](int frame) {
        double sum = 0.0, weights = 0.0;
        for (int row = 0; row < size.frameHeight; ++row) {
            const double light =
                Luminance(Built(ESkinImage::Wheel)
                              .GetPixel(size.frameWidth / 2, frame * size.frameHeight + row)) -
                150.0; // no rib is as bright
            sum += std::max(0.0, light) * row;
            weights += std::max(0.0, light);
        }
        return sum / weights;
    };
    EXPECT_NEAR(notchRow(0) + notchRow(127), 91.0, 1.0) << "as far below the middle as above";
    EXPECT_GT(notchRow(0) - notchRow(127), 60.0);
    for (int frame = 1; frame < kFilmstripFrames; ++frame) {
        EXPECT_LE(notchRow(frame), notchRow(frame - 1)) << frame;
        EXPECT_GT(Difference(ESkinImage::Wheel, 0, frame, 0, frame - 1), 0.5) << frame;
    }
    for (int frame = 3; frame < kFilmstripFrames; ++frame)
        EXPECT_LT(notchRow(frame), notchRow(frame - 3)) << frame;
}

TEST(Skin, ShowsTheFourStatesOfASwitchApart)
{
    for (const ESkinImage image :
         {ESkinImage::BigButton, ESkinImage::GateWhite, ESkinImage::GateBlue}) {
        double light[kButtonFrames];
        for (int frame = 0; frame < kButtonFrames; ++frame)
            light[frame] = MeanLuminance(image, 0, frame);
        EXPECT_GT(light[2], 2.0 * light[0]) << RowOf(image).file << ": lit when on";
        EXPECT_GT(light[3], 2.0 * light[1]) << RowOf(image).file;
        for (int a = 0; a < kButtonFrames; ++a)
            for (int b = 0; b < a; ++b)
                EXPECT_GT(Difference(image, 0, a, 0, b), 4.0) << RowOf(image).file << a << b;
    }
    // What only does something when pressed has no state to show afterwards.
    for (const ESkinImage image : {ESkinImage::Link, ESkinImage::Unlink,
                                   ESkinImage::PreviousProgram, ESkinImage::NextProgram}) {
        EXPECT_EQ(Difference(image, 0, 0, 0, 2), 0.0) << RowOf(image).file;
        EXPECT_EQ(Difference(image, 0, 1, 0, 3), 0.0) << RowOf(image).file;
        EXPECT_GT(Difference(image, 0, 0, 0, 1), 4.0) << RowOf(image).file;
    }
    EXPECT_GT(Difference(ESkinImage::WhiteKey, 0, 0, 1, 0), 10.0);
    EXPECT_GT(Difference(ESkinImage::BlackKey, 0, 0, 1, 0), 4.0);
}

TEST(Skin, LightsTheChosenTabAndWritesAWordOfItsOwnInEach)
{
    for (const PanelControl& control : kPanelControls) {
        if (control.kind != EPanelControl::Selector)
            continue;
        const SkinImageRow& row = RowOf(control.image);
        for (int position = 0; position < row.across; ++position) {
            EXPECT_GT(MeanLuminance(control.image, position, 1),
                      2.5 * MeanLuminance(control.image, position, 0))
                << row.file << position;
            // Words keep clear of the right edge: none is cut off.
            for (int y = 0; y < row.frameHeight; ++y)
                EXPECT_LT(
                    Luminance(
                        Built(control.image).GetPixel((position + 1) * row.frameWidth - 1, y)),
                    40.0)
                    << row.file << position;
            for (int other = 0; other < position; ++other)
                EXPECT_GT(Difference(control.image, position, 0, other, 0), 2.0)
                    << row.file << position << other;
        }
    }
}

TEST(Skin, FillsTheKeyboardWithItsKeys)
{
    // 35 white keys; what the last one lacks is its gap and a shaded edge.
    const SkinImageRow& white = RowOf(ESkinImage::WhiteKey);
    const SkinImageRow& black = RowOf(ESkinImage::BlackKey);
    const PanelRect& keyboard = ControlOf(EPanelRole::Keyboard).rect;
    EXPECT_NEAR(35 * white.frameWidth, keyboard.width, 2);
    EXPECT_EQ(white.frameHeight, keyboard.height);
    EXPECT_LT(black.frameHeight, white.frameHeight * 2 / 3);
    EXPECT_EQ(black.frameWidth % 2, 1) << "centred on the one pixel between two white keys";
}

TEST(Skin, LeavesNoSquareAroundWhatIsBlendedOverThePanel)
{
    double inside = 0.0, outside = 0.0;
    int count = 0;
    CGraphicBuffer panel;
    ASSERT_TRUE(panel.Create({kPanelHeight, kPanelWidth}));
    Built(ESkinImage::Background).CopyTo(panel, {0, 0, kPanelWidth, kPanelHeight}, {0, 0});
    for (const PanelControl& control : kPanelControls) {
        if (control.image != ESkinImage::Knob)
            continue;
        const PanelRect& rect = control.rect;
        Built(ESkinImage::Knob).CopyTo(panel, {rect.x, rect.y, rect.width, rect.height}, {0, 0});
        // Both sides of the left and right edge, near the upper corners
        for (int y = rect.y; y < rect.y + 6; ++y) {
            for (int x = 0; x < 3; ++x) {
                inside += Luminance(panel.GetPixel(rect.x + x, y)) +
                          Luminance(panel.GetPixel(rect.Right() - 1 - x, y));
                outside += Luminance(panel.GetPixel(rect.x - 1 - x, y)) +
                           Luminance(panel.GetPixel(rect.Right() + x, y));
                count += 2;
            }
        }
    }
    EXPECT_NEAR(inside / count, outside / count, 0.4);
}

} // namespace
} // namespace keldra
