#include "gui/Image.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include "gui/ImageCache.h"
#include "tests/gui/Tga.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra {
namespace {

class Image : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& bytes)
    {
        return files_.Write(name, bytes);
    }

    const test::CTemporaryFolder files_;
    const std::string folder_ = files_.Path() + "/";
};

using ImageThreads = Image;

std::string Header(int width, int height, int depth, char idLength = 0)
{
    std::string bytes = test::TgaHeader({height, width}, depth);
    bytes[0] = idLength;
    return bytes;
}

TEST_F(Image, TakesTwentyFourBitsWithoutAlphaAndThirtyTwoWith)
{
    CImage image;
    // Two columns, two rows, the lower one first, behind a name of three bytes.
    ASSERT_TRUE(image.Load(
        Write("24.tga", Header(2, 2, 24, 3) + "abc" + "\1\2\3\4\5\6" + "\7\x8\x9\xA\xB\xC")));
    EXPECT_EQ(image.GetSize(), (PixelSize{2, 2}));
    EXPECT_FALSE(image.HasAlpha());
    EXPECT_EQ(image.GetPixel(0, 1), Rgba(3, 2, 1, 0));
    EXPECT_EQ(image.GetPixel(1, 0), Rgba(12, 11, 10, 0));

    ASSERT_TRUE(image.Load(Write("32.tga", Header(1, 2, 32) + "\1\2\3\4\5\6\7\x8")));
    EXPECT_TRUE(image.HasAlpha());
    EXPECT_EQ(image.GetPixel(0, 1), Rgba(3, 2, 1, 4));
    EXPECT_EQ(image.Path(), folder_ + "32.tga");
}

TEST_F(Image, RefusesWhatItCannotShow)
{
    const std::string pixels(300, '\0');
    std::string packed = Header(2, 2, 24) + pixels;
    packed[2] = 10;
    std::string mapped = Header(2, 2, 24) + pixels;
    mapped[1] = 1;
    const std::pair<const char*, std::string> kCases[] = {
        {"empty", ""},
        {"header cut", Header(2, 2, 24).substr(0, 17)},
        {"run-length encoded", packed},
        {"colour-mapped", mapped},
        {"16 bits", Header(2, 2, 16) + pixels},
        {"a promise of 17 gigabytes", Header(65535, 65535, 32) + pixels},
    };
    for (const auto& [what, bytes] : kCases) {
        CImage image;
        EXPECT_FALSE(image.Load(Write("bad.tga", bytes))) << what;
        EXPECT_FALSE(image.IsValid()) << what;
    }
    CImage image;
    EXPECT_FALSE(image.Load(folder_ + "missing.tga"));
    EXPECT_FALSE(image.Load(folder_));
    ASSERT_EQ(mkfifo((folder_ + "pipe.tga").c_str(), 0600), 0);
    EXPECT_FALSE(image.Load(folder_ + "pipe.tga")); // and doesn't wait for a writer
}

TEST_F(Image, ShowsTheRowsThatACutFileStillHas)
{
    CImage image;
    ASSERT_TRUE(image.Load(Write("whole.tga", Header(2, 3, 24) + std::string(18, '\x70'))));
    ASSERT_TRUE(image.Load(Write("cut.tga", Header(2, 3, 24) + std::string(6 + 5, '\x50'))));
    EXPECT_EQ(image.GetPixel(1, 2), Rgba(0x50, 0x50, 0x50, 0));
    EXPECT_EQ(image.GetPixel(0, 1), 0u); // its row isn't whole
    EXPECT_EQ(image.GetPixel(0, 0), 0u);

    ASSERT_TRUE(image.Load(Write("wide.tga", Header(65535, 1, 24) + std::string(65535 * 3, '\3'))));
    EXPECT_EQ(image.GetPixel(65534, 0), Rgba(3, 3, 3, 0));
}

TEST_F(Image, IsSharedUntilTheLastUserGoes)
{
    Write("a.tga", Header(1, 1, 24) + "\1\2\3");
    Write("b.tga", Header(1, 1, 24) + "\4\5\6");
    auto first = std::make_unique<CImageCache::CUser>();
    const CImage* a = CImageCache::GetImage(folder_, "a.tga");
    ASSERT_NE(a, nullptr);
    {
        const CImageCache::CUser second;
        EXPECT_EQ(CImageCache::GetImage(folder_, "a.tga"), a);
        EXPECT_NE(CImageCache::GetImage(folder_, "b.tga"), nullptr);
        EXPECT_NE(CImageCache::GetImage("", folder_ + "a.tga"), nullptr);
        EXPECT_EQ(CImageCache::GetImage(folder_, "A.tga"), nullptr);
        EXPECT_EQ(CImageCache::GetImage(folder_, ""), nullptr);
    }
    EXPECT_EQ(CImageCache::ImageCount(), 2u);
    EXPECT_EQ(a->GetPixel(0, 0), Rgba(3, 2, 1, 0));
    first.reset();
    EXPECT_EQ(CImageCache::ImageCount(), 0u);
}

TEST_F(ImageThreads, IsLoadedOnceThatComeAndGo)
{
    Write("a.tga", Header(1, 1, 24) + "\1\2\3");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            for (int round = 0; round < 200; ++round) {
                const CImageCache::CUser user;
                const CImage* image = CImageCache::GetImage(folder_, "a.tga");
                ASSERT_NE(image, nullptr);
                EXPECT_EQ(image->GetPixel(0, 0), Rgba(3, 2, 1, 0));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(CImageCache::ImageCount(), 0u);
}

} // namespace
} // namespace keldra
