#include "apps/render/ParameterSetting.h"

#include <algorithm>

#include "apps/host/VstHost.h"
#include "apps/render/Text.h"

namespace keldra::render {

namespace {

// How Keldra numbers its parameters; other modules have named ones only.
constexpr int kNamedCount = 74;
constexpr int kFirstLink = 81; // of parameter 0

constexpr std::string_view kLinkSuffix = " CC";
constexpr std::string_view kNoController = "none";

std::optional<ParameterValue> Refuse(const ParameterSetting& setting, const std::string& why,
                                     std::string& error)
{
    error = setting.source + ": " + why;
    return std::nullopt;
}

std::optional<ParameterValue> ResolveUnit(int index, const ParameterSetting& setting,
                                          std::string& error)
{
    const std::optional<double> value = ParseNumber(setting.value);
    if (!value)
        return Refuse(setting, Quoted(setting.value) + " is not a number", error);
    if (*value < 0.0 || *value > 1.0)
        return Refuse(setting,
                      Quoted(setting.parameter) + " takes 0 to 1, not " + ShortText(*value), error);
    return ParameterValue{index, static_cast<float>(*value)};
}

/// The controller that moves a parameter, stored as its number or as -1.
std::optional<ParameterValue> ResolveLink(int index, const ParameterSetting& setting,
                                          std::string& error)
{
    if (SameIgnoringCase(setting.value, kNoController))
        return ParameterValue{index, -1.0f};
    const std::optional<int> controller = ParseWhole(setting.value);
    if (controller && *controller >= 0 && *controller <= 127)
        return ParameterValue{index, static_cast<float>(*controller)};
    return Refuse(setting,
                  Quoted(setting.parameter) + " takes a controller from 0 to 127, or \"" +
                      std::string(kNoController) + "\", not " + Quoted(setting.value),
                  error);
}

std::optional<ParameterValue> ResolveWord(const EngineSetting& row, const ParameterSetting& setting,
                                          std::string& error)
{
    if (row.words.empty()) {
        const std::optional<int> number = ParseWhole(setting.value);
        if (number && *number >= 1 && *number <= row.highest + 1)
            return ParameterValue{row.index, static_cast<float>(*number - 1)};
        return Refuse(setting,
                      Quoted(setting.parameter) + " takes whole numbers from 1 to " +
                          std::to_string(row.highest + 1) + ", not " + Quoted(setting.value),
                      error);
    }
    std::string words;
    for (std::size_t i = 0; i < row.words.size(); ++i) {
        if (SameIgnoringCase(row.words[i], setting.value))
            return ParameterValue{row.index, static_cast<float>(i)};
        words.append(i == 0 ? "" : " ").append(row.words[i]);
    }
    return Refuse(setting,
                  Quoted(setting.parameter) + " takes one of " + words + ", not " +
                      Quoted(setting.value),
                  error);
}

} // namespace

const std::vector<EngineSetting>& EngineSettings()
{
    static const std::vector<std::string_view> kSteps{"1/32", "1/16", "2/16", "3/16",
                                                      "1/4",  "2/4",  "4/4"};
    static const std::vector<EngineSetting> kSettings{
        {74, "", 127, {}}, // stored, of no effect
        {75, "Unison Voices", 6, {"1", "2", "3", "4", "8", "12", "16"}},
        {76, "Polyphony", 63, {}},
        {77, "Arpeggiator Step Length", 6, kSteps},
        {78, "Pitch Bend Range", 47, {}},
        {79, "Gate Step Length", 6, kSteps},
        {80,
         "LFO Tempo Sync",
         10,
         {"---", "1/16", "2/16", "3/16", "1/4", "2/4", "3/4", "4/4", "8/4", "16/4", "32/16"}},
    };
    return kSettings;
}

std::optional<ParameterSetting> ParseSetting(std::string_view text)
{
    const std::size_t equals = text.rfind('=');
    if (equals == std::string_view::npos)
        return std::nullopt;
    ParameterSetting setting;
    setting.parameter = Trimmed(text.substr(0, equals));
    setting.value = Trimmed(text.substr(equals + 1));
    if (setting.parameter.empty() || setting.value.empty())
        return std::nullopt;
    return setting;
}

CParameterNames::CParameterNames(const vst::CVstHost& host)
    : isKeldra_(host.Effect()->uniqueID == kKeldraId)
{
    for (int i = 0; i < host.ParameterCount(); ++i)
        names_.push_back(host.ParameterName(i));
}

std::optional<int> CParameterNames::IndexOf(std::string_view name) const
{
    const auto same = [name](std::string_view other) { return SameIgnoringCase(name, other); };
    const auto found = std::find_if(names_.begin(), names_.end(), same);
    if (found == names_.end())
        return std::nullopt;
    return static_cast<int>(found - names_.begin());
}

std::optional<ParameterValue> CParameterNames::ResolveByNumber(int index,
                                                               const ParameterSetting& setting,
                                                               std::string& error) const
{
    if (index < 0 || index >= static_cast<int>(names_.size()))
        return Refuse(setting,
                      "no parameter " + std::to_string(index) + ": the module has 0 to " +
                          std::to_string(static_cast<int>(names_.size()) - 1),
                      error);
    if (!isKeldra_ || index < kNamedCount)
        return ResolveUnit(index, setting, error);
    if (index >= kFirstLink && index < kFirstLink + kNamedCount)
        return ResolveLink(index, setting, error);
    const std::vector<EngineSetting>& rows = EngineSettings();
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [index](const EngineSetting& r) { return r.index == index; });
    if (row == rows.end())
        return Refuse(setting, "parameter " + std::to_string(index) + " has no effect on the sound",
                      error);
    const std::optional<int> number = ParseWhole(setting.value);
    if (!number || *number < 0 || *number > row->highest)
        return Refuse(setting,
                      "parameter " + std::to_string(index) + " takes whole numbers from 0 to " +
                          std::to_string(row->highest) + ", not " + Quoted(setting.value),
                      error);
    return ParameterValue{index, static_cast<float>(*number)};
}

std::optional<ParameterValue> CParameterNames::Resolve(const ParameterSetting& setting,
                                                       std::string& error) const
{
    if (const std::optional<int> index = ParseWhole(setting.parameter))
        return ResolveByNumber(*index, setting, error);
    if (const std::optional<int> index = IndexOf(setting.parameter))
        return ResolveUnit(*index, setting, error);
    if (isKeldra_) {
        for (const EngineSetting& row : EngineSettings())
            if (SameIgnoringCase(row.name, setting.parameter))
                return ResolveWord(row, setting, error);
        std::string_view linked = setting.parameter;
        if (linked.size() > kLinkSuffix.size() &&
            SameIgnoringCase(linked.substr(linked.size() - kLinkSuffix.size()), kLinkSuffix)) {
            linked.remove_suffix(kLinkSuffix.size());
            const std::optional<int> index = IndexOf(linked);
            if (index && *index < kNamedCount)
                return ResolveLink(kFirstLink + *index, setting, error);
        }
    }
    return Refuse(setting, "the module has no parameter " + Quoted(setting.parameter), error);
}

} // namespace keldra::render
