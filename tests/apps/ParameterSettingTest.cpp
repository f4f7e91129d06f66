#include "apps/render/ParameterSetting.h"

#include <gtest/gtest.h>

#include "apps/host/VstHost.h"

namespace keldra::test {

using namespace render;

namespace {

/// Looks a setting up in the real module, e.g. "Flt. Cutoff = 0.4".
/// @return "index=value", or what is wrong
std::string Resolve(const std::string& text)
{
    static const std::unique_ptr<vst::CVstHost> host = [] {
        std::string error;
        auto module = vst::CVstModule::Load(KELDRA_MODULE, error);
        return module != nullptr ? vst::CVstHost::Create(module, {}, nullptr, error) : nullptr;
    }();
    if (host == nullptr)
        return "no module";
    static const CParameterNames names(*host);
    std::optional<ParameterSetting> setting = ParseSetting(text);
    if (!setting)
        return "not a setting";
    std::string error;
    const std::optional<ParameterValue> value = names.Resolve(*setting, error);
    if (!value)
        return error;
    host->SetParameter(value->index, value->value);
    EXPECT_EQ(host->GetParameter(value->index), value->value) << text;
    std::string number = std::to_string(value->value);
    number.erase(number.find_last_not_of('0') + 1);
    return std::to_string(value->index) + "=" + number;
}

} // namespace

TEST(ParameterSetting, FindsNamedParametersEngineSettingsAndLinksOfTheModule)
{
    const struct {
        const char* text;
        const char* result;
    } kCases[] = {
        {"Flt. Cutoff=0.4", "18=0.4"},
        {"  flt. cutoff =  1 ", "18=1."},
        {"Delay ON/OFF=0", "31=0."},
        {"18=0.25", "18=0.25"},
        {"Unison Voices=16", "75=6."},
        {"unison voices = 1", "75=0."},
        {"Polyphony=64", "76=63."},
        {"Arpeggiator Step Length=1/16", "77=1."},
        {"Pitch Bend Range=12", "78=11."},
        {"Gate Step Length=4/4", "79=6."},
        {"LFO Tempo Sync=---", "80=0."},
        {"LFO Tempo Sync=1/4", "80=4."},
        {"76=5", "76=5."},

        {"80=10", "80=10."},
        {"Flt. Reso CC=71", "100=71."},
        {"OscA Shape cc = none", "81=-1."},
        {"154=127", "154=127."},
    };
    for (const auto& [text, result] : kCases)
        EXPECT_EQ(Resolve(text), result) << text;
}

TEST(ParameterSetting, RefusesWhatTheModuleDoesNotHaveOrTake)
{
    const struct {
        const char* text;
        const char* problem;
    } kCases[] = {
        {"Flt Cutoff=0.4", "no parameter \"Flt Cutoff\""},
        {"Flt. Cutoff=40", "takes 0 to 1, not 40"},
        {"73=1.5", "takes 0 to 1"},
        {"75=7", "whole numbers from 0 to 6"},
        {"75=0.5", "whole numbers from 0 to 6"},
        {"Unison Voices=5", "takes one of 1 2 3 4 8 12 16, not \"5\""},
        {"Polyphony=65", "whole numbers from 1 to 64"},
        {"LFO Tempo Sync=1/3", "takes one of --- 1/16"},
        {"Flt. Reso CC=128", "a controller from 0 to 127"},
        {"Nothing CC=1", "no parameter \"Nothing CC\""},
        {"155=0", "no effect"},
        {"156=0", "no parameter 156"},
    };
    for (const auto& [text, problem] : kCases)
        EXPECT_NE(Resolve(text).find(problem), std::string::npos) << text << ": " << Resolve(text);
}

} // namespace keldra::test
