#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

#include "hosts/vst/VSTWrapper.h"
#include "tests/frame/TestRenderer.h"
#include "tests/hosts/PluginFakes.h"

namespace keldra::test {

using namespace vst;

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// The host side of one instance. Writes down what it is asked.
class CFakeHost {
public:
    CFakeHost() { current_ = this; }
    ~CFakeHost() { Close(); }
    CFakeHost(const CFakeHost&) = delete;
    CFakeHost& operator=(const CFakeHost&) = delete;

    /// Calls the entry. @return whether there is an instance now
    bool Load() { return (effect = CreateVstInstance(&Callback)) != nullptr; }
    void Close()
    {
        if (effect != nullptr)
            Dispatch(effClose);
        effect = nullptr;
    }
    VstIntPtr Dispatch(VstInt32 opcode, VstInt32 index = 0, VstIntPtr value = 0,
                       void* ptr = nullptr, float opt = 0.0f)
    {
        return effect->dispatcher(effect, opcode, index, value, ptr, opt);
    }
    [[nodiscard]] std::string Text(VstInt32 opcode, VstInt32 index = 0)
    {
        std::array<char, 512> text{};
        Dispatch(opcode, index, 0, text.data());
        return text.data();
    }
    /// A message `frames` into the block, with what some hosts leave in its last byte.
    void SendMidi(int frames, int status, int data1, int data2)
    {
        VstMidiEvent event{};
        event.type = kVstMidiType;
        event.byteSize = sizeof event;
        event.deltaFrames = frames;
        const int data[] = {status, data1, data2, 0x5A};
        std::copy(std::begin(data), std::end(data), event.midiData);
        VstEvents list{};
        list.numEvents = 1;
        list.events[0] = reinterpret_cast<VstEvent*>(&event);
        Dispatch(effProcessEvents, 0, 0, &list);
    }
    /// A block over outputs that hold 0.25. @return the left channel
    std::vector<float> Process(int frames)
    {
        std::vector<float> left(static_cast<std::size_t>(frames), 0.25f);
        std::vector<float> right = left;
        float* outputs[] = {left.data(), right.data()};
        effect->processReplacing(effect, nullptr, outputs, frames);
        EXPECT_EQ(left, right);
        return left;
    }

    AEffect* effect = nullptr;
    const char* product = "Fake";
    VstTimeInfo time{};
    bool hasTime = false;
    std::function<void(VstInt32 opcode)> onCallback; ///< before the answer

private:
    static VstIntPtr KELDRA_VST_CALL Callback(AEffect*, VstInt32 opcode, VstInt32 index,
                                              VstIntPtr value, void* ptr, float opt)
    {
        CFakeHost& host = *current_;
        if (host.onCallback)
            host.onCallback(opcode);
        switch (opcode) {
        case audioMasterVersion:
            return kVstVersion;
        case audioMasterGetVendorString: // some hosts' names are longer than they may be
            std::strcpy(static_cast<char*>(ptr), std::string(200, 'v').c_str());
            return 1;
        case audioMasterGetProductString:
            std::strcpy(static_cast<char*>(ptr), host.product);
            return 1;
        case audioMasterGetTime:
            journal.Note(Words("time", value) + "?");
            return host.hasTime ? reinterpret_cast<VstIntPtr>(&host.time) : 0;
        case audioMasterAutomate:
            journal.Note(Words("automate", index, opt * 256.0f));
            return 0;
        default:
            journal.Note(Words("host", opcode, index, value));
            return 0;
        }
    }
    static inline CFakeHost* current_ = nullptr;
};

class VstBinding : public testing::Test {
protected:
    VstBinding() { Definition().behaviour = {}; }
    /// An instance whose making isn't of interest.
    void Load()
    {
        ASSERT_TRUE(host_.Load());
        (void)journal.Take();
    }

    CFakeHost host_;
};

using VstBindingThread = VstBinding;

void* Window(std::uintptr_t id)
{
    return reinterpret_cast<void*>(id);
}

} // namespace

