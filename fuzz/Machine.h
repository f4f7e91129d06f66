#pragma once

#include <string>
#include <vector>

#include "editor/SkinImages.h"
#include "frame/ParameterTable.h"
#include "frame/StateBlock.h"
#include "tests/gui/Tga.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra::fuzz {

/// The machine of a user who has the skin and two banks: in a folder that is gone afterwards. Made
/// before the first instance, once.
class CMachine {
public:
    CMachine()
    {
        test::NameRootFolder(folder_);
        for (const SkinImageRow& row : kSkinImages)
            folder_.Write("root/Skin/" + std::string(row.file),
                          test::PlainTga({row.Height(), row.Width()}, row.bitsPerPixel));
        for (int i = 0; i < 12; ++i)
            folder_.Write("root/Banks/Bank " + std::to_string(i % 2) + "/Program " +
                              std::to_string(i) + ".fxp",
                          Program(i));
    }
    [[nodiscard]] std::string Path(const std::string& inside) const
    {
        return folder_.Path("root/" + inside);
    }

private:
    /// Each with another value in each place: parameters between their ends, links, settings. But
    /// for the release, which nothing makes longer than 15 ms.
    static std::string Program(int number)
    {
        std::array<float, kParameterCount> values{};
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] =
                i < 75 ? static_cast<float>((i * 7 + static_cast<std::size_t>(number)) % 9) / 8.0f
                       : static_cast<float>((i + static_cast<std::size_t>(number)) % 4);
        values[kAmpRelease] = 0.0f;
        values[kFirstControllerLink + kAmpRelease] = -1.0f;
        std::array<std::byte, kStateSize> block{};
        WriteStateBlock(values, "of a bank", block);
        return {reinterpret_cast<const char*>(block.data()), block.size()};
    }

    test::CTemporaryFolder folder_;
};

} // namespace keldra::fuzz
