// Chunks: the bank (0) and the program (1).

#include <cmath>
#include <cstring>
#include <random>
#include <thread>

#include "apps/validate/Rig.h"

namespace keldra::validate {

namespace {

using namespace vst;
using Bytes = std::vector<std::byte>;

Bytes GetChunk(CRig& rig, int kind)
{
    void* data = nullptr;
    const VstIntPtr size = rig.Host().Dispatch(effGetChunk, kind, 0, &data);
    if (size <= 0 || data == nullptr)
        return {};
    const auto* const bytes = static_cast<const std::byte*>(data);
    return {bytes, bytes + size};
}

/// Handed over at an odd address, in memory that is gone afterwards.
void SetChunk(CRig& rig, int kind, const Bytes& chunk)
{
    Bytes shifted(chunk.size() + 1);
    std::memcpy(shifted.data() + 1, chunk.data(), chunk.size());
    rig.Host().Dispatch(effSetChunk, kind, static_cast<VstIntPtr>(chunk.size()),
                        shifted.data() + 1);
}

bool HasChunks(CRig& rig, CReport& report)
{
    const bool has = (rig.Host().Effect()->flags & effFlagsProgramChunks) != 0;
    if (!has)
        report.Skip("it has no chunks");
    return has;
}

/// Requires two lists of values to be the same, but for what is lost in a text.
void RequireSame(CReport& report, const std::vector<float>& is, const std::vector<float>& was,
                 const std::string& when)
{
    for (std::size_t i = 0; i < is.size(); ++i)
        report.Require(std::fabs(is[i] - was[i]) < 1e-3f,
                       when + ": parameter " + std::to_string(i) + " was " +
                           Number(static_cast<double>(was[i])) + ", is " +
                           Number(static_cast<double>(is[i])));
}

void CheckRestored(const Module& module, CReport& report)
{
    CRig first(module, report);
    if (!HasChunks(first, report))
        return;
    for (int kind : {0, 1})
        for (int phase = 0; phase < 3; ++phase) {
            const std::string when = std::string(kind == 0 ? "the bank, " : "the program, ") +
                                     (phase == 0   ? "before it was ever started"
                                      : phase == 1 ? "while it is on"
                                                   : "after it was stopped");
            report.Step("saving and restoring " + when);
            if (phase == 1)
                first.Start();
            if (phase == 2)
                first.Host().Stop();
            first.Scramble(static_cast<unsigned>(10 * kind + phase + 1));
            first.Host().SetProgramName("Kept");
            const std::vector<float> saved = first.Parameters();
            const Bytes chunk = GetChunk(first, kind);
            if (!report.Require(!chunk.empty(), "there is no chunk for " + when))
                continue;
            first.Scramble(99);
            first.Host().SetProgramName("Lost");
            SetChunk(first, kind, chunk);
            RequireSame(report, first.Parameters(), saved, when);
            report.Advise(first.Host().ProgramName() == "Kept", "another name comes back: " + when);
            report.Advise(GetChunk(first, kind) == chunk, "what is saved again differs: " + when);

            CRig second(module, report);
            SetChunk(second, kind, chunk);
            RequireSame(report, second.Parameters(), saved, when + ", in a new instance");
            for (int i = 0; i < second.Host().ParameterCount(); ++i)
                second.Host().SetParameter(i, second.Host().GetParameter(i));
            RequireSame(report, second.Parameters(), saved, when + ", handed over once more");
        }
}

void CheckHostile(const Module& module, CReport& report)
{
    CRig rig(module, report);
    if (!HasChunks(rig, report))
        return;
    rig.Start();
    rig.Scramble(5);
    const std::vector<float> saved = rig.Parameters();
    const Bytes good = GetChunk(rig, 0);
    std::minstd_rand random(1);
    for (int round = 0; round < 300; ++round) {
        Bytes bad = good;
        if (round % 3 == 0)
            bad.resize(random() % (good.size() + 1));
        if (round % 3 == 1)
            for (int i = 0; i < 8; ++i)
                bad[random() % bad.size()] = static_cast<std::byte>(random() & 0xFF);
        if (round % 3 == 2)
            for (std::byte& byte : bad)
                byte = static_cast<std::byte>(random() & 0xFF);
        report.RudeStep("setting a broken chunk, number " + std::to_string(round));
        SetChunk(rig, round % 2, bad);
        rig.NoteOn(60);
        rig.Render(CRig::kBlock);
    }
    SetChunk(rig, 0, good);
    RequireSame(report, rig.Parameters(), saved, "a good chunk after broken ones");
}

void CheckThread(const Module& module, CReport& report)
{
    CRig rig(module, report);
    if (!HasChunks(rig, report))
        return;
    rig.Scramble(1);
    const std::vector<float> oneValues = rig.Parameters();
    const Bytes one = GetChunk(rig, 0);
    rig.Scramble(2);
    const Bytes two = GetChunk(rig, 0);
    rig.Start();
    std::atomic<bool> stop{false};
    std::thread keeper([&] {
        for (int i = 0; !stop; ++i) {
            SetChunk(rig, 0, i % 2 == 0 ? two : one);
            (void)GetChunk(rig, 0);
        }
        SetChunk(rig, 0, one);
    });
    for (int i = 0; i < 300; ++i) {
        report.Step("block " + std::to_string(i) + " while another thread sets chunks");
        rig.Midi(i % 2 == 0 ? 0x90 : 0x80, 48 + i / 2 % 24, 100);
        rig.Render(CRig::kBlock);
    }
    stop = true;
    keeper.join();
    rig.Render(CRig::kBlock);
    RequireSame(report, rig.Parameters(), oneValues, "the last chunk");
}

constexpr Check kChecks[] = {
    {"state", "What is saved comes back, in this instance and another", CheckRestored},
    {"broken-state", "Broken chunks do no harm", CheckHostile},
    {"state-thread", "Chunks come and go from another thread while it plays", CheckThread},
};

} // namespace

std::span<const Check> StateChecks()
{
    return kChecks;
}

} // namespace keldra::validate
