#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "presets/FileList.h"

namespace keldra {

/// A bank as it was when it was last read: the programs in its folder, and the content of those
/// that MIDI can select. Never changes once it is made, so that any thread may look at it while it
/// lives. About 250 bytes a program.
class CBank {
public:
    /// MIDI's program numbers go from 0 to 127: what comes behind is listed, but read from its file
    /// when it is wanted.
    static constexpr int kProgramsInMemory = 128;

    enum class ECheck {
        Folder, ///< when the folder hasn't changed, its files are taken to be the same too
        Files,  ///< each file's time and size are looked at
    };

    CBank() = default; ///< empty
    CBank(const CBank&) = delete;
    CBank& operator=(const CBank&) = delete;

    /// Reads a bank, but of its files only those that have changed since `before`.
    /// @param folder     entry of the bank's folder, as a CFileList found it
    /// @param extension  of programs, besides "fxp"
    /// @param before     an earlier state of the same folder, or null
    /// @return `before` itself when nothing has changed; never null. A folder that can't be listed
    /// is an empty bank.
    /// Control threads; waits for the disk.
    [[nodiscard]] static std::shared_ptr<const CBank> Read(const CFileList::Entry& folder,
                                                           std::string_view extension, ECheck check,
                                                           std::shared_ptr<const CBank> before);

    [[nodiscard]] const CFileList::Entry& Folder() const { return folder_; }
    [[nodiscard]] std::string_view Name() const { return name_; } ///< as lists show it
    [[nodiscard]] int ProgramCount() const { return static_cast<int>(programs_.size()); }

    // Of a program, 0 .. ProgramCount() - 1
    [[nodiscard]] std::string_view ProgramName(int index) const; ///< as lists show it
    [[nodiscard]] std::string ProgramPath(int index) const;
    /// The packed program (PackedProgram.h). Empty when it isn't kept in memory, and when its file
    /// can't be read or isn't one that is ever loaded.
    [[nodiscard]] std::span<const std::byte> PackedBlock(int index) const;

    /// The first program of that name, -1 for none; among several of one name ("Bright.fxp" beside
    /// "Bright.keldra") the one with this path, if it is there.
    [[nodiscard]] int FindProgram(std::string_view name, std::string_view path) const;

    [[nodiscard]] std::size_t MemoryBytes() const;

private:
    struct Program {
        std::uint32_t name = 0; ///< offset of the file name in names_
        std::uint16_t nameLength = 0;
        std::uint16_t shownLength = 0; ///< without the extension
        std::uint32_t block = 0;       ///< offset in blocks_
        std::uint32_t blockLength = 0; ///< 0: not in memory
        FileStamp stamp;
        bool settled = false; ///< so old when it was read that a change since has another time
    };

    [[nodiscard]] std::string_view FileName(const Program& program) const
    {
        return std::string_view(names_).substr(program.name, program.nameLength);
    }
    void Add(const CFileList::Entry& file, std::int64_t nowNs, const CBank* before,
             const Program* same);
    [[nodiscard]] bool HasSamePrograms(const CBank& other) const;

    CFileList::Entry folder_;
    bool settled_ = false;
    std::string_view name_;
    std::vector<Program> programs_;
    std::string names_;             ///< of all files, one behind the other
    std::vector<std::byte> blocks_; ///< likewise
};

} // namespace keldra