// --- Opcodes and texts ---

// Who it is, real hosts' scanners see; what opcodes live with, the validator.
TEST_F(VstBinding, AnswersOpcodesAsPublished)
{
    Load();
    EXPECT_EQ(host_.effect->flags, 0x131) << "editor, chunks, sound of its own";
    EXPECT_EQ(host_.Dispatch(effIdentify), 0x4E764566);
    EXPECT_EQ(host_.Dispatch(effGetNumProgramCategories), 1);
    EXPECT_EQ(host_.Dispatch(effSetBypass, 0, 1), 0) << "hosts try it to see whether it has one";
    EXPECT_EQ(host_.Dispatch(effGetCurrentMidiProgram), -1);
    EXPECT_EQ(host_.Dispatch(effSetTotalSampleToProcess, 0, 1000), 1000);
    for (const auto& [text, answer] :
         {std::pair{"receiveVstTimeInfo", 1}, {"bypass", -1}, {"", -1}, {"receiveVst", -1}})
        EXPECT_EQ(host_.Dispatch(effCanDo, 0, 0, const_cast<char*>(text)), answer) << text;
    for (const auto& [index, answer] : {std::pair{0, 1}, {1, 1}, {2, 0}, {-1, 0}}) {
        VstPinProperties pin{};
        EXPECT_EQ(host_.Dispatch(effGetOutputProperties, index, 0, &pin), answer) << index;
        EXPECT_STREQ(pin.label, answer == 1 ? "Master" : "");
        EXPECT_EQ(pin.flags, answer == 1 ? 3 : 0);
    }
}

TEST_F(VstBinding, WritesTextsThatEndWithinWhatHostsProvide)
{
    Load();
    const std::pair<std::string, std::size_t> kNames[] = {
        {std::string(22, 'n') + "\xC3\xA4", 24}, // whole characters, as they are
        {std::string(23, 'n') + "\xC3\xA4", 23},
        {std::string(22, 'n') + "\xE2\x82\xAC", 22},
        {std::string(20, 'n') + "\xF0\x9F\x8E\xB9", 24},
        {std::string(21, 'n') + "\xF0\x9F\x8E\xB9", 21},
        {std::string(500, 'p'), 24},
    };
    for (const auto& [name, length] : kNames) {
        host_.Dispatch(effSetProgramName, 0, 0, std::string(name).data());
        std::string told = host_.Text(effGetProgramName);
        EXPECT_EQ(told, name.substr(0, length));
        host_.Dispatch(effSetProgramName, 0, 0, told.data()); // which is no new name
        std::array<char, 600> kept;
        CFakeRenderer::newest.load()->GetProgramName(kept);
        EXPECT_EQ(kept.data(), name);
    }
    struct Case {
        VstInt32 opcode, index;
        std::size_t room;
    };
    constexpr int kAnyProgram = 7; // there is but one
    constexpr Case kCases[] = {
        {effGetParamName, 1, 64},
        {effGetParamDisplay, 1, 16},
        {effGetParamLabel, 1, 9},
        {effGetProgramName, 0, 25},
        {effGetProgramNameIndexed, kAnyProgram, 25},
    };
    for (const auto& [opcode, index, room] : kCases) {
        std::array<char, 256> buffer;
        buffer.fill(0x55);
        host_.Dispatch(opcode, index, 0, buffer.data());
        EXPECT_EQ(std::strlen(buffer.data()), room - 1) << opcode;
        EXPECT_EQ(buffer[room], 0x55) << opcode;
    }
    EXPECT_EQ(host_.Text(effGetParamName, 0), "OscA Shape");
    EXPECT_EQ(host_.Text(effGetParamName, 156), "<out of range>");
}

// --- Audio ---

