#include "presets/ProgramFile.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <sys/resource.h>

#include "presets/PackedProgram.h"
#include "tests/presets/PresetRig.h"

namespace keldra::test {
namespace {

TEST(ProgramFile, LoadsBothLayoutsAndTakesTheNamesFromThePath)
{
    const CPresetRig rig;
    std::string older = Block(0.34f);
    older[0] = 0x33; // the older tag
    struct Case {
        const char *what, *path;
        std::string content;
        bool loaded;
        float value; ///< of all parameters; for what isn't loaded, 0.7 is what was there before
        const char* name;
    };
    const Case kCases[] = {
        {"plain", "Leads/Bright.keldra", Block(0.3f), true, 0.3f, "Bright"},
        {"any extension will do", "a/b.bin", Block(0.31f), true, 0.31f, "b"},
        {"fxp", "Leads/Bright.old.fxp", FxpFile(Block(0.32f)), true, 0.32f, "Bright.old"},
        {"fxp without its name field", "c/d.fxp", FxpFile(Block(0.33f).substr(0, 628)), true, 0.33f,
         "d"},
        {"older tag", "e/f.keldra", older, true, 0.34f, "f"},
        {"longer than a block", "g/h.keldra", Block(0.35f) + std::string(5000, 'x'), true, 0.35f,
         "h"},
        {"16 bytes", "i/j.keldra", Block(0.1f).substr(0, 16), false, 0.7f, "before"},
        {"empty", "k/l.keldra", "", false, 0.7f, "before"},
        {"missing", "m/", "", false, 0.7f, "before"},
        {"largest", "n/o.keldra", Block(0.36f).append(4194304 - 692, '\0'), true, 0.36f, "o"},
        {"a byte more", "p/q.keldra", Block(0.36f).append(4194305 - 692, '\0'), false, 0.7f,
         "before"},
    };
    for (const Case& row : kCases) {
        rig.renderer->SetChunk(Block(0.7f).data(), 692);
        rig.renderer->SetProgramName("before");
        const std::string path = std::string_view(row.path).ends_with("/")
                                     ? rig.folder.Path(row.path)
                                     : rig.folder.Write(row.path, row.content);
        EXPECT_EQ(rig.Presets().LoadProgram(path), row.loaded) << row.what;
        EXPECT_EQ(rig.renderer->Values(), std::set<float>{row.value}) << row.what;
        EXPECT_EQ(rig.renderer->Name(), row.name) << row.what;
    }
}

TEST(ProgramFile, RejectedOnesLeaveANewProgramAndTheSelectionAlone)
{
    const CPresetRig rig;
    struct Case {
        const char* what;
        std::string content;
    };
    const Case kCases[] = {
        {"17 bytes of nothing", std::string(17, '\0')},
        {"wrong tag", "xxxx" + Block(0.3f).substr(4)},
        {"fxp with a list of parameters", FxpFile(Block(0.3f), "FxCk")},
        {"fxp header alone", FxpFile("")},
        {"fxp that breaks off in its header", FxpFile("").substr(0, 40)},
    };
    for (const Case& row : kCases) {
        rig.Presets().LoadProgram(rig.Presets().LibraryFolder() + "/leads/Soft.keldra");
        EXPECT_FALSE(rig.Presets().LoadProgram(rig.folder.Write("other/x.fxp", row.content)))
            << row.what;
        for (int index = 0; index < kFirstControllerLink; ++index)
            EXPECT_EQ(rig.renderer->GetParameter(index), TableDefault(index)) << row.what << index;
        EXPECT_EQ(rig.renderer->Name(), "<noname>") << row.what;
        EXPECT_EQ(rig.Selected(), "leads/Soft") << row.what;
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
        std::vector<std::byte> packed;
        PackProgram(std::as_bytes(std::span(file)), packed);
        const UnpackedProgram fromMemory = UnpackProgram(packed);
        for (int index = 0; index < kParameterCount; ++index) {
            const float loaded = rig.renderer->GetParameter(index);
            ASSERT_EQ(std::memcmp(&loaded, &value, sizeof value), 0) << value;
            ASSERT_EQ(std::memcmp(&fromMemory.values.values[static_cast<std::size_t>(index)],
                                  &value, sizeof value),
                      0)
                << value;
        }
        EXPECT_EQ(rig.renderer->Name(), "Soft");
    }
}

} // namespace
} // namespace keldra::test
