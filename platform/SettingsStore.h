#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keldra {

/// Whose settings are asked.
enum class ESettingsHive {
    CurrentUser,  ///< $XDG_CONFIG_HOME/tallowen/settings, by default ~/.config/tallowen/settings
    LocalMachine, ///< tallowen/settings in the folders of $XDG_CONFIG_DIRS, by default /etc/xdg
};

/// Where this product's settings are, and among them the folder that its sounds are looked for in.
inline constexpr std::string_view kProductKey = "SOFTWARE\\Tallowen\\Keldra";
inline constexpr std::string_view kRootFolderValue = "rootFolder";

/// Settings that somebody else made: an installer, an administrator, the user with an editor. Read
/// only, a value at a time. Each hive is one text file, or several, of which the first one that has
/// the value counts:
///
///     # Where this machine's sounds are
///     [Software\Tallowen\Keldra]
///     rootFolder = /srv/sounds/
///
/// Keys and value names are compared case-blind (ASCII), `\` and `/` alike; spaces around names and
/// values don't count; a value goes on to the end of its line. Lines that aren't understood are
/// passed over; files above 64 KiB aren't read. Any thread; waits for the disk.
class CSettingsStore {
public:
    /// The files of this user and this machine, from the environment as it is now.
    CSettingsStore();
    /// Other files, nearest first.
    CSettingsStore(std::vector<std::string> userFiles, std::vector<std::string> machineFiles);

    /// @return nothing when the value is missing, empty, or longer than 1023 bytes
    [[nodiscard]] std::optional<std::string> Read(ESettingsHive hive, std::string_view key,
                                                  std::string_view valueName) const;

private:
    std::vector<std::string> userFiles_;
    std::vector<std::string> machineFiles_;
};

} // namespace keldra
