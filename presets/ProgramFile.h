#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace keldra {

/// Files of up to this many bytes are never programs.
inline constexpr std::size_t kShortestIgnored = 16;
/// Nor are longer ones than this.
inline constexpr std::size_t kLongestProgramFile = 4 * 1024 * 1024;

/// Program and bank names before there is a file.
inline constexpr std::string_view kNoProgramName = "<noname>";
inline constexpr std::string_view kNoBankName = "<user>";

enum class EReadResult { Ok, Unreadable, TooShort, TooLong };

/// Reads the state block from a program file: the whole file, or what follows an fxp header. What
/// is in the block isn't looked at.
/// @param path   absolute
/// @param block  its bytes, 692 when whole; untouched unless the answer is Ok
/// @return TooShort for 16 bytes or fewer, TooLong above 4 MiB
/// Control threads; waits for the disk. The sizes that the file states are never trusted.
[[nodiscard]] EReadResult ReadProgramFile(std::string_view path, std::vector<std::byte>& block);

/// The state block within the bytes of a program file: behind the header of a VST 2 program file
/// with an opaque chunk, else all of them.
[[nodiscard]] std::span<const std::byte> StateBlockIn(std::span<const std::byte> file);

/// "Bright.old" for ".../Leads/Bright.old.fxp".
[[nodiscard]] std::string_view ProgramNameOf(std::string_view path);
/// "Leads" for ".../Leads/Bright.old.fxp"; empty when no folder is named.
[[nodiscard]] std::string_view BankNameOf(std::string_view path);

} // namespace keldra
