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
      libraryFolder_(std::move(libraryFolder)),
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

void CPresetList::ScanBanks()
{
    const std::lock_guard lock(mutex_);
    const std::shared_ptr<LibraryBanks> banks = ReadBanks({}, true);
    for (;;) {
        const CLibraryView::Moment now = view_.Now();
        current_ = CurrentOf(now);
        if (view_.TryPublish(now, banks, {}))
            break;
    }
    cache_->Trim();
}

bool CPresetList::SelectBank(int index)
{
    const std::lock_guard lock(mutex_);
    for (;;) {
        const CLibraryView::Moment now = view_.Now();
        const CBank* old = BankOf(*now.banks, index);
        if (old == nullptr)
            return false;
        const std::shared_ptr<const CBank> bank = cache_->Get(old->Folder(), CBank::ECheck::Files);
        auto banks = std::make_shared<LibraryBanks>(*now.banks);
        (*banks)[static_cast<std::size_t>(index)] = bank;

        LibrarySelection selection{index, -1, -1, -1};
        if (bank->ProgramCount() > 0)
            selection = {index, 0, index, 0};
        else
            current_ = CurrentOf(now);
        if (view_.TryPublish(now, std::move(banks), selection))
            return index != now.selection.bank;
    }
}

bool CPresetList::SelectProgram(int index)
{
    const std::lock_guard lock(mutex_);
    for (;;) {
        const CLibraryView::Moment now = view_.Now();
        const int bank = now.selection.bank;
        if (!HasProgram(BankOf(*now.banks, bank), index))
            return false;
        if (view_.TrySelect(now, {bank, index, bank, index}))
            return index != now.selection.program;
    }
}

bool CPresetList::NextProgram()
{
    const int program = view_.Now().selection.program;
    return SelectProgram(program >= 0 ? program + 1 : 0);
}

bool CPresetList::PreviousProgram()
{
    const int program = view_.Now().selection.program;
    return SelectProgram(program >= 0 ? program - 1 : 0);
}

void CPresetList::SetCurrentFile(std::string_view path)
{
    const std::lock_guard lock(mutex_);
    const auto orElse = [](std::string_view name, std::string_view otherwise) {
        return std::string(name.empty() ? otherwise : name);
    };
    const Current file{orElse(ProgramNameOf(path), kNoProgramName),
                       orElse(BankNameOf(path), kNoBankName), std::string(path)};
    const std::shared_ptr<LibraryBanks> banks = ReadBanks(file.bankName, false);
    LibrarySelection selection;
    for (std::size_t i = 0; i < banks->size() && selection.bank < 0; ++i)
        if (FileNameOf((*banks)[i]->Folder().path) == file.bankName)
            selection.bank = static_cast<int>(i);
    if (const CBank* bank = BankOf(*banks, selection.bank)) {
        // The first program when none has the name, as after any look into a bank.
        const int program = bank->FindProgram(file.programName, path);
        selection.program = program >= 0 ? program : bank->ProgramCount() > 0 ? 0 : -1;
    }
    do
        current_ = file;
    while (!view_.TryPublish(view_.Now(), banks, selection));
    cache_->Trim();
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