TEST_F(VstBinding, PlaysEventsAtTheirFrame)
{
    Load();
    host_.SendMidi(130, 0x90, 60, 100);
    host_.SendMidi(600, 0x90, 61, 100);
    const auto out = host_.Process(512);
    EXPECT_TRUE(std::all_of(out.begin(), out.begin() + 130, [](float s) { return s == 0.0f; }));
    EXPECT_TRUE(std::all_of(out.begin() + 130, out.end(), [](float s) { return s == 0.5f; }));
    EXPECT_EQ(journal.Take(), (Lines{"time 1024?", "time 512?", "on 60 100"}))
        << "what lies beyond the block never comes";

    host_.SendMidi(-7, 0x80, 60, 0);
    EXPECT_EQ(host_.Process(32), std::vector<float>(32, 0.0f)) << "before the block: at its start";
    host_.SendMidi(5, 0x90, 60, 100);
    host_.Process(0); // some hosts send events with a block of no frames
    EXPECT_EQ(host_.Process(32), std::vector<float>(32, 0.5f)) << "not lost";
}

TEST_F(VstBinding, AddsToTheOutputsWhenAHostStillWantsThat)
{
    Load();
    host_.SendMidi(0, 0x90, 60, 100);
    std::array<float, 100> left, right;
    left.fill(1.0f);
    right.fill(2.0f);
    float* outputs[] = {left.data(), right.data()};
    host_.effect->process(host_.effect, nullptr, outputs, 100);
    outputs[1] = nullptr; // left out by some
    host_.effect->process(host_.effect, nullptr, outputs, 100);
    EXPECT_EQ(left[99], 2.0f);
    EXPECT_EQ(right[99], 2.5f);
}

TEST_F(VstBinding, LearnsTempoPositionAndTransportFromTheHost)
{
    Load();
    struct Case {
        const char* what;
        bool hasTime;
        VstInt32 flags;
        double tempo, position;
        Lines told;
    };
    const VstInt32 all = kVstTempoValid | kVstPpqPosValid;
    const Case cases[] = {
        {"a host without", false, all, 90.0, 4.0, {}},
        {"nothing valid", true, 0, 90.0, 4.0, {}},
        {"tempo only", true, kVstTempoValid, 90.0, 4.0, {"tempo 90"}},
        {"position only, before the song", true, kVstPpqPosValid, 90.0, -2.0, {"position -2"}},
        {"start", true, kVstTransportChanged | kVstTransportPlaying, 0.0, 0.0, {"playing"}},
        {"stop", true, kVstTransportChanged, 0.0, 0.0, {"stopped"}},
        {"goes on playing", true, kVstTransportPlaying, 0.0, 0.0, {}},
        {"all, in this order",
         true,
         all | kVstTransportChanged,
         60.0,
         1.0,
         {"tempo 60", "position 1", "stopped"}},
        {"a held clock", true, all, 0.0, 0.0, {"tempo 0", "position 0"}},
        {"the engine's to judge", true, all, kNan, -1e9, {"tempo nan", "position -1e+09"}},
    };
    for (const auto& [what, hasTime, flags, tempo, position, told] : cases) {
        host_.hasTime = hasTime;
        host_.time = {};
        host_.time.flags = flags;
        host_.time.tempo = tempo;
        host_.time.ppqPos = position;
        host_.Process(8);
        Lines expected{"time 1024?", "time 512?"};
        expected.insert(expected.end(), told.begin(), told.end());
        EXPECT_EQ(journal.Take(), expected) << what;
    }
}

