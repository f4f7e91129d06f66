#include "presets/Bank.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>

#include "platform/Folders.h"
#include "presets/PackedProgram.h"
#include "presets/ProgramFile.h"

namespace keldra {

namespace {

/// File systems count time in steps, FAT in the longest: a file written twice within one step looks
/// the same after the second time. What is younger than this when it is looked at isn't trusted.
constexpr std::int64_t kSettlingNs = 3'000'000'000;

std::int64_t NowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

bool IsSettled(const FileStamp& stamp, std::int64_t nowNs)
{
    return stamp.modifiedNs <= nowNs - kSettlingNs;
}

} // namespace

std::shared_ptr<const CBank> CBank::Read(const CFileList::Entry& folder, std::string_view extension,
                                         ECheck check, std::shared_ptr<const CBank> before)
{
    if (check == ECheck::Folder && before != nullptr && before->settled_ &&
        before->folder_.stamp == folder.stamp)
        return before;

    const auto bank = std::make_shared<CBank>();
    const std::int64_t nowNs = NowNs();
    bank->folder_ = folder;
    bank->settled_ = IsSettled(folder.stamp, nowNs);
    bank->name_ = ProgramNameOf(bank->folder_.path);
    CFileList files;
    files.AddFilter(extension, false);
    files.AddFilter("fxp", false);
    files.Scan(folder.path);

    std::unordered_map<std::string_view, const Program*> known;
    if (before != nullptr)
        for (const Program& program : before->programs_)
            if (program.settled)
                known.emplace(before->FileName(program), &program);
    bank->programs_.reserve(files.Entries().size());
    for (const CFileList::Entry& file : files.Entries()) {
        const auto same = known.find(FileNameOf(file.path));
        bank->Add(file, nowNs, before.get(), same != known.end() ? same->second : nullptr);
    }
    bank->names_.shrink_to_fit();
    bank->blocks_.shrink_to_fit();
    if (before != nullptr && before->folder_.stamp == folder.stamp &&
        before->settled_ == bank->settled_ && bank->HasSamePrograms(*before))
        return before;
    return bank;
}

void CBank::Add(const CFileList::Entry& file, std::int64_t nowNs, const CBank* before,
                const Program* same)
{
    const std::string_view name = FileNameOf(file.path);
    Program program;
    program.name = static_cast<std::uint32_t>(names_.size());
    program.nameLength = static_cast<std::uint16_t>(name.size());
    program.shownLength = static_cast<std::uint16_t>(WithoutExtension(name).size());
    program.stamp = file.stamp;
    program.settled = IsSettled(file.stamp, nowNs);
    program.block = static_cast<std::uint32_t>(blocks_.size());
    names_ += name;
    if (ProgramCount() < kProgramsInMemory) {
        // Nothing was kept of one that stood beyond MIDI's reach before, changed or not.
        if (same != nullptr && same->stamp == file.stamp && same->blockLength > 0) {
            const auto begin = before->blocks_.begin() + same->block;
            blocks_.insert(blocks_.end(), begin, begin + same->blockLength);
        } else if (std::vector<std::byte> block;
                   ReadProgramFile(file.path, block) == EReadResult::Ok) {
            PackProgram(block, blocks_);
        }
    }
    program.blockLength = static_cast<std::uint32_t>(blocks_.size()) - program.block;
    programs_.push_back(program);
}

bool CBank::HasSamePrograms(const CBank& other) const
{
    return names_ == other.names_ && blocks_ == other.blocks_ &&
           std::equal(programs_.begin(), programs_.end(), other.programs_.begin(),
                      other.programs_.end(), [](const Program& a, const Program& b) {
                          return a.stamp == b.stamp && a.settled == b.settled &&
                                 a.nameLength == b.nameLength && a.blockLength == b.blockLength;
                      });
}

std::string_view CBank::ProgramName(int index) const
{
    const Program& program = programs_[static_cast<std::size_t>(index)];
    return FileName(program).substr(0, program.shownLength);
}

std::string CBank::ProgramPath(int index) const
{
    return JoinPath(folder_.path, FileName(programs_[static_cast<std::size_t>(index)]));
}

std::span<const std::byte> CBank::PackedBlock(int index) const
{
    const Program& program = programs_[static_cast<std::size_t>(index)];
    return std::span(blocks_).subspan(program.block, program.blockLength);
}

int CBank::FindProgram(std::string_view name, std::string_view path) const
{
    int first = -1;
    for (int index = 0; index < ProgramCount(); ++index)
        if (ProgramName(index) == name) {
            if (ProgramPath(index) == path)
                return index;
            first = first < 0 ? index : first;
        }
    return first;
}

std::size_t CBank::MemoryBytes() const
{
    return sizeof(CBank) + folder_.path.capacity() + names_.capacity() + blocks_.capacity() +
           programs_.capacity() * sizeof(Program);
}

} // namespace keldra
