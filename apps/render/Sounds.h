#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "apps/render/ParameterSetting.h"
#include "hosts/vst/VstInterface.h"

namespace keldra::render {

inline constexpr int kChannelCount = 16;

/// What one channel sounds like: a program, then settings on top of it.
struct ChannelSound {
    std::string program;       ///< path of a program file; empty: the module's own first sound
    std::string programSource; ///< where that was written, for messages
    std::vector<ParameterSetting> settings;
};
using SongSounds = std::array<ChannelSound, kChannelCount>;

/// Reads the sounds of a song, a text file like
///
///     # Comments go to the end of their line
///     channel 1                       the lines below are for this MIDI channel, 1 .. 16
///     program = Leads/Glass Lead      a factory program; or the path of a program file
///     Flt. Cutoff = 0.4               a parameter, by name or by number
///     Unison Voices = 4               an engine setting
///     Flt. Reso CC = 71               the controller that moves a parameter
///
/// A channel may come up several times; of equal settings the last one counts.
///
/// @param text    of the file
/// @param path    of the file, for messages; program files are looked for beside it
/// @param factoryFolders  where factory programs are looked for
/// @param sounds  settings are added to what it holds
/// @param error   receives one line when the answer is false
[[nodiscard]] bool ReadSounds(std::string_view text, const std::string& path,
                              std::span<const std::string> factoryFolders, SongSounds& sounds,
                              std::string& error);

/// Where a module's factory programs may be, nearest first: "Banks" beside it, then in the root
/// folders that this user's and this machine's settings name. A folder a bank; need not exist.
[[nodiscard]] std::vector<std::string> FactoryFolders(const std::string& modulePath);

/// A program by its path, or a factory program by "Bank/Name". The path counts first.
/// @param folder  that paths start from; empty: the current one
/// @return the path of a file, or, when there is none, of the one that was looked for first
[[nodiscard]] std::string FindProgram(const std::string& program, std::string_view folder,
                                      std::span<const std::string> factoryFolders);

/// What a program file hands to a plug-in.
struct ProgramChunk {
    std::vector<std::byte> bytes;
    std::optional<vst::VstInt32> madeFor; ///< the plug-in's id, where the file tells
};

/// Understands a program file: a plain state block of 692 bytes, or an fxp file that holds a chunk.
/// The sizes that an fxp file states don't count, nor do its versions.
/// @param error  receives what is wrong, when the answer is nothing
[[nodiscard]] std::optional<ProgramChunk> ReadProgram(std::span<const std::byte> file,
                                                      std::string& error);

} // namespace keldra::render
