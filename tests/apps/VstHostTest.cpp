#include "apps/host/VstHost.h"

#include <cstdio>
#include <gtest/gtest.h>

namespace keldra::test {
namespace {

using namespace vst;

// A plug-in that writes down what it is told of the song, and counts how often it is closed.
audioMasterCallback host;
AEffect record;
std::string told;
int closed;

VstIntPtr KELDRA_VST_CALL Dispatch(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    closed += opcode == effClose ? 1 : 0;
    return 0;
}

void KELDRA_VST_CALL Process(AEffect* effect, float**, float**, VstInt32)
{
    const VstIntPtr answer = host(effect, audioMasterGetTime, 0, kVstTempoValid, nullptr, 0.0f);
    const auto* const time = reinterpret_cast<const VstTimeInfo*>(answer);
    char line[80] = "nothing";
    if (time != nullptr)
        std::snprintf(line, sizeof line, "frame %.0f quarter %.1f%s%s", time->samplePos,
                      time->ppqPos, (time->flags & kVstTransportPlaying) != 0 ? " playing" : "",
                      (time->flags & kVstTransportChanged) != 0 ? " changed" : "");
    told = line;
}

template <VstInt32 Flags>
AEffect* Entry(audioMasterCallback callback)
{
    host = callback;
    record = {};
    record.magic = kEffectMagic;
    record.dispatcher = Dispatch;
    record.processReplacing = Process;
    record.flags = Flags;
    return &record;
}

TEST(VstHost, TellsWhereTheSongIsAndOfEveryChange)
{
    std::string error;
    const auto module = CVstModule::FromEntry(Entry<effFlagsCanReplacing>);
    const auto instance = CVstHost::Create(module, {}, nullptr, error);
    ASSERT_NE(instance, nullptr) << error;
    instance->Start(48000.0, 4800); // a block is a fifth of a quarter at 120
    const struct {
        const char* what;
        HostTransport transport;
        const char* told;
    } kBlocks[] = {
        {"stopped", {}, "frame 0 quarter 0.0"},
        {"starts, but tells nothing", {.known = false, .playing = true}, "nothing"},
        {"tells", {.playing = true, .quarterNotes = 0.2}, "frame 4800 quarter 0.2 playing changed"},
        {"goes on", {.playing = true, .quarterNotes = 0.4}, "frame 9600 quarter 0.4 playing"},
        {"jumps",
         {.playing = true, .quarterNotes = 100.0},
         "frame 2400000 quarter 100.0 playing changed"},
        {"another tempo",
         {.playing = true, .tempoBpm = 60.0, .quarterNotes = 100.2},
         "frame 2404800 quarter 100.2 playing"},
        {"stops", {.tempoBpm = 60.0, .quarterNotes = 100.3}, "frame 2409600 quarter 100.3 changed"},
        {"stands", {.tempoBpm = 60.0, .quarterNotes = 100.3}, "frame 2409600 quarter 100.3"},
    };
    for (const auto& [what, transport, expected] : kBlocks) {
        instance->SetTransport(transport);
        instance->Render(nullptr, 4800);
        EXPECT_EQ(told, expected) << what;
    }
}

TEST(VstHost, ClosesWhatItRefuses)
{
    std::string error;
    closed = 0;
    EXPECT_EQ(CVstHost::Create(CVstModule::FromEntry(Entry<0>), {}, nullptr, error), nullptr);
    EXPECT_EQ(closed, 1);
}

} // namespace
} // namespace keldra::test