// Hosts call back from inside their callbacks, on the same thread or waiting for another.
TEST_F(VstBindingThread, HoldsNothingWhileItCallsTheHost)
{
    Load();
    host_.Dispatch(effMainsChanged, 0, 1);
    std::vector<VstInt32> asked;
    VstInt32 stoppedIn = audioMasterGetTime;
    host_.onCallback = [&](VstInt32 opcode) {
        asked.push_back(opcode);
        const auto fromInside = [&] {
            host_.effect->setParameter(host_.effect, 5, 0.5f);
            if (opcode == stoppedIn) {
                host_.Dispatch(effMainsChanged, 0, 0);
                host_.Dispatch(effMainsChanged, 0, opcode == audioMasterGetTime ? 1 : 0);
            }
            host_.Dispatch(effSetSampleRate, 0, 0, nullptr, asked.size() % 2 ? 8000.0f : 96000.0f);
            (void)host_.Text(effGetProgramName);
        };
        if (opcode == audioMasterWantMidi)
            return;
        fromInside();
        std::thread(fromInside).join();
    };
    host_.Process(64);
    stoppedIn = audioMasterAutomate;
    host_.SendMidi(2, 0xB0, 20, 127);
    host_.Process(64);
    EXPECT_EQ(std::count(asked.begin(), asked.end(), audioMasterGetTime), 4);
    EXPECT_EQ(std::count(asked.begin(), asked.end(), audioMasterAutomate), 1);
    EXPECT_EQ(host_.effect->getParameter(host_.effect, 3), 1.0f);
    host_.onCallback = nullptr;
}

TEST_F(VstBindingThread, TellsOfTheTransportLaterWhenABlockHadToBeLeftOut)
{
    Load();
    host_.Dispatch(effMainsChanged, 0, 1);
    host_.hasTime = true;
    host_.time.flags = kVstTransportChanged | kVstTransportPlaying;
    {
        const CEngineThief thief(*CFakeRenderer::newest.load());
        (void)journal.Take();
        EXPECT_EQ(host_.Process(8), std::vector<float>(8, 0.0f));
        EXPECT_EQ(journal.Take(), (Lines{"time 1024?", "time 512?"}));
    }
    host_.time.flags = kVstTransportPlaying;
    host_.Process(8);
    EXPECT_EQ(journal.Take(), (Lines{"time 1024?", "time 512?", "playing"}));
    host_.Process(8);
    EXPECT_EQ(journal.Take(), (Lines{"time 1024?", "time 512?"})) << "once";
}

// --- Parameters and state ---

TEST_F(VstBinding, SavesAndRestoresWholePrograms)
{
    Load();
    host_.Dispatch(effSetProgramName, 0, 0, std::string("Kept").data());
    void* first = nullptr;
    EXPECT_EQ(host_.Dispatch(effGetChunk, 0, 0, &first), 692);
    std::array<std::byte, 692> saved;
    std::memcpy(saved.data(), first, saved.size());
    void* second = nullptr;
    host_.effect->setParameter(host_.effect, 100, 0.125f);
    EXPECT_EQ(host_.Dispatch(effGetChunk, 1, 0, &second), 692);
    EXPECT_NE(std::memcmp(saved.data(), second, saved.size()), 0);

    host_.Dispatch(effSetProgramName, 0, 0, std::string("Lost").data());
    CEditorFeedback& feedback = CFakeRenderer::newest.load()->Feedback();
    const std::uint32_t programs = feedback.ProgramCount();
    EXPECT_EQ(host_.Dispatch(effSetChunk, 0, 692, saved.data()), 692);
    EXPECT_EQ(host_.Text(effGetProgramName), "Kept");
    EXPECT_EQ(host_.effect->getParameter(host_.effect, 100), 100.0f / 256.0f);
    EXPECT_EQ(feedback.ProgramCount(), programs + 1);
    Lines expected{"chunk 692"};
    for (int index = 0; index < 74; ++index)
        expected.push_back(Words("automate", index, index));
    EXPECT_EQ(journal.Take(), expected);

    for (const VstIntPtr size : {627, 0, -1})
        EXPECT_EQ(host_.Dispatch(effSetChunk, 0, size, saved.data()), 0) << size;
    saved[0] = std::byte{0};
    EXPECT_EQ(host_.Dispatch(effSetChunk, 0, 692, saved.data()), 0);
    EXPECT_EQ(feedback.ProgramCount(), programs + 1);
    for (const std::string& line : journal.Take())
        EXPECT_FALSE(line.starts_with("automate")) << "what is refused isn't told";
}

