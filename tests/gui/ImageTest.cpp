#include "gui/Image.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "gui/ImageCache.h"

namespace keldra {
namespace {

using Bytes = std::vector<unsigned char>;

class Image : public testing::Test {
protected:
    Image() : folder_(testing::TempDir() + "keldra-image-" + std::to_string(getpid()) + "/")
    {
        std::filesystem::create_directories(folder_);
    }
    ~Image() override { std::filesystem::remove_all(folder_); }

    std::string Write(const std::string& name, const Bytes& bytes)
    {
        std::ofstream(folder_ + name, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        return folder_ + name;
    }

    std::string folder_;
};

using ImageThreads = Image;

Bytes Header(int width, int height, int depth, int type = 2, int idLength = 0, int mapType = 0)
{
    Bytes bytes(18, 0xee); // origins, colour map and descriptor are not looked at
    bytes[0] = static_cast<unsigned char>(idLength);
    bytes[1] = static_cast<unsigned char>(mapType);
    bytes[2] = static_cast<unsigned char>(type);
    bytes[12] = static_cast<unsigned char>(width & 255);
    bytes[13] = static_cast<unsigned char>(width >> 8);
    bytes[14] = static_cast<unsigned char>(height & 255);
    bytes[15] = static_cast<unsigned char>(height >> 8);
    bytes[16] = static_cast<unsigned char>(depth);
    return bytes;
}

Bytes operator+(Bytes a, const Bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

TEST_F(Image, TakesTwentyFourBitsWithoutAlphaAndThirtyTwoWith)
{
    CImage image;
    // Two columns, two rows, the lower one first, behind a name of three bytes.
    ASSERT_TRUE(
        image.Load(Write("24.tga", Header(2, 2, 24, 2, 3) + Bytes{9, 9, 9} +
                                       Bytes{1, 2, 3, 4, 5, 6} + Bytes{7, 8, 9, 10, 11, 12})));
    EXPECT_EQ(image.GetSize(), (PixelSize{2, 2}));
    EXPECT_FALSE(image.HasAlpha());
    EXPECT_EQ(image.GetPixel(0, 1), Rgba(3, 2, 1, 0));
    EXPECT_EQ(image.GetPixel(1, 0), Rgba(12, 11, 10, 0));

    ASSERT_TRUE(image.Load(Write("32.tga", Header(1, 2, 32) + Bytes{1, 2, 3, 4, 5, 6, 7, 8})));
    EXPECT_TRUE(image.HasAlpha());
    EXPECT_EQ(image.GetPixel(0, 1), Rgba(3, 2, 1, 4));
    EXPECT_EQ(image.Path(), folder_ + "32.tga");
}

TEST_F(Image, RefusesWhatItCannotShow)
{
    const Bytes pixels(300);
    const std::pair<const char*, Bytes> kCases[] = {
        {"empty", {}},
        {"header cut", Bytes(17)},
        {"run-length encoded", Header(2, 2, 24, 10) + pixels},
        {"grey", Header(2, 2, 24, 3) + pixels},
        {"no picture", Header(2, 2, 24, 0) + pixels},
        {"colour-mapped", Header(2, 2, 24, 2, 0, 1) + pixels},
        {"16 bits", Header(2, 2, 16) + pixels},
        {"8 bits", Header(2, 2, 8) + pixels},
        {"0 bits", Header(2, 2, 0) + pixels},
        {"255 bits", Header(2, 2, 255) + pixels},
        {"a promise of 17 gigabytes", Header(65535, 65535, 32) + pixels},
        {"a promise of 12 gigabytes", Header(65535, 65535, 24)},
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
    ASSERT_TRUE(image.Load(Write("whole.tga", Header(2, 3, 24) + Bytes(18, 200))));
    ASSERT_TRUE(image.Load(Write("cut.tga", Header(2, 3, 24) + Bytes(6, 50) + Bytes(5, 50))));
    EXPECT_EQ(image.GetPixel(1, 2), Rgba(50, 50, 50, 0));
    EXPECT_EQ(image.GetPixel(0, 1), 0u); // its row isn't whole
    EXPECT_EQ(image.GetPixel(0, 0), 0u);

    ASSERT_TRUE(image.Load(Write("name only.tga", Header(3, 1, 32, 2, 255))));
    EXPECT_EQ(image.GetSize(), (PixelSize{1, 3}));
    ASSERT_TRUE(image.Load(Write("nothing.tga", Header(0, 65535, 32))));
    EXPECT_FALSE(image.IsValid());
    ASSERT_TRUE(image.Load(Write("wide.tga", Header(65535, 1, 24) + Bytes(65535 * 3, 3))));
    EXPECT_EQ(image.GetPixel(65534, 0), Rgba(3, 3, 3, 0));
}

TEST_F(Image, IsSharedUntilTheLastUserGoes)
{
    Write("a.tga", Header(1, 1, 24) + Bytes{1, 2, 3});
    Write("b.tga", Header(1, 1, 24) + Bytes{4, 5, 6});
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
        EXPECT_EQ(CImageCache::GetImage(folder_ + "/", "missing.tga"), nullptr);
    }
    EXPECT_EQ(CImageCache::ImageCount(), 2u);
    EXPECT_EQ(a->GetPixel(0, 0), Rgba(3, 2, 1, 0));
    first.reset();
    EXPECT_EQ(CImageCache::ImageCount(), 0u);
}

TEST_F(ImageThreads, IsLoadedOnceThatComeAndGo)
{
    Write("a.tga", Header(1, 1, 24) + Bytes{1, 2, 3});
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
