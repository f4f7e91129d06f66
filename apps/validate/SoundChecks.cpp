// What is heard, at every rate, in blocks of every kind, with events of every kind.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

#include "apps/validate/Rig.h"

namespace keldra::validate {

namespace {

using namespace vst;

constexpr double kRate = 48000.0;
constexpr float kSilence = 1e-4f; ///< -80 dB

bool IsSynth(CRig& rig, CReport& report)
{
    if (!rig.IsSynth())
        report.Skip("it plays no notes");
    return rig.IsSynth();
}

void CheckNote(const Module& module, CReport& report)
{
    CRig rig(module, report);
    rig.Start();
    report.Require(rig.Render(48000).peak < kSilence, "it sounds by itself");
    if (!IsSynth(rig, report))
        return;
    rig.NoteOn(69, 200);
    const Sound first = rig.Render(CRig::kBlock);
    const auto begins = std::find_if(first.left.begin(), first.left.end(),
                                     [](float sample) { return std::fabs(sample) > kSilence; });
    report.Require(begins - first.left.begin() >= 200, "a note sounds before its frame");
    const Sound held = rig.Render(24000);
    report.Require(held.peak > 0.001f, "a note isn't heard");
    report.Advise(held.peak < 4.0f, "a single note is louder than 12 dB above full scale");
    rig.NoteOff(69);
    const VstIntPtr tail = rig.Host().Dispatch(effGetTailSize);
    rig.Render(std::max(static_cast<int>(std::min<VstIntPtr>(tail, 1 << 20)), 10 * 48000));
    report.Advise(rig.Render(4800).peak < kSilence, "it still sounds 10 s after the note");
}

void CheckHeld(const Module& module, CReport& report)
{
    CRig rig(module, report);
    if (!IsSynth(rig, report))
        return;
    rig.Start();
    for (int key = 0; key < 128; ++key)
        rig.NoteOn(key);
    report.Step("holding every key for ten seconds");
    rig.Render(480000, 1024);
    rig.Midi(0xB0, 123, 0);
    rig.Midi(0xB0, 120, 0);
    rig.Render(240000, 1024);
    report.Advise(rig.Render(4800).peak < kSilence, "held notes outlive All Notes Off");

    rig.NoteOn(60);
    rig.Render(4800);
    rig.Host().Stop();
    rig.Start();
    report.Advise(rig.Render(4800).peak < kSilence, "a note outlives being switched off and on");
    rig.NoteOn(60);
    report.Require(rig.Render(24000).peak > 0.001f, "it is silent after being switched on again");
}

void CheckRates(const Module& module, CReport& report)
{
    std::vector<double> references;
    for (const double rate : {kRate, 8000.0, 11025.0, 22050.0, 44100.0, 88200.0, 96000.0, 176400.0,
                              192000.0, 384000.0}) {
        CRig rig(module, report);
        if (!IsSynth(rig, report))
            return;
        report.Step("playing at " + Number(rate) + " Hz");
        rig.Start(rate, 512);
        rig.NoteOn(57);
        rig.Render(static_cast<int>(rate / 5), 512);
        const Sound sound = rig.Render(static_cast<int>(rate / 8), 512);
        report.Require(sound.peak > 0.001f, "silent at " + Number(rate) + " Hz");
        // A sound may be nearly its own octave: then either reading will do.
        const double pitches[] = {sound.PitchHz(rate, 0.75), sound.PitchHz(rate, 0.97)};
        if (references.empty())
            references.assign(std::begin(pitches), std::end(pitches));
        double nearest = 1e9; // cents
        for (const double reference : references)
            for (const double pitch : pitches)
                if (reference > 0.0 && pitch > 0.0)
                    nearest = std::min(nearest, std::fabs(1200.0 * std::log2(pitch / reference)));
        if (references.back() > 0.0)
            report.Advise(nearest < 25.0, "another pitch at " + Number(rate) +
                                              " Hz: " + Number(pitches[1]) + " for " +
                                              Number(references.back()));
    }
}

void CheckBlocks(const Module& module, CReport& report)
{
    CRig rig(module, report);
    std::minstd_rand random(1);
    for (const int block : {1, 2, 3, 7, 64, 100, 1024, 8191, 8192}) {
        report.Step("announcing and playing blocks of " + std::to_string(block));
        rig.Start(kRate, block);
        rig.NoteOn(60);
        const Sound sound = rig.Render(24000, block);
        report.Require(!rig.IsSynth() || sound.peak > 0.001f,
                       "silent in blocks of " + std::to_string(block));
        rig.NoteOff(60);
        rig.Render(block, block);
    }
    rig.Start(kRate, 128);
    for (int i = 0; i < 200; ++i) {
        const int block = static_cast<int>(random() % 128) + 1;
        report.Step("blocks that change: " + std::to_string(block));
        rig.NoteOn(60 + i % 12, block / 2);
        rig.Render(block, block);
    }
    for (const int block : {129, 1000, 8192}) {
        report.Step("playing a block of " + std::to_string(block) + ", announced as 128");
        rig.NoteOn(60, block - 1);
        rig.Render(block, block);
    }
    report.Step("a block of no frames");
    float* none[64] = {};
    rig.Host().Render(none, 0, none);
    rig.Render(128, 128);
}

void CheckEvents(const Module& module, CReport& report)
{
    CRig rig(module, report);
    if (!IsSynth(rig, report))
        return;
    rig.Start();
    for (int i = 0; i < CVstHost::kMaxEvents; ++i) // out of order, before and beyond the block
        rig.Midi(i % 2 == 0 ? 0x90 : 0x80, (i * 37) % 128, 100, (i * 7919) % 2000 - 500);
    report.Step("a block with thousands of events in no order");
    rig.Render(CRig::kBlock);

    report.Step("events of unknown kinds and wrong sizes, in two lists for one block");
    char dump[] = "\xF0\x7E\x7F\x09\x01\xF7";
    VstMidiSysexEvent sysex{};
    sysex.type = kVstSysExType;
    sysex.byteSize = sizeof(sysex);
    sysex.dumpBytes = 6;
    sysex.sysexDump = dump;
    VstEvent unknown{99, sizeof(VstEvent), 0, 0, {}};
    VstMidiEvent note{};
    note.type = kVstMidiType;
    note.byteSize = 24; // as some hosts count
    std::memcpy(note.midiData, "\x90\x45\x64", 3);
    struct {
        VstInt32 count;
        VstIntPtr reserved;
        void* events[3];
    } list{3, 0, {&sysex, &unknown, &note}};
    VstEvents empty{};
    rig.Midi(0xB0, 120, 0);
    rig.Render(48000);
    rig.Host().Dispatch(effProcessEvents, 0, 0, &list);
    rig.Host().Dispatch(effProcessEvents, 0, 0, &empty);
    report.Advise(rig.Render(24000).peak > 0.001f,
                  "a note is lost among events of other kinds or in a list that isn't the last");
    std::minstd_rand random(1);
    for (int block = 0; block < 200; ++block) {
        report.Step("random MIDI, block " + std::to_string(block));
        for (int i = 0; i < 50; ++i)
            rig.Midi(static_cast<int>(random() % 256), static_cast<int>(random() % 256),
                     static_cast<int>(random() % 256), i);
        rig.Render(CRig::kBlock);
    }
}

void CheckTime(const Module& module, CReport& report)
{
    CRig rig(module, report);
    rig.Scramble(3);
    rig.Start();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    for (const bool known : {false, true})
        for (const double tempo : {120.0, 0.0, -1.0, kNan, 1e300})
            for (const double quarters : {0.0, -4.0, kNan, 1e15}) {
                report.Step("playing at tempo " + Number(tempo) + ", position " + Number(quarters));
                rig.Host().SetTransport({known, true, tempo, quarters});
                rig.NoteOn(60);
                rig.Render(2 * CRig::kBlock);
            }
}

void CheckMemory(const Module& module, CReport& report)
{
    CRig rig(module, report);
    rig.Start();
    std::vector<float> one(CRig::kBlock);
    std::vector<float*> same(64, one.data());
    const bool isEnough = rig.Host().OutputCount() <= 64 && rig.Host().Effect()->numInputs <= 64;
    const auto renderIntoOnePlace = [&] {
        if (isEnough)
            rig.Host().Render(same.data(), CRig::kBlock, same.data());
    };
    report.Step("all outputs in one place");
    rig.NoteOn(60);
    renderIntoOnePlace();

    report.Step("counting numbers too small for a float, after a note");
    rig.NoteOff(60);
    const Sound tail = rig.Render(20 * 48000, 1024);
    report.Advise(tail.subnormals == 0,
                  std::to_string(tail.subnormals) + " subnormal samples in its tail");
#if defined(__SSE2__)
    constexpr unsigned kSticky = 0x3F; // exceptions seen: anybody's arithmetic adds to them
    const unsigned before = _mm_getcsr();
    constexpr unsigned kUsual = 0x1F80;
    for (const unsigned mode : {kUsual, 0x9FC0u /* flushing subnormals */, kUsual | 0x2000u,
                                kUsual | 0x6000u /* other roundings */, kUsual & ~0x0680u}) {
        report.RudeStep("playing in the floating-point mode " + std::to_string(mode) +
                        ", the last with traps");
        rig.NoteOn(60);
        _mm_setcsr(mode);
        renderIntoOnePlace();
        const unsigned after = _mm_getcsr();
        _mm_setcsr(before);
        report.Require((after & ~kSticky) == mode, "it changes the host's floating-point mode");
    }
#endif
}

constexpr Check kChecks[] = {
    {"note", "It is silent but for a note, from its frame on", CheckNote},
    {"held-notes", "Notes that are never released end when everything does", CheckHeld},
    {"rates", "A note has the same pitch at every rate from 8 to 384 kHz", CheckRates},
    {"blocks", "Blocks have any size, change it, and exceed what was announced", CheckBlocks},
    {"events", "Events come in any order, number, place and kind", CheckEvents},
    {"time", "The host knows nothing of time, or says nonsense", CheckTime},
    {"memory", "Outputs in one place, no subnormals, the host's arithmetic", CheckMemory},
};

} // namespace

std::span<const Check> SoundChecks()
{
    return kChecks;
}

} // namespace keldra::validate