TEST_F(VstBinding, KeepsARestoredStateWhenTheHostRepeatsItCutAndRounded)
{
    host_.product = "Qtractor";
    Load();
    const auto set = [&](int index, float value) {
        host_.effect->setParameter(host_.effect, index, value);
    };
    const auto get = [&](int index) { return host_.effect->getParameter(host_.effect, index); };
    const auto repeatAll = [&] {
        for (int index = 0; index < 156; ++index)
            set(index, std::stof(std::to_string(std::clamp(get(index), 0.0f, 1.0f))));
    };
    set(6, 31.0f / 48.0f); // the least value of its semitone
    set(76, 15.0f);
    set(90, -1.0f);
    void* chunk = nullptr;
    host_.Dispatch(effGetChunk, 0, 0, &chunk);
    std::array<std::byte, 692> saved;
    std::memcpy(saved.data(), chunk, saved.size());
    host_.Dispatch(effSetChunk, 0, 692, saved.data());
    repeatAll();
    host_.Dispatch(effGetChunk, 0, 0, &chunk);
    EXPECT_EQ(std::memcmp(saved.data(), chunk, saved.size()), 0);
    repeatAll();
    EXPECT_EQ(get(76), 1.0f) << "no more than once";
    EXPECT_EQ(get(90), 0.0f);

    host_.Dispatch(effSetChunk, 0, 692, saved.data());
    set(76, 3.0f);
    set(90, 0.5f);
    EXPECT_EQ(get(76), 3.0f) << "something else is meant";
    EXPECT_EQ(get(90), 0.5f);
    host_.Dispatch(effSetChunk, 0, 692, saved.data());
    host_.Dispatch(effSetChunk, 0, 3, saved.data());
    set(90, 0.0f);
    EXPECT_EQ(get(90), 0.0f) << "a refused state isn't repeated";

    host_.Close();
    host_.product = "Fake";
    Load();
    host_.Dispatch(effSetChunk, 0, 692, saved.data());
    set(76, 1.0f);
    EXPECT_EQ(get(76), 1.0f) << "other hosts mean what they set";
}

TEST_F(VstBinding, TellsTheHostOfEditsWithinItsRange)
{
    const auto edit = [&](std::initializer_list<int> indices) {
        Load();
        CPluginWrapper& wrapper = *CFakeRenderer::newest.load()->HostWrapper();
        for (const int index : indices) {
            wrapper.BeginEdit(index);
            wrapper.AutomateParameter(index, 0.5f);
            wrapper.EndEdit(index);
        }
        Lines told = journal.Take();
        host_.Close();
        return told;
    };
    EXPECT_EQ(edit({-1, 0, 155, 156, 157}),
              (Lines{"host 43 0 0", "automate 0 128", "host 44 0 0", "host 43 155 0",
                     "automate 155 128", "host 44 155 0"}));
}

TEST_F(VstBinding, TellsArdourOfEditsWithItsBlocks)
{
    host_.product = "Ardour";
    Load();
    CPluginWrapper& wrapper = *CFakeRenderer::newest.load()->HostWrapper();
    const auto change = [&](int index, float value) {
        host_.effect->setParameter(host_.effect, index, value);
        (void)journal.Take();
        wrapper.AutomateParameter(index, value);
    };
    const auto toldInBlock = [&] {
        EXPECT_EQ(journal.Take(), Lines{}) << "on a thread that it would crash on";
        host_.Process(8);
        Lines told = journal.Take();
        std::erase_if(told, [](const std::string& line) {
            return !line.starts_with("host 4") && !line.starts_with("automate");
        });
        return told;
    };
    wrapper.BeginEdit(18);
    change(18, 0.25f);
    change(18, 0.5f);
    wrapper.AutomateParameter(156, 0.5f);
    wrapper.BeginEdit(156);
    EXPECT_EQ(toldInBlock(), (Lines{"host 43 18 0", "automate 18 128"}));
    EXPECT_EQ(toldInBlock(), Lines{}) << "held";
    wrapper.EndEdit(18);
    wrapper.BeginEdit(18);
    EXPECT_EQ(toldInBlock(), (Lines{"host 44 18 0", "host 43 18 0"})) << "let go for a moment";
    change(18, 0.0f);
    wrapper.EndEdit(18);
    EXPECT_EQ(toldInBlock(), (Lines{"automate 18 0", "host 44 18 0"}));
    wrapper.BeginEdit(0);
    change(0, 0.5f);
    wrapper.EndEdit(0);
    EXPECT_EQ(toldInBlock(), (Lines{"host 43 0 0", "automate 0 128"})) << "a wheel's notch";
    EXPECT_EQ(toldInBlock(), Lines{"host 44 0 0"});
    EXPECT_EQ(toldInBlock(), Lines{});
    change(18, 0.5f);
    host_.effect->setParameter(host_.effect, 18, 0.25f);
    (void)journal.Take();
    EXPECT_EQ(toldInBlock(), Lines{"automate 18 64"}) << "the host has set another since";
}

