#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/EngineChanges.h"
#include "platform/FileDialog.h"
#include "presets/BankCache.h"
#include "presets/LibraryView.h"

namespace keldra {

class CFileSelector;
class CPluginRenderer;
class CPresetListClient;

/// One instance's preset library: the banks in a folder, the programs in them, which of them is
/// current, and the loading and saving of program files.
///
/// Threads. The control threads (editor, host) list, select, load and save at any time, files
/// included; they take turns where they meet. The thread that has the engine selects by MIDI: it
/// takes programs from memory, where the library keeps them, and neither waits nor takes memory nor
/// touches a file (see CLibraryView). When both choose at once, the later one's program is whole: a
/// load that a MIDI selection has come into is made again, and what was saved meanwhile is loaded.
/// What is on the disk is looked at in ScanBanks, SelectBank and SetCurrentFile (so after each load
/// and save), not in between.
class CPresetList {
public:
    /// Neither reads the disk nor loads anything: call ScanBanks, SelectBank(0), LoadProgram.
    /// @param owner          the renderer that programs are loaded into; it outlives this
    /// @param libraryFolder  absolute; need not exist
    /// @param extension      of the library's own program files, without the dot
    CPresetList(CPluginRenderer& owner, std::string libraryFolder, std::string extension,
                CFileDialogs& dialogs = SystemFileDialogs());
    virtual ~CPresetList();
    CPresetList(const CPresetList&) = delete;
    CPresetList& operator=(const CPresetList&) = delete;

    // Selection. Control threads

    /// Reads the library folder anew. Nothing is selected afterwards; names and path stay.
    void ScanBanks();
    /// Reads that bank anew and selects its first program. An index that isn't there changes
    /// nothing. Loads nothing: that is up to the caller, with LoadProgram(CurrentPath()).
    /// @return whether it wasn't the selected bank before
    bool SelectBank(int index);
    /// @return whether it wasn't the selected program before; false when there is no such program
    bool SelectProgram(int index);
    bool NextProgram();     ///< the first when none is selected; at the end nothing changes
    bool PreviousProgram(); ///< likewise
    /// Follows a file that was loaded or saved: takes its names, reads the library anew, and
    /// selects the bank whose folder has the name of the file's, whole and not as lists show it,
    /// and in it the program of that name. Other banks are only read when their folders have
    /// changed.
    void SetCurrentFile(std::string_view path);

    /// What a browser shows, all of one moment.
    struct Lists {
        std::vector<std::string> banks;
        std::vector<std::string> programs; ///< of the selected bank
        int bank = -1;                     ///< selected, -1 for none
        int program = -1;
    };
    [[nodiscard]] Lists GetLists() const;

    struct Current {
        std::string programName;
        std::string bankName;
        std::string path; ///< empty before the first file
    };
    [[nodiscard]] Current GetCurrent() const;
    [[nodiscard]] std::string CurrentPath() const { return GetCurrent().path; }
    [[nodiscard]] const std::string& LibraryFolder() const { return libraryFolder_; }

    // Program files. Control threads

    /// Loads a program file into the renderer, follows it (SetCurrentFile), and tells the host of
    /// the parameters that have changed. Files that can't be read, of 16 bytes or fewer or above
    /// 4 MiB, change nothing; a damaged one leaves a new program.
    /// @return whether the program was loaded
    bool LoadProgram(std::string_view path, EImport import = EImport::Everything);
    /// Writes the current program. A file that can't be written stays as it was.
    bool SaveProgram(std::string_view path);

    // With an editor. Control threads, one at a time, except as said

    /// The editor, or null when it goes. Not owned.
    void SetClient(CPresetListClient* client);
    void ShowAboutBox();
    void ShowPresetBrowser();
    /// Asks the user for a file; PollDialog carries the answer out. While a dialog is open, or
    /// without an editor, nothing happens.
    void LoadProgramWithDialog(EImport import = EImport::Everything);
    void SaveProgramWithDialog();
    /// On every tick of the editor. @return true when an answer was carried out just now
    bool PollDialog();
    void CloseDialog();                      ///< also while another thread is in PollDialog
    [[nodiscard]] bool IsDialogOpen() const; ///< at any time

    // The thread that has the engine

    /// MIDI program change: selects a program of the current bank and loads it, when it isn't the
    /// selected one already.
    /// @return whether the selection changed
    bool SelectProgramFromMemory(int index);
    /// MIDI bank select: selects a bank and loads its first program, when it isn't the selected one
    /// already. An empty bank is selected, and the sound stays.
    bool SelectBankFromMemory(int index);

    /// Memory of the programs, which all instances of the process share. Bytes, about.
    [[nodiscard]] std::size_t SharedMemoryBytes() const { return cache_->MemoryBytes(); }

private:
    [[nodiscard]] std::shared_ptr<LibraryBanks> ReadBanks(std::string_view checkedBank,
                                                          bool checkAll) const;
    [[nodiscard]] std::shared_ptr<const LibraryBanks> Banks() const;
    template <typename Select>
    void Publish(const std::shared_ptr<const LibraryBanks>& banks, const Select& select);
    template <typename Choose>
    bool SelectProgramBy(const Choose& choose);
    [[nodiscard]] Current CurrentOf(const CLibraryView::Moment& now) const;
    void OpenSelector(FileDialogRequest::EKind kind, EImport import);
    [[nodiscard]] std::shared_ptr<CFileSelector> Selector() const;
    bool Forget(const std::shared_ptr<CFileSelector>& selector);
    template <typename Action>
    void BetweenMemoryLoads(const Action& action);
    bool ApplyBlock(std::span<const std::byte> block, EImport import);
    void ApplyFromMemory(const CBank& bank, int program);

    CPluginRenderer& owner_;
    const std::string libraryFolder_;
    const std::string extension_;
    CFileDialogs& dialogs_;
    const std::shared_ptr<CBankCache> cache_;

    /// Held from the look at the disk until what was found is in the view, so that of two who look
    /// the later one's library stays.
    std::mutex diskMutex_;
    /// Control threads among themselves, for moments only: the editor asks with the UI lock held.
    /// May be taken with the other one held.
    mutable std::mutex mutex_;
    CLibraryView view_;
    Current current_; ///< where the view's selection doesn't name a program of the library

    std::atomic<std::uint32_t> memoryLoadsBegun_{0};
    std::atomic<std::uint32_t> memoryLoadsEnded_{0};

    CPresetListClient* client_ = nullptr;
    std::shared_ptr<CFileSelector> selector_; ///< with the short lock; let go without it
};

} // namespace keldra
