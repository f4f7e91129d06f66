#include "presets/PresetList.h"

#include <algorithm>
#include <utility>

#include "platform/Folders.h"
#include "presets/FileSelector.h"
#include "presets/PresetListClient.h"
#include "presets/ProgramFile.h"

namespace keldra {

namespace {

bool IsIndexOf(int index, std::size_t count)
{
    return index >= 0 && static_cast<std::size_t>(index) < count;
}

/// "a//b" is "a/b" to the system, and has to be to who compares names. A doubled separator at the
/// beginning stays: some systems give it a meaning.
std::string WithSingleSeparators(std::string path)
{
    const auto begin = path.begin() + (path.empty() ? 0 : 1);
    path.erase(
        std::unique(begin, path.end(),
                    [](char a, char b) { return a == kPathSeparator && b == kPathSeparator; }),
        path.end());
    return path;
}

/// The selected bank, null for none.
const CBank* BankOf(const LibraryBanks& banks, int index)
{
    return IsIndexOf(index, banks.size()) ? banks[static_cast<std::size_t>(index)].get() : nullptr;
}

bool HasProgram(const CBank* bank, int index)
{
    return bank != nullptr && index >= 0 && index < bank->ProgramCount();
}

} // namespace

CPresetList::CPresetList(CPluginRenderer& owner, std::string libraryFolder, std::string extension,
                         CFileDialogs& dialogs)
    : owner_(owner),
      libraryFolder_(WithSingleSeparators(std::move(libraryFolder))),
      extension_(std::move(extension)),
      dialogs_(dialogs),
      cache_(CBankCache::Shared(extension_)),
      current_{std::string(kNoProgramName), std::string(kNoBankName), {}}
{
}

CPresetList::~CPresetList() = default;

// --- Selection ---

std::shared_ptr<LibraryBanks> CPresetList::ReadBanks(std::string_view checkedBank,
                                                     bool checkAll) const
{
    CFileList folders;
    folders.AddFilter("", true);
    folders.Scan(libraryFolder_);
    auto banks = std::make_shared<LibraryBanks>();
    banks->reserve(folders.Entries().size());
    for (const CFileList::Entry& folder : folders.Entries()) {
        const bool isChecked = FileNameOf(folder.path) == checkedBank;
        banks->push_back(cache_->Get(folder, checkAll || isChecked ? CBank::ECheck::Files
                                                                   : CBank::ECheck::Folder));
    }
    return banks;
}

/// Puts a library in place of the old one, and selects in it what `select` makes of the moment;
/// anew when the engine's thread has selected something meanwhile.
template <typename Select>
void CPresetList::Publish(const std::shared_ptr<const LibraryBanks>& banks, const Select& select)
{
    {
        const std::lock_guard lock(mutex_);
        for (bool published = false; !published;) {
            const CLibraryView::Moment now = view_.Now();
            published = view_.TryPublish(now, banks, select(now));
        }
    }
    cache_->Trim();
}

void CPresetList::ScanBanks()
{
    const std::lock_guard reading(diskMutex_);
    Publish(ReadBanks({}, true), [this](const CLibraryView::Moment& now) {
        current_ = CurrentOf(now);
        return LibrarySelection{};
    });
}

bool CPresetList::SelectBank(int index)
{
    const std::lock_guard reading(diskMutex_);
    const std::shared_ptr<const LibraryBanks> old = Banks();
    if (BankOf(*old, index) == nullptr)
        return false;
    const auto banks = std::make_shared<LibraryBanks>(*old);
    std::shared_ptr<const CBank>& bank = (*banks)[static_cast<std::size_t>(index)];
    bank = cache_->Get(bank->Folder(), CBank::ECheck::Files);
    bool moved = false;
    Publish(banks, [&](const CLibraryView::Moment& now) {
        moved = index != now.selection.bank;
        if (bank->ProgramCount() > 0)
            return LibrarySelection{index, 0, index, 0};
        current_ = CurrentOf(now);
        return LibrarySelection{index, -1, -1, -1};
    });
    return moved;
}

/// @param choose  makes the program to select of the selected one, -1 for none
template <typename Choose>
bool CPresetList::SelectProgramBy(const Choose& choose)
{
    const std::lock_guard lock(mutex_);
    for (;;) {
        const CLibraryView::Moment now = view_.Now();
        const int bank = now.selection.bank;
        const int index = choose(now.selection.program);
        if (!HasProgram(BankOf(*now.banks, bank), index))
            return false;
        if (view_.TrySelect(now, {bank, index, bank, index}))
            return index != now.selection.program;
    }
}

bool CPresetList::SelectProgram(int index)
{
    return SelectProgramBy([index](int) { return index; });
}

bool CPresetList::NextProgram()
{
    return SelectProgramBy([](int selected) { return selected >= 0 ? selected + 1 : 0; });
}

bool CPresetList::PreviousProgram()
{
    return SelectProgramBy([](int selected) { return selected >= 0 ? selected - 1 : 0; });
}

void CPresetList::SetCurrentFile(std::string_view path)
{
    const std::lock_guard reading(diskMutex_);
    const auto orElse = [](std::string_view name, std::string_view otherwise) {
        return std::string(name.empty() ? otherwise : name);
    };
    Current file;
    file.path = WithSingleSeparators(std::string(path));
    file.programName = orElse(ProgramNameOf(file.path), kNoProgramName);
    file.bankName = orElse(BankNameOf(file.path), kNoBankName);
    const std::shared_ptr<LibraryBanks> banks = ReadBanks(file.bankName, false);
    LibrarySelection selection;
    for (std::size_t i = 0; i < banks->size() && selection.bank < 0; ++i)
        if (FileNameOf((*banks)[i]->Folder().path) == file.bankName)
            selection.bank = static_cast<int>(i);
    if (const CBank* bank = BankOf(*banks, selection.bank)) {
        // The first program when none has the name, as after any look into a bank.
        const int program = bank->FindProgram(file.programName, file.path);
        selection.program = program >= 0 ? program : bank->ProgramCount() > 0 ? 0 : -1;
    }
    Publish(banks, [&](const CLibraryView::Moment&) {
        current_ = file;
        return selection;
    });
}

std::shared_ptr<const LibraryBanks> CPresetList::Banks() const
{
    const std::lock_guard lock(mutex_);
    return view_.Now().banks;
}

CPresetList::Current CPresetList::CurrentOf(const CLibraryView::Moment& now) const
{
    Current current = current_;
    if (const CBank* bank = BankOf(*now.banks, now.selection.bank))
        current.bankName = bank->Name();
    const CBank* named = BankOf(*now.banks, now.selection.namedBank);
    if (HasProgram(named, now.selection.namedProgram)) {
        current.programName = named->ProgramName(now.selection.namedProgram);
        current.path = named->ProgramPath(now.selection.namedProgram);
    }
    return current;
}

CPresetList::Current CPresetList::GetCurrent() const
{
    const std::lock_guard lock(mutex_);
    return CurrentOf(view_.Now());
}

CPresetList::Lists CPresetList::GetLists() const
{
    const std::lock_guard lock(mutex_);
    const CLibraryView::Moment now = view_.Now();
    Lists lists;
    lists.bank = now.selection.bank;
    lists.program = now.selection.program;
    for (const auto& bank : *now.banks)
        lists.banks.emplace_back(bank->Name());
    if (const CBank* bank = BankOf(*now.banks, now.selection.bank))
        for (int program = 0; program < bank->ProgramCount(); ++program)
            lists.programs.emplace_back(bank->ProgramName(program));
    return lists;
}

// --- With an editor ---

void CPresetList::SetClient(CPresetListClient* client)
{
    if (client == nullptr)
        CloseDialog();
    client_ = client;
}

void CPresetList::ShowAboutBox()
{
    if (client_ != nullptr)
        client_->ShowAboutBox();
}

void CPresetList::ShowPresetBrowser()
{
    if (client_ != nullptr)
        client_->ShowPresetBrowser();
}

} // namespace keldra