// --- Editor ---

TEST_F(VstBinding, StopsSoundsFollowsTheRateAndShowsTheEditorInAnyOrder)
{
    Load();
    host_.SendMidi(0, 0x90, 60, 100);
    EXPECT_EQ(host_.Process(4)[3], 0.5f);
    host_.Dispatch(effMainsChanged, 0, 0);
    EXPECT_EQ(host_.Process(4)[3], 0.0f);
    (void)journal.Take();

    struct Case {
        const char* what;
        VstInt32 opcode;
        VstIntPtr value;
        std::uintptr_t window;
        float rate;
        VstIntPtr answer;
        Lines told;
    };
    const Case cases[] = {
        {"off twice", effMainsChanged, 0, 0, 0, 0, {"rate 0"}},
        {"on", effMainsChanged, 1, 0, 0, 0, {"host 6 0 1", "rate 0"}},
        {"the rate that it has", effSetSampleRate, 0, 0, 44100, 0, {}},
        {"another", effSetSampleRate, 0, 0, 48000, 0, {"rate 48000"}},
        {"none", effSetSampleRate, 0, 0, -1, 0, {"rate -1"}},
        {"kept meanwhile", effSetSampleRate, 0, 0, 48000, 0, {}},
        {"with a size", effSetBlockSizeAndSampleRate, 256, 0, 96000, 1, {"rate 96000"}},
        {"close, never opened", effEditClose, 0, 0, 0, 0, {}},
        {"idle, never opened", effEditIdle, 0, 0, 0, 0, {}},
        {"open", effEditOpen, 0, 7, 0, 1, {"skin", "open 7"}},
        {"open twice", effEditOpen, 0, 8, 0, 1, {"close", "skin", "open 8"}},
        {"close", effEditClose, 0, 0, 0, 0, {"close"}},
        {"close twice", effEditClose, 0, 0, 0, 0, {}},
        {"open on the desktop", effEditOpen, 0, 0, 0, 1, {"skin", "open 0"}},
    };
    for (const auto& [what, opcode, value, window, rate, answer, told] : cases) {
        EXPECT_EQ(host_.Dispatch(opcode, 0, value, Window(window), rate), answer) << what;
        EXPECT_EQ(journal.Take(), told) << what;
    }
    host_.Dispatch(effEditClose);
    (void)journal.Take();

    Definition().behaviour.skinLoads = false;
    EXPECT_EQ(host_.Dispatch(effEditOpen, 0, 0, Window(7)), 0);
    EXPECT_EQ(journal.Take(), Lines{"skin"});
    Definition().behaviour = {.windowOpens = false};
    EXPECT_EQ(host_.Dispatch(effEditOpen, 0, 0, Window(7)), 0);
    host_.Dispatch(effEditClose);
    EXPECT_EQ(journal.Take(), (Lines{"skin", "open 7"})) << "nothing to close";

    Definition().behaviour = {};
    host_.Dispatch(effEditOpen, 0, 0, Window(7));
    (void)journal.Take();
    host_.Close();
    EXPECT_EQ(journal.Take(), (Lines{"close", "editor gone", "renderer gone"}))
        << "an editor that the host forgot goes before the engine";
}

} // namespace keldra::test
