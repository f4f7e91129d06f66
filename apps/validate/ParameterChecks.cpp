// Parameters and programs.

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <thread>

#include "apps/validate/Rig.h"

namespace keldra::validate {

namespace {

using namespace vst;

void CheckRange(const Module& module, CReport& report)
{
    CRig rig(module, report);
    CVstHost& host = rig.Host();
    const auto within = [](float value) { return value >= 0.0f && value <= 1.0f; };
    const std::vector<float> initial = rig.Parameters();
    const auto beyond = std::count_if(initial.begin(), initial.end(), std::not_fn(within));
    report.Advise(beyond == 0, std::to_string(beyond) + " parameters begin outside 0 .. 1");
    for (int i = 0; i < host.ParameterCount(); ++i) {
        const std::string who = "parameter " + std::to_string(i);
        for (const float value : {0.0f, 0.123f, 0.5f, 0.999f, 1.0f}) {
            host.SetParameter(i, value);
            const float back = host.GetParameter(i);
            report.Require(within(back), who + " comes back outside 0 .. 1");
            report.Advise(back == value, "values don't come back as they were set");
            host.SetParameter(i, back);
            report.Require(host.GetParameter(i) == back, who + " drifts when it is set to itself");
        }
    }
    report.Require(rig.automated == 0, "setting a parameter is answered with automation");
}

void CheckBeyond(const Module& module, CReport& report)
{
    CRig rig(module, report);
    CVstHost& host = rig.Host();
    rig.Start();
    const std::vector<float> before = rig.Parameters();
    for (const int index : {-1, host.ParameterCount(), INT_MAX, INT_MIN}) {
        report.RudeStep("setting parameter " + std::to_string(index));
        host.SetParameter(index, 0.5f);
        report.Require(std::isfinite(host.GetParameter(index)), "an absurd parameter's value");
    }
    report.Require(rig.Parameters() == before, "a parameter beyond the last moves another");
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const float value : {-1.0f, 2.0f, 1e30f, kInfinity, -kInfinity, std::nanf("")})
        for (int i = 0; i < host.ParameterCount(); ++i) {
            report.RudeStep("setting parameter " + std::to_string(i) + " to " +
                            Number(static_cast<double>(value)));
            host.SetParameter(i, value);
            std::array<char, 512> text{};
            host.Dispatch(effGetParamDisplay, i, 0, text.data());
            if (i % 16 == 0) {
                rig.NoteOn(60);
                rig.Render(CRig::kBlock);
            }
        }
    report.Step("playing after absurd values");
    for (int i = 0; i < host.ParameterCount(); ++i)
        host.SetParameter(i, before[static_cast<std::size_t>(i)]);
    host.Stop();
    rig.Start();
    rig.NoteOn(60);
    const Sound sound = rig.Render(24000);
    report.Advise(!rig.IsSynth() || sound.peak > 0.0f, "it is silent after absurd values");
}

void CheckTyped(const Module& module, CReport& report)
{
    CRig rig(module, report);
    CVstHost& host = rig.Host();
    int typed = 0;
    for (int i = 0; i < host.ParameterCount(); ++i) {
        report.Step("typing a value of parameter " + std::to_string(i));
        if (host.Dispatch(effString2Parameter, i) != 1)
            continue;
        ++typed;
        for (const float value : {0.0f, 0.25f, 0.61f, 1.0f}) {
            host.SetParameter(i, value);
            std::string text = host.ParameterDisplay(i);
            host.SetParameter(i, 0.5f);
            if (report.Require(host.Dispatch(effString2Parameter, i, 0, text.data()) == 1,
                               host.ParameterName(i) + " doesn't take its own text " + text))
                report.Require(host.ParameterDisplay(i) == text,
                               host.ParameterName(i) + " reads its own text as another: " + text);
        }
    }
    if (typed == 0)
        report.Skip("no parameter takes text");
}

void CheckStorm(const Module& module, CReport& report)
{
    CRig rig(module, report);
    rig.Start();
    std::atomic<bool> stop{false};
    std::thread storm([&] {
        for (unsigned seed = 1; !stop; ++seed) {
            rig.Scramble(seed);
            for (int i = 0; i < rig.Host().ParameterCount(); i += 7)
                (void)rig.Host().ParameterDisplay(i);
        }
    });
    for (int i = 0; i < 400; ++i) {
        report.Step("block " + std::to_string(i) + " of a storm of parameters");
        rig.Midi(i % 3 == 2 ? 0x80 : 0x90, 40 + i % 40, 100);
        rig.Render(CRig::kBlock);
    }
    stop = true;
    storm.join();
    report.Step("setting every parameter many times within a block");
    for (unsigned seed = 1; seed < 200; ++seed)
        rig.Scramble(seed);
    rig.Render(CRig::kBlock);
}

void CheckPrograms(const Module& module, CReport& report)
{
    CRig rig(module, report);
    CVstHost& host = rig.Host();
    const int count = host.Effect()->numPrograms;
    if (count < 1)
        return report.Skip("it has no programs");
    if (host.ParameterCount() > 0)
        host.SetParameter(0, 0.75f);
    const std::vector<float> edited = rig.Parameters();
    for (int i = 0; i < count; ++i) {
        host.Dispatch(effSetProgram, 0, i);
        report.Require(host.Dispatch(effGetProgram) == i, "another program than was chosen");
        std::array<char, 512> indexed{};
        if (host.Dispatch(effGetProgramNameIndexed, i, -1, indexed.data()) == 1)
            report.Require(host.ProgramName() == indexed.data(),
                           "the name of a program and its name by number differ");
        else
            report.Advise(false, "programs have no names by number");
    }
    host.Dispatch(effSetProgram, 0, 0);
    report.Advise(rig.Parameters() == edited, "going through the programs loses edits");
    for (const VstIntPtr beyond : {-1, count, INT_MAX}) {
        report.RudeStep("choosing program " + std::to_string(beyond));
        host.Dispatch(effSetProgram, 0, beyond);
        const VstIntPtr now = host.Dispatch(effGetProgram);
        report.Require(now >= 0 && now < count, "a program beyond the last is chosen");
    }
    std::string name = "A name of 24 characters!";
    host.SetProgramName(name);
    report.Advise(host.ProgramName() == name, "programs can't be renamed with 24 characters");
}

constexpr Check kChecks[] = {
    {"parameters", "Every parameter stays within 0 .. 1 and comes back as it was set", CheckRange},
    {"absurd-values", "Parameters beyond the last and values beyond sense do no harm", CheckBeyond},
    {"typed-values", "A parameter that takes text reads what it shows", CheckTyped},
    {"parameter-storm", "Parameters come from another thread, by the thousand", CheckStorm},
    {"programs", "Going through the programs finds their names and loses nothing", CheckPrograms},
};

} // namespace

std::span<const Check> ParameterChecks()
{
    return kChecks;
}

} // namespace keldra::validate
