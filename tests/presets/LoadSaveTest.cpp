#include <gtest/gtest.h>

#include "presets/FileSelector.h"
#include "presets/ProgramFile.h"
#include "tests/presets/PresetRig.h"

namespace keldra::test {
namespace {

using EState = CFileDialog::EState;
using EKind = FileDialogRequest::EKind;

TEST(LoadProgram, ImportsTakeTheirPartAndTheNameOnly)
{
    struct Case {
        EImport import;
        int first, last;
    };
    for (const auto& [import, first, last] :
         {Case{EImport::GateStepsOnly, kGateStep1, kGateStep16},
          Case{EImport::ControllerLinksOnly, kFirstControllerLink, kLastControllerLink}}) {
        const CPresetRig rig;
        rig.renderer->SetChunk(Block(0.7f).data(), 692);
        EXPECT_TRUE(rig.Presets().LoadProgram(rig.Presets().LibraryFolder() + "/leads/Soft.keldra",
                                              import));
        EXPECT_EQ(rig.renderer->Values(first, last), std::set<float>{0.21f});
        EXPECT_EQ(rig.renderer->Values(0, first - 1), std::set<float>{0.7f});
        EXPECT_EQ(rig.renderer->Values(last + 1), std::set<float>{0.7f});
        EXPECT_EQ(rig.renderer->Name(), "Soft");

        EXPECT_FALSE(rig.Presets().LoadProgram(
            rig.folder.Write("x/y.keldra", std::string(100, 'x')), import));
        EXPECT_EQ(rig.renderer->Values(0, first - 1), std::set<float>{0.7f})
            << "rejected: no reset";
    }
}

TEST(SaveProgram, WritesAPlainFileThatTheLibraryShowsAndLoadsBack)
{
    const CPresetRig rig;
    for (int index = 0; index < kParameterCount; ++index)
        rig.renderer->SetParameter(index, static_cast<float>(index) / 100.0f - 0.3f);
    const std::string path = rig.Presets().LibraryFolder() + "/leads/Made Here.keldra";
    EXPECT_TRUE(rig.Presets().SaveProgram(path));
    EXPECT_EQ(Slurp(path).size(), kStateSize);
    EXPECT_EQ(rig.Selected(), "leads/Made Here");
    EXPECT_EQ(rig.renderer->Name(), "Made Here");

    rig.renderer->ResetProgram();
    EXPECT_TRUE(rig.Presets().LoadProgram(path));
    for (int index = 0; index < kParameterCount; ++index)
        EXPECT_EQ(rig.renderer->GetParameter(index), static_cast<float>(index) / 100.0f - 0.3f);

    EXPECT_FALSE(rig.Presets().SaveProgram(rig.folder.Path("no folder/x.keldra")));
    EXPECT_EQ(rig.Selected(), "leads/Made Here") << "nothing was saved, nothing is followed";
}

TEST(ProgramDialogs, AreSetUpForTheirPurpose)
{
    const CPresetRig rig;
    const std::string library = rig.Presets().LibraryFolder();
    struct Case {
        const char *what, *folder, *programName, *begin, *name;
    };
    const Case kCases[] = {
        {"plain", "/Library/leads", "Soft", "/Library/leads", "Soft"},
        {"folder is gone", "/Library/gone/deeper", "a", "/Library", "a"},
        {"signs that file names can't have", "/Library", "<a>*b\\c/d", "/Library", " a  b c d"},
    };
    for (const EKind kind : {EKind::Open, EKind::Save})
        for (const Case& row : kCases) {
            const FileDialogRequest request =
                MakeProgramRequest({kind, "Keldra", rig.folder.Path() + row.folder, row.programName,
                                    "keldra", EImport::Everything});
            EXPECT_EQ(request.title, kind == EKind::Open ? "Load Program" : "Save Program");
            EXPECT_EQ(request.filters[0].description, "Keldra Program");
            EXPECT_EQ(request.filters[0].patterns,
                      kind == EKind::Open ? "*.keldra;*.fxp;" : "*.*;");
            EXPECT_EQ(request.folder, rig.folder.Path() + row.begin) << row.what;
            EXPECT_EQ(request.name, row.name) << row.what;
        }
    EXPECT_EQ(MakeProgramRequest({EKind::Open, "", "relative/gone", "", "", {}}).folder, "");
}

TEST(ProgramDialogs, CarryOutTheAnswerWhenItComes)
{
    CPresetRig rig;
    CPresetList& presets = rig.Presets();
    presets.LoadProgramWithDialog();
    EXPECT_TRUE(rig.dialogs.requests.empty()) << "there is no editor";
    presets.SetClient(&rig);
    rig.renderer->SetChunk(Block(0.7f).data(), 692);
    presets.SelectBank(1);

    rig.dialogs.answers = {{EState::Chosen, rig.folder.Path("Library/Basses/Bass 9.keldra"), 2}};
    presets.LoadProgramWithDialog(EImport::GateStepsOnly);
    presets.SaveProgramWithDialog(); // one at a time
    ASSERT_EQ(rig.dialogs.requests.size(), 1u);
    EXPECT_EQ(rig.dialogs.requests[0].owner, 4711u);
    EXPECT_EQ(rig.dialogs.requests[0].folder, rig.folder.Path("Library/leads"));
    EXPECT_EQ(rig.dialogs.requests[0].name, "stored name");
    EXPECT_FALSE(presets.PollDialog());
    EXPECT_FALSE(presets.PollDialog());
    EXPECT_EQ(rig.renderer->Values(), std::set<float>{0.7f}) << "still open";
    EXPECT_TRUE(presets.PollDialog());
    EXPECT_FALSE(presets.IsDialogOpen());
    EXPECT_EQ(rig.renderer->Values(kGateStep1, kGateStep16), std::set<float>{0.09f});
    EXPECT_EQ(rig.renderer->Values(0, kGateStep1 - 1), std::set<float>{0.7f});
    EXPECT_EQ(rig.renderer->automated.size(), 16u) << "the host follows";
    EXPECT_EQ(rig.Selected(), "Basses/Bass 9");

    rig.dialogs.answers = {{EState::Cancelled, "", 0}};
    presets.LoadProgramWithDialog();
    EXPECT_FALSE(presets.PollDialog());
    EXPECT_FALSE(presets.IsDialogOpen());

    presets.SaveProgramWithDialog(); // never answered: goes with the editor
    EXPECT_EQ(rig.dialogs.openCount, 1);
    presets.SetClient(nullptr);
    EXPECT_EQ(rig.dialogs.openCount, 0);
    EXPECT_FALSE(presets.PollDialog());
}

// On another thread a host may close the window in the middle of this.
TEST(ProgramDialogs, MayBeClosedWhileAnAnswerIsLookedFor)
{
    class CClosingRig : public CPresetRig {
        std::unique_ptr<CFileDialog> OpenOwnFileDialog(const FileDialogRequest& request) override
        {
            Presets().CloseDialog();
            return ownDialogs.Open(request);
        }
    };
    CClosingRig rig;
    rig.Presets().SetClient(&rig);
    rig.dialogs.answers = {{EState::Unavailable, "", 0}};
    rig.ownDialogs.answers = {{EState::Chosen, rig.folder.Path("Library/leads/Soft.keldra"), 0}};
    rig.Presets().LoadProgramWithDialog();
    EXPECT_FALSE(rig.Presets().PollDialog());
    EXPECT_EQ(rig.ownDialogs.openCount, 0);
    EXPECT_EQ(rig.renderer->Name(), "") << "nobody waits for it any more";
}

TEST(ProgramDialogs, SavingAddsTheExtensionButNeverReplacesUnasked)
{
    struct Case {
        const char *what, *programName;
        std::vector<const char*> chosen; ///< one a dialog
        const char* written;
    };
    const Case kCases[] = {
        {"a name alone", "x", {"New"}, "New.keldra"},
        {"a host's extension, in capitals", "x", {"New.FXP"}, "New.FXP"},
        {"a dot makes no extension", "x", {"Lead v1.2"}, "Lead v1.2.keldra"},
        {"as suggested, dots and all", "Bright.old", {"Bright.old"}, "Bright.old.keldra"},
        {"would replace: asks with the whole name", "x", {"Soft", "Soft.keldra"}, "Soft.keldra"},
        {"and takes another for an answer", "x", {"Soft", "Softer"}, "Softer.keldra"},
        {"cancelled then", "x", {"Soft", ""}, ""},
    };
    for (const Case& row : kCases) {
        CPresetRig rig;
        rig.Presets().SetClient(&rig);
        const std::string folder = rig.Presets().LibraryFolder() + "/leads/";
        const std::string soft = Slurp(folder + "Soft.keldra");
        for (const char* name : row.chosen)
            rig.dialogs.answers.push_back(
                {*name != '\0' ? EState::Chosen : EState::Cancelled, folder + name, 0});
        rig.renderer->SetProgramName(row.programName);
        rig.renderer->SetParameter(kGain, 0.99f);
        rig.Presets().SaveProgramWithDialog();
        for (int i = 0; i < 5; ++i)
            (void)rig.Presets().PollDialog();
        EXPECT_EQ(rig.dialogs.requests.size(), row.chosen.size()) << row.what;
        EXPECT_EQ(rig.dialogs.requests.back().name,
                  row.chosen.size() > 1 ? "Soft.keldra" : row.programName)
            << row.what;
        const std::string_view written = row.written;
        if (!written.empty()) {
            EXPECT_EQ(Slurp(folder + row.written).size(), kStateSize) << row.what;
        }
        EXPECT_EQ(Slurp(folder + "Soft.keldra") != soft, written == "Soft.keldra") << row.what;
        EXPECT_EQ(rig.renderer->Name(), written.empty() ? row.programName : ProgramNameOf(written))
            << row.what;
    }
}

} // namespace
} // namespace keldra::test
