// Programs in and out: from files and into them, with and without a dialog, and from memory.

#include <array>
#include <utility>

#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"
#include "frame/StateBlock.h"
#include "frame/Text.h"
#include "platform/Files.h"
#include "platform/Folders.h"
#include "presets/FileSelector.h"
#include "presets/PackedProgram.h"
#include "presets/PresetList.h"
#include "presets/ProgramFile.h"

namespace keldra {

namespace {

/// The values that a host sees, before and after.
class CHostValues {
public:
    explicit CHostValues(CPluginRenderer& renderer) : renderer_(renderer)
    {
        for (int index = 0; index < kHostParameterCount; ++index)
            values_[static_cast<std::size_t>(index)] = renderer.GetParameter(index);
    }
    void ReportWhatChanged() const
    {
        for (int index = 0; index < kHostParameterCount; ++index) {
            const float value = renderer_.GetParameter(index);
            if (value != values_[static_cast<std::size_t>(index)])
                renderer_.ReportAutomation(index, value);
        }
    }

private:
    CPluginRenderer& renderer_;
    std::array<float, kHostParameterCount> values_{};
};

} // namespace

bool CPresetList::ApplyBlock(std::span<const std::byte> block, EImport import)
{
    if (import == EImport::Everything)
        return owner_.SetChunk(block.data(), static_cast<int>(block.size()));
    const StateBlockContent content = ReadStateBlock(block);
    ProgramValues part;
    part.count = content.valueCount;
    part.import = import;
    part.values = content.values;
    owner_.ChangeProgram(part);
    return content.Accepted();
}

/// Reads or sets all values, and does it anew when a program that MIDI selected came into it, which
/// would make a mixture of both. (Bounded, should a host send nothing but program changes.)
template <typename Action>
void CPresetList::BetweenMemoryLoads(const Action& action)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::uint32_t ended = memoryLoadsEnded_.load();
        const std::uint32_t begun = memoryLoadsBegun_.load();
        action();
        if (begun == ended && memoryLoadsBegun_.load() == begun)
            break;
    }
}

bool CPresetList::LoadProgram(std::string_view path, EImport import)
{
    std::vector<std::byte> block;
    if (ReadProgramFile(path, block) != EReadResult::Ok)
        return false;
    const CHostValues before(owner_);
    bool accepted = false;
    BetweenMemoryLoads([&] {
        accepted = ApplyBlock(block, import);
        if (accepted) {
            SetCurrentFile(path);
            owner_.SetProgramName(GetCurrent().programName);
        }
    });
    if (accepted)
        before.ReportWhatChanged();
    owner_.Feedback().MarkProgram();
    return accepted;
}

bool CPresetList::SaveProgram(std::string_view path)
{
    const int size = owner_.GetChunk(nullptr);
    if (size <= 0)
        return false;
    std::vector<std::byte> block(static_cast<std::size_t>(size));
    std::uint32_t loadsBefore = 0;
    BetweenMemoryLoads([&] {
        loadsBefore = memoryLoadsBegun_.load();
        owner_.GetChunk(block.data());
    });
    if (!WriteWholeFile(path, block))
        return false;
    // Writing takes a disk's time. What MIDI has selected meanwhile would play under the name of
    // what was saved: loaded once more, that is the later.
    const CHostValues before(owner_);
    bool loaded = false;
    BetweenMemoryLoads([&] {
        if (memoryLoadsBegun_.load() != loadsBefore)
            loaded = ApplyBlock(block, EImport::Everything);
        SetCurrentFile(path);
        owner_.SetProgramName(GetCurrent().programName);
    });
    if (loaded)
        before.ReportWhatChanged();
    owner_.Feedback().MarkProgram();
    return true;
}

// --- With a dialog ---

void CPresetList::OpenSelector(FileDialogRequest::EKind kind, EImport import)
{
    if (client_ == nullptr || IsDialogOpen())
        return;
    CFileSelector::Settings settings;
    settings.kind = kind;
    settings.pluginName = std::string(TextIn(CPluginInstance::Get().pluginName));
    {
        const std::lock_guard lock(mutex_);
        const CLibraryView::Moment now = view_.Now();
        const int bank = now.selection.bank;
        settings.folder = bank >= 0 ? (*now.banks)[static_cast<std::size_t>(bank)]->Folder().path
                                    : libraryFolder_;
    }
    std::array<char, CSharedName::kSize> name;
    owner_.GetProgramName(name);
    settings.programName = std::string(TextIn(name));
    settings.extension = extension_;
    settings.import = import;
    auto selector = std::make_shared<CFileSelector>(settings, dialogs_, *client_);
    const std::lock_guard lock(mutex_);
    selector_.swap(selector);
}

