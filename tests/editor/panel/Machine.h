#pragma once

#include <array>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

#include "frame/ParameterTable.h"
#include "frame/StateBlock.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {

/// A user's machine: settings that name a root folder, in it the skin and a library of two banks,
/// and a program elsewhere. The first program is a new one; the others differ from it in the
/// cutoff, the second gate step, and the gain's link to controller 7.
class CMachine {
public:
    CMachine()
    {
        NameRootFolder(folder_);
        WriteProgram("root/Banks/Alpha/One.keldra", 1.0f);
        WriteProgram("root/Banks/Alpha/Two.keldra", 0.25f);
        WriteProgram("root/Banks/Beta/Three.keldra", 0.375f);
        WriteProgram("Elsewhere.fxp", 0.5f);
        std::filesystem::create_directory_symlink(KELDRA_BINARY_DIR "/Keldra/Skin",
                                                  Path("root/Skin"));
    }
    [[nodiscard]] std::string Path(std::string_view inside) const { return folder_.Path(inside); }
    void Write(std::string_view inside, std::string_view content) const
    {
        folder_.Write(inside, content);
    }
    /// A skin of its own, which may be damaged.
    void CopySkin() const
    {
        std::filesystem::remove(Path("root/Skin"));
        std::filesystem::copy(KELDRA_BINARY_DIR "/Keldra/Skin", Path("root/Skin"));
    }

private:
    void WriteProgram(std::string_view inside, float cutoff) const
    {
        std::array<float, kParameterCount> values;
        for (int i = 0; i < kParameterCount; ++i)
            values[static_cast<std::size_t>(i)] =
                i < kFirstControllerLink ? TableDefault(i) : -1.0f;
        if (cutoff != 1.0f) {
            values[kFilterCutoff] = cutoff;
            values[kGateStep1 + 1] = 1.0f;
            values[kFirstControllerLink + kGain] = 7.0f;
        }
        std::array<std::byte, kStateSize> block;
        WriteStateBlock(values, "", block);
        folder_.Write(inside, {reinterpret_cast<const char*>(block.data()), block.size()});
    }

    CTemporaryFolder folder_;
};

} // namespace keldra::test
