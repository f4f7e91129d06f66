#include "apps/render/ParameterSetting.h"

#include <algorithm>

#include "apps/host/VstHost.h"
#include "apps/render/Text.h"
#include "frame/ParameterTable.h"

namespace keldra::render {

namespace {

// Keldra has settings and links behind its named parameters; other modules have named ones only.
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

/// By what a musician says: "16" unison voices, "1/4".
std::optional<ParameterValue> ResolveWord(const EngineSettingRow& row,
                                          const ParameterSetting& setting, std::string& error)
{
    if (row.choices.empty()) {
        const std::optional<int> number = ParseWhole(setting.value);
        if (number && *number >= 1 && *number <= row.count)
            return ParameterValue{row.index, static_cast<float>(*number - 1)};
        return Refuse(setting,
                      Quoted(setting.parameter) + " takes whole numbers from 1 to " +
                          std::to_string(row.count) + ", not " + Quoted(setting.value),
                      error);
    }
    std::string words;
    for (int i = 0; i < row.count; ++i) {
        const std::string word = ChoiceText(row, i);
        if (SameIgnoringCase(word, setting.value))
            return ParameterValue{row.index, static_cast<float>(i)};
        words += ' ' + word;
    }
    return Refuse(setting,
                  Quoted(setting.parameter) + " takes one of" + words + ", not " +
                      Quoted(setting.value),
                  error);
}

} // namespace

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
    if (!isKeldra_ || index < kHostParameterCount)
        return ResolveUnit(index, setting, error);
    if (index >= kFirstControllerLink && index <= kLastControllerLink)
        return ResolveLink(index, setting, error);
    if (index == kSpare74 || index == kSpare155)
        return Refuse(setting, "parameter " + std::to_string(index) + " has no effect on the sound",
                      error);
    const int count = kEngineSettings[index - kSpare74].count;
    const std::optional<int> number = ParseWhole(setting.value);
    if (!number || *number < 0 || *number >= count)
        return Refuse(setting,
                      "parameter " + std::to_string(index) + " takes whole numbers from 0 to " +
                          std::to_string(count - 1) + ", not " + Quoted(setting.value),
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
        for (const EngineSettingRow& row : kEngineSettings)
            if (row.index != kSpare74 && SameIgnoringCase(row.what, setting.parameter))
                return ResolveWord(row, setting, error);
        std::string_view linked = setting.parameter;
        if (linked.size() > kLinkSuffix.size() &&
            SameIgnoringCase(linked.substr(linked.size() - kLinkSuffix.size()), kLinkSuffix)) {
            linked.remove_suffix(kLinkSuffix.size());
            const std::optional<int> index = IndexOf(linked);
            if (index && *index < kHostParameterCount)
                return ResolveLink(kFirstControllerLink + *index, setting, error);
        }
    }
    return Refuse(setting, "the module has no parameter " + Quoted(setting.parameter), error);
}

} // namespace keldra::render