void CPresetList::LoadProgramWithDialog(EImport import)
{
    OpenSelector(FileDialogRequest::EKind::Open, import);
}

void CPresetList::SaveProgramWithDialog()
{
    OpenSelector(FileDialogRequest::EKind::Save, EImport::Everything);
}

std::shared_ptr<CFileSelector> CPresetList::Selector() const
{
    const std::lock_guard lock(mutex_);
    return selector_;
}

/// @param selector  nothing happens when it has been taken or closed already
/// @return whether it was there
bool CPresetList::Forget(const std::shared_ptr<CFileSelector>& selector)
{
    const std::lock_guard lock(mutex_);
    if (selector == nullptr || selector_ != selector)
        return false;
    selector_ = nullptr;
    return true;
}

bool CPresetList::IsDialogOpen() const
{
    const std::lock_guard lock(mutex_);
    return selector_ != nullptr;
}

void CPresetList::CloseDialog()
{
    Forget(Selector());
}

bool CPresetList::PollDialog()
{
    // Held on to: the editor's window may be closed meanwhile, on another thread.
    const std::shared_ptr<CFileSelector> answered = Selector();
    if (answered == nullptr)
        return false;
    const CFileDialog::EState state = answered->Poll();
    // Gone before anything is done: loading may lead to the host, and from there to another dialog.
    if (state == CFileDialog::EState::Open || !Forget(answered) ||
        state != CFileDialog::EState::Chosen)
        return false;
    const CFileSelector::Settings& settings = answered->GetSettings();
    return settings.kind == FileDialogRequest::EKind::Save
               ? SaveProgram(answered->Path())
               : LoadProgram(answered->Path(), settings.import);
}

// --- From memory ---

bool CPresetList::SelectProgramFromMemory(int index)
{
    for (;;) {
        CLibraryView::CReading library(view_);
        const int bankIndex = library.Selection().bank;
        if (bankIndex < 0)
            return false;
        const CBank& bank = *library.Banks()[static_cast<std::size_t>(bankIndex)];
        if (index < 0 || index >= bank.ProgramCount() || index == library.Selection().program)
            return false;
        memoryLoadsBegun_.fetch_add(1);
        const bool selected = library.TrySelect({bankIndex, index, bankIndex, index});
        if (selected)
            ApplyFromMemory(bank, index);
        memoryLoadsEnded_.fetch_add(1);
        if (selected)
            return true;
    }
}

bool CPresetList::SelectBankFromMemory(int index)
{
    for (;;) {
        CLibraryView::CReading library(view_);
        const LibrarySelection old = library.Selection();
        if (index < 0 || static_cast<std::size_t>(index) >= library.Banks().size() ||
            index == old.bank)
            return false;
        const CBank& bank = *library.Banks()[static_cast<std::size_t>(index)];
        const bool isEmpty = bank.ProgramCount() == 0;
        memoryLoadsBegun_.fetch_add(1);
        const bool selected =
            library.TrySelect(isEmpty ? LibrarySelection{index, -1, old.namedBank, old.namedProgram}
                                      : LibrarySelection{index, 0, index, 0});
        if (selected && !isEmpty)
            ApplyFromMemory(bank, 0);
        memoryLoadsEnded_.fetch_add(1);
        if (selected)
            return true;
    }
}

void CPresetList::ApplyFromMemory(const CBank& bank, int program)
{
    const std::span<const std::byte> packed = bank.PackedBlock(program);
    if (packed.empty())
        return; // as with a file that can't be read
    const CHostValues before(owner_);
    const UnpackedProgram unpacked = UnpackProgram(packed);
    owner_.ChangeProgram(unpacked.values);
    owner_.SetProgramName(unpacked.accepted ? bank.ProgramName(program) : kNoProgramName);
    if (unpacked.accepted)
        before.ReportWhatChanged();
    owner_.Feedback().MarkProgram();
}

} // namespace keldra
