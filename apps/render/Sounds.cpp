#include "apps/render/Sounds.h"

#include <filesystem>
#include <system_error>

#include "apps/render/Text.h"
#include "platform/Folders.h"
#include "platform/SettingsStore.h"

namespace keldra::render {

namespace {

constexpr std::size_t kPlainSize = 692;
constexpr std::size_t kFxpHeaderSize = 60;

vst::VstInt32 BigEndian(std::span<const std::byte> bytes)
{
    std::uint32_t value = 0;
    for (const std::byte byte : bytes.first<4>())
        value = value << 8 | std::to_integer<std::uint32_t>(byte);
    return static_cast<vst::VstInt32>(value);
}

/// "# " starts a comment at the start of a line or after a blank: names of files may hold a "#".
std::string_view WithoutComment(std::string_view line)
{
    for (std::size_t i = 0; i < line.size(); ++i)
        if (line[i] == '#' && (i == 0 || line[i - 1] == ' ' || line[i - 1] == '\t'))
            return line.substr(0, i);
    return line;
}

} // namespace

std::vector<std::string> FactoryFolders(const std::string& modulePath)
{
    std::vector<std::string> folders{JoinPath(FolderOf(modulePath), "Banks")};
    const CSettingsStore settings;
    for (const ESettingsHive hive : {ESettingsHive::CurrentUser, ESettingsHive::LocalMachine})
        if (const auto root = settings.Read(hive, kProductKey, kRootFolderValue))
            folders.push_back(JoinPath(*root, "Banks"));
    return folders;
}

std::string FindProgram(const std::string& program, std::string_view folder,
                        std::span<const std::string> factoryFolders)
{
    std::error_code ignored;
    if (!program.empty() && program.front() == kPathSeparator)
        return program;
    std::string beside = folder.empty() ? program : JoinPath(folder, program);
    if (std::filesystem::is_regular_file(beside, ignored))
        return beside;
    for (const std::string& banks : factoryFolders)
        if (std::string path = JoinPath(banks, program + ".keldra");
            std::filesystem::is_regular_file(path, ignored))
            return path;
    return beside;
}

bool ReadSounds(std::string_view text, const std::string& path,
                std::span<const std::string> factoryFolders, SongSounds& sounds, std::string& error)
{
    ChannelSound* sound = nullptr;
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = Trimmed(WithoutComment(text.substr(0, end)));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const std::string source = path + ":" + std::to_string(number);

        constexpr std::string_view kChannel = "channel ";
        if (line.empty())
            continue;
        if (line.starts_with(kChannel) && line.find('=') == std::string_view::npos) {
            const std::optional<int> channel = ParseWhole(Trimmed(line.substr(kChannel.size())));
            if (!channel || *channel < 1 || *channel > kChannelCount) {
                error = source + ": channels are 1 to 16";
                return false;
            }
            sound = &sounds[static_cast<std::size_t>(*channel - 1)];
            continue;
        }
        std::optional<ParameterSetting> setting = ParseSetting(line);
        if (!setting) {
            error = source + ": neither \"channel NUMBER\" nor \"NAME = VALUE\": " + Quoted(line);
            return false;
        }
        if (sound == nullptr) {
            error = source + ": a setting before the first \"channel NUMBER\"";
            return false;
        }
        setting->source = source;
        if (setting->parameter == "program") {
            sound->program = FindProgram(setting->value, FolderOf(path), factoryFolders);
            sound->programSource = source;
        } else {
            sound->settings.push_back(std::move(*setting));
        }
    }
    return true;
}

std::optional<ProgramChunk> ReadProgram(std::span<const std::byte> file, std::string& error)
{
    const bool isFxp =
        file.size() >= kFxpHeaderSize && BigEndian(file) == vst::FourCharacters("CcnK");
    if (isFxp && BigEndian(file.subspan(8)) == vst::FourCharacters("FPCh")) {
        const std::span<const std::byte> chunk = file.subspan(kFxpHeaderSize);
        return ProgramChunk{{chunk.begin(), chunk.end()}, BigEndian(file.subspan(16))};
    }
    if (isFxp) {
        error = "an fxp file that holds no chunk";
        return std::nullopt;
    }
    if (file.size() != kPlainSize) {
        error = "not a program file: neither fxp nor " + std::to_string(kPlainSize) + " bytes long";
        return std::nullopt;
    }
    return ProgramChunk{{file.begin(), file.end()}, std::nullopt};
}

} // namespace keldra::render
