#include "presets/ProgramFile.h"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>

#include "presets/PackedProgram.h"
#include "tests/presets/PresetRig.h"

namespace keldra::test {
namespace {

TEST(ProgramFile, LoadsBothLayoutsAndTakesTheNamesFromThePath)
{
    enum class EEnd { Loaded, Ignored, Rejected };
    using enum EEnd;
    std::string older = Block(0.34f);
    older[0] = 0x33; // its tag
    const std::string large = Block(0.36f).append(4194304 - 692, '\0');
    struct Case {
        const char *what, *path;
        std::string content;
        EEnd end;
        float value = 0.0f; ///< of all parameters
        const char* name = "";
    };
    const Case kCases[] = {
        {"plain", "Leads/Bright.keldra", Block(0.3f), Loaded, 0.3f, "Bright"},
        {"any extension will do", "a/b.bin", Block(0.31f), Loaded, 0.31f, "b"},
        {"fxp", "Leads/Bright.old.fxp", FxpFile(Block(0.32f)), Loaded, 0.32f, "Bright.old"},
        {"fxp without its name field", "c/d.fxp", FxpFile(Block(0.33f).substr(0, 628)), Loaded,
         0.33f, "d"},
        {"older tag", "e/f.keldra", older, Loaded, 0.34f, "f"},
        {"largest", "n/o.keldra", large, Loaded, 0.36f, "o"},
        {"a byte more", "p/q.keldra", large + "x", Ignored},
        {"16 bytes", "i/j.keldra", Block(0.1f).substr(0, 16), Ignored},
        {"missing", "m/", "", Ignored},
        {"17 bytes of nothing", "x/y.keldra", std::string(17, '\0'), Rejected},
        {"wrong tag", "x/y.keldra", "xxxx" + Block(0.3f).substr(4), Rejected},
        {"fxp with a list of parameters", "x/y.fxp", FxpFile(Block(0.3f), "FxCk"), Rejected},
        {"fxp header alone", "x/y.fxp", FxpFile(""), Rejected},
        {"fxp that breaks off in its header", "x/y.fxp", FxpFile("").substr(0, 40), Rejected},
    };
    const CPresetRig rig;
    for (const Case& row : kCases) {
        SCOPED_TRACE(row.what);
        rig.Presets().LoadProgram(rig.Presets().LibraryFolder() + "/leads/Soft.keldra");
        const std::string path = row.content.empty() ? rig.folder.Path(row.path)
                                                     : rig.folder.Write(row.path, row.content);
        EXPECT_EQ(rig.Presets().LoadProgram(path), row.end == Loaded);
        if (row.end == Loaded) {
            EXPECT_EQ(rig.renderer->Values(), std::set<float>{row.value});
            EXPECT_EQ(rig.renderer->Name(), row.name);
            continue;
        }
        EXPECT_EQ(rig.Selected(), "leads/Soft");
        EXPECT_EQ(rig.renderer->Name(), row.end == Ignored ? "Soft" : "<noname>");
        for (int index = 0; index < kFirstControllerLink; ++index)
            EXPECT_EQ(rig.renderer->GetParameter(index),
                      row.end == Ignored ? 0.21f : TableDefault(index));
    }
}

// From the file and from memory alike: the values before the break are taken, the rest is new.
TEST(ProgramFile, EveryTruncationIsTakenAsFarAsItGoes)
{
    const CPresetRig rig;
    const std::string whole = Block(0.3f);
    for (std::size_t length = 17; length <= whole.size(); ++length) {
        const auto expected = [&](int index) {
            const bool there = index < static_cast<int>((length - 4) / 4);
            return there ? 0.3f : index >= kFirstControllerLink ? 0.7f : TableDefault(index);
        };
        const std::string part = whole.substr(0, length);
        const std::span<const std::byte> bytes = std::as_bytes(std::span(part));
        std::vector<std::byte> packed;
        PackProgram(bytes, packed);
        ASSERT_EQ(UnpackProgram(packed).accepted, length >= 628) << length;
        for (const bool fromMemory : {false, true}) {
            rig.renderer->SetChunk(Block(0.7f).data(), 692);
            if (fromMemory)
                rig.renderer->ChangeProgram(UnpackProgram(packed).values);
            else
                ASSERT_EQ(rig.renderer->SetChunk(part.data(), static_cast<int>(length)),
                          length >= 628);
            for (int index = 0; index < kParameterCount; ++index)
                ASSERT_EQ(rig.renderer->GetParameter(index), expected(index))
                    << index << " of " << length << " bytes, memory " << fromMemory;
        }
    }
}

TEST(ProgramFile, AnyValueComesThroughBitForBit)
{
    using Limits = std::numeric_limits<float>;
    const CPresetRig rig;
    for (const float value :
         {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), Limits::denorm_min(),
          -Limits::denorm_min(), 1e30f, -1e30f, Limits::max(), -0.0f}) {
        std::string file = Block(value);
        file.replace(628, 64, 64, '\xFF'); // a name without an end
        const std::string path = rig.folder.Write("Library/leads/Soft.keldra", file);
        EXPECT_TRUE(rig.Presets().LoadProgram(path));
        std::array<float, kParameterCount> loaded, expected;
        expected.fill(value);
        for (int index = 0; index < kParameterCount; ++index)
            loaded[static_cast<std::size_t>(index)] = rig.renderer->GetParameter(index);
        EXPECT_EQ(std::memcmp(&loaded, &expected, sizeof loaded), 0) << value;
        std::vector<std::byte> packed;
        PackProgram(std::as_bytes(std::span(file)), packed);
        const ProgramValues fromMemory = UnpackProgram(packed).values;
        EXPECT_EQ(std::memcmp(&fromMemory.values, &expected, sizeof expected), 0) << value;
        EXPECT_EQ(rig.renderer->Name(), "Soft");
    }
}

} // namespace
} // namespace keldra::test
