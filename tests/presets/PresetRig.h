#pragma once

#include <array>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "frame/Numbers.h"
#include "frame/StateBlock.h"
#include "frame/Text.h"
#include "platform/headless/ScriptedFileDialogs.h"
#include "presets/PresetList.h"
#include "presets/PresetListClient.h"
#include "tests/frame/TestRenderer.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra::test {

/// A state block whose 156 values are all the same.
inline std::string Block(float value, std::string_view name = "stored name")
{
    std::array<float, kParameterCount> values;
    values.fill(value);
    std::array<std::byte, kStateSize> block;
    WriteStateBlock(values, name, block);
    return {reinterpret_cast<const char*>(block.data()), block.size()};
}

/// The same in a VST 2 program file with an opaque chunk; its size fields are nonsense.
inline std::string FxpFile(std::string_view block, std::string_view kind = "FPCh")
{
    std::string file(60, '\x7F');
    file.replace(0, 4, "CcnK");
    file.replace(8, 4, kind);
    return file.append(block);
}

/// A renderer with state, and a preset list that its MIDI selects in, as the engine has them. Notes
/// which values reach the engine, and in which order.
class CPresetRenderer : public CTestRenderer, public CDeafWrapper {
public:
    CPresetRenderer(const std::string& libraryFolder, CFileDialogs& dialogs)
        : presets(*this, libraryFolder, "keldra", dialogs)
    {
        SetHostWrapper(this);
    }

    float GetParameterDefault(int index) const override
    {
        return index >= kFirstControllerLink ? GetParameter(index) : TableDefault(index);
    }
    int GetChunk(void* buffer) const override { return SaveState(buffer); }
    bool SetChunk(const void* data, int size) override { return LoadState(data, size); }
    void ProgramChange(int program) override { presets.SelectProgramFromMemory(program); }
    void ControlChange(int controller) override
    {
        if (controller == 32)
            presets.SelectBankFromMemory(TruncateToInt(Controller(32) * 127.0f));
    }
    void ApplyParameter(int index, float value) override
    {
        if (index < kParameterCount)
            applied[static_cast<std::size_t>(index)] = value;
    }

    void AutomateParameter(int index, float value) override
    {
        const std::lock_guard lock(automatedMutex);
        automated[index] = value;
    }

    [[nodiscard]] std::string Name() const
    {
        std::array<char, CSharedName::kSize> text;
        GetProgramName(text);
        return std::string(TextIn(text));
    }
    /// The distinct values of all stored parameters of a range.
    [[nodiscard]] std::set<float> Values(int first = 0, int last = kParameterCount - 1) const
    {
        std::set<float> values;
        for (int index = first; index <= last; ++index)
            values.insert(GetParameter(index));
        return values;
    }

    CPresetList presets;
    std::array<float, kParameterCount> applied{};
    std::mutex automatedMutex;
    std::map<int, float> automated; ///< what the host was told since it was cleared
};

/// A library of three banks, a renderer on it, and file dialogs that a test answers.
class CPresetRig : public CPresetListClient {
public:
    CPresetRig()
    {
        CopyText("Keldra", CPluginInstance::GetMutable().pluginName);
        folder.Write("Library/Basses/Bass 10.keldra", Block(0.10f));
        folder.Write("Library/Basses/Bass 9.keldra", Block(0.09f));
        folder.Write("Library/Basses/Deep.old.fxp", FxpFile(Block(0.11f)));
        folder.Write("Library/Basses/Loud.FXP", Block(0.9f));
        folder.Write("Library/Basses/readme.txt", "not a program");
        folder.Write("Library/leads/Bright.keldra", Block(0.2f));
        folder.Write("Library/leads/Soft.keldra", Block(0.21f));
        folder.Write("Library/Xtra/none.txt", "");
        folder.Write("Library/loose.keldra", Block(0.5f));
        renderer = std::make_unique<CPresetRenderer>(folder.Path() + "//Library", dialogs);
        renderer->presets.ScanBanks();
    }

    CPresetList& Presets() const { return renderer->presets; }

    /// "leads/Soft" for what is selected, "-" where nothing is.
    [[nodiscard]] std::string Selected() const
    {
        const CPresetList::Lists lists = Presets().GetLists();
        const auto name = [](const std::vector<std::string>& list, int index) {
            return index < 0 ? "-" : list.at(static_cast<std::size_t>(index));
        };
        return name(lists.banks, lists.bank) + "/" + name(lists.programs, lists.program);
    }
    /// "leads/Soft soft.keldra" for the names and the file that are current.
    [[nodiscard]] std::string Current() const
    {
        const CPresetList::Current current = Presets().GetCurrent();
        const std::string_view path = current.path;
        return current.bankName + "/" + current.programName + " " +
               std::string(path.substr(path.rfind('/') + 1));
    }

    void ShowAboutBox() override { ++aboutBoxes; }
    void ShowPresetBrowser() override { ++browsers; }
    std::uintptr_t DialogOwner() const override { return 4711; }
    std::unique_ptr<CFileDialog> OpenOwnFileDialog(const FileDialogRequest& request) override
    {
        return hasOwnChooser ? ownDialogs.Open(request) : nullptr;
    }

    CTestDefinition definition;
    CTemporaryFolder folder;
    CScriptedFileDialogs dialogs;
    CScriptedFileDialogs ownDialogs;
    bool hasOwnChooser = true;
    int aboutBoxes = 0;
    int browsers = 0;
    std::unique_ptr<CPresetRenderer> renderer;
};

} // namespace keldra::test
