#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <future>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <thread>

#include "frame/PluginWrapper.h"
#include "hosts/native/DNWrapper.h"
#include "platform/headless/ScriptedPopupMenus.h"
#include "tests/frame/TestRenderer.h"
#include "tests/hosts/PluginFakes.h"
#include "tests/native/NativeHost.h"
#include "tests/native/ScriptedStream.h"

namespace keldra::test {

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();

void* Entry(void* host, std::intptr_t tag)
{
    return native::CreateNativeInstance(static_cast<native::TDornoHost*>(host), tag);
}

class NativeBinding : public testing::Test {
protected:
    NativeBinding()
    {
        Definition().behaviour = {.countsFrames = true};
        (void)journal.Take();
        host_.onCall = [](const std::string& line) { journal.Note(line); };
    }
    /// An instance whose making isn't of interest.
    void Load()
    {
        ASSERT_TRUE(host_.Load(Entry));
        (void)journal.Take();
    }
    /// Renders so many frames, whatever they are. @return what was noted meanwhile
    Lines Render(int frames)
    {
        std::vector<float> buffer(2 * static_cast<std::size_t>(frames));
        host_.Render(buffer);
        return journal.Take();
    }
    [[nodiscard]] static KeyTables& Keys() { return CFakeRenderer::newest.load()->Keys(); }
    [[nodiscard]] static CPluginWrapper& Wrapper()
    {
        return *CFakeRenderer::newest.load()->HostWrapper();
    }

    CScriptedPopupMenus menus_; ///< outlives the instance
    CScriptedHost host_;
};

using NativeBindingThread = NativeBinding;

} // namespace

// --- The object ---

TEST_F(NativeBinding, LaysItsObjectOutAsHostsReadIt)
{
    const std::string longText(1000, 't');
    host_.text = longText.c_str();
    Load();
    const auto field = [&]<typename Field>(std::size_t offset, Field) {
        return CScriptedHost::At<Field>(host_.plug, offset);
    };
    EXPECT_EQ(field(kOffsets.tag, std::intptr_t{}), CScriptedHost::kTag);
    for (std::size_t i = 0; i < 132; ++i)
        EXPECT_EQ(field(kOffsets.unused + i, char{}), 0) << i;
    EXPECT_EQ(field(kOffsets.sampleRate, std::int32_t{}), 44100);
    EXPECT_NEAR(field(kOffsets.c5Increment, float{}), 523.2511306 / 44100.0 * 4294967296.0, 4.0);
    EXPECT_NE(field(kOffsets.host, static_cast<void*>(nullptr)), nullptr);
    EXPECT_EQ(static_cast<const char*>(host_.plug) + kOffsets.text, std::string(259, 't'));

    const void* const info = field(kOffsets.info, static_cast<const void*>(nullptr));
    const auto infoField = [&](std::size_t offset) {
        return CScriptedHost::At<std::int32_t>(info, offset);
    };
    EXPECT_EQ(infoField(0), 1);
    EXPECT_STREQ(CScriptedHost::At<const char*>(info, kOffsets.infoLongName), "Keldra");
    EXPECT_STREQ(CScriptedHost::At<const char*>(info, kOffsets.infoShortName), "Keldra");
    EXPECT_EQ(infoField(kOffsets.infoFlags), 0x00200011);
    EXPECT_EQ(infoField(kOffsets.infoParameters), 203);
    EXPECT_EQ(infoField(kOffsets.infoParameters + 4), 0);
    EXPECT_EQ(infoField(kOffsets.infoParameters + 8), 0);

    CScriptedHost second; // the record is the module's
    ASSERT_TRUE(second.Load(Entry));
    EXPECT_EQ(CScriptedHost::At<const void*>(second.plug, kOffsets.info), info);
}

TEST_F(NativeBinding, MakesAnInstanceInTheOrderThatHostsAndEditorsRelyOn)
{
    Definition().behaviour.allowsInstances = false;
    EXPECT_FALSE(host_.Load(Entry));
    Definition().behaviour.allowsInstances = true;
    ASSERT_TRUE(host_.Load(Entry));
    EXPECT_EQ(journal.Take(), (Lines{"ask 29 0 0", "connect", "rate 44100", "ask 33 0 1"}));
    host_.Close();
    EXPECT_EQ(journal.Take(), (Lines{"editor gone", "renderer gone"}));
    EXPECT_EQ(menus_.MenuCount(), 0);
}

TEST_F(NativeBinding, CanBeDestroyedFirstAndFreedLater)
{
    Load();
    ScriptedVoice voice;
    host_.Start(voice);
    (void)journal.Take();
    host_.Call(18, std::int32_t{2});
    EXPECT_EQ(journal.Take(), (Lines{"editor gone", "renderer gone"}));
    EXPECT_EQ(Render(10), Lines{}) << "what is left is an object without an engine";
    host_.Call(18, std::int32_t{1}); // a leak shows under AddressSanitizer
    EXPECT_EQ(journal.Take(), Lines{});
    host_.plug = nullptr;
}

TEST_F(NativeBinding, AnswersTheSlotsThatItHasNoUseFor)
{
    Load();
    float buffer[] = {1.0f, 2.0f};
    const std::intptr_t any = -1;
    host_.Call(2);
    host_.Call(7, buffer, std::int32_t{1});
    EXPECT_EQ(host_.Call<std::int32_t>(12, any, any, any, any, any), 0);
    EXPECT_EQ(host_.Call<std::int32_t>(13, any, any, any, any), 0);
    for (const std::size_t slot : {14u, 15u})
        host_.Call(slot, any);
    for (const std::size_t slot : {16u, 17u})
        host_.Call(slot, any, any);
    for (const std::int32_t id : {1, 100, kSmallest})
        EXPECT_EQ(host_.Command(id, -1), 0) << id;
    EXPECT_EQ(journal.Take(), Lines{});
    EXPECT_TRUE(buffer[0] == 1.0f && buffer[1] == 2.0f);
}

// --- Parameters ---

TEST_F(NativeBinding, NamesWhatTheHostMayAskFor)
{
    Load();
    host_.Exchange(80, 128, 1);
    host_.Exchange(202, 256, 1);
    struct Case {
        std::int32_t section, index;
        std::string text;
    };
    const Case cases[] = {
        {0, 0, "OscA Shape"},
        {0, 1, std::string(127, 'n')},
        {0, 74, "MIDI CC 0"},
        {0, 201, "MIDI CC 127"},
        {0, 202, "Chn. Aftertouch"},
        {0, 203, "untouched"},
        {0, -1, "untouched"},
        {1, 64, "25.0 units"},
        {1, 74, "0"},
        {1, 80, "63"},
        {1, 202, "127"},
        {1, kLargest, "untouched"},
        {2, 0, "untouched"},
        {6, 99, std::string(255, 'p')},
    };
    for (const auto& [section, index, text] : cases)
        EXPECT_EQ(host_.Name(section, index), text) << section << " " << index;
    host_.Call(4, std::int32_t{0}, std::int32_t{0}, std::int32_t{0}, static_cast<char*>(nullptr));
}

TEST_F(NativeBinding, ExchangesValuesBothWays)
{
    Load();
    struct Case {
        std::int32_t index, value, flags, answer;
        Lines told;
        float stored = -1.0f; ///< of the parameter afterwards
    };
    const Case cases[] = {
        {18, 0, 2, 18, {}, 18.0f / 256.0f},
        {18, 128, 1, 128, {}, 0.5f},
        {18, 0, 3, 128, {}, 0.5f},   // gets what it sets then
        {18, 300, 1, 300, {}, 1.0f}, // beyond the scale
        {18, kSmallest, 1, kSmallest, {}, 0.0f},
        {18, 65536, 0x21, 256, {}, 1.0f}, // MIDI's full scale
        {18, 32768, 0x21, 128, {}, 0.5f},
        {18, 40000, 0x20, 156, {}, 0.5f}, // converted, not set
        {18, kSmallest, 0x21, -32768, {}, 0.0f},
        {73, 77, 0, 77, {}, 73.0f / 256.0f},
        {80, 256, 1, 256, {"cc 6 127"}},
        {80, 0, 2, 256, {}},
        {201, 256, 1, 256, {"cc 127 127"}},
        {202, 128, 1, 128, {"pressure 63"}},
        {202, 65536, 0x21, 256, {"pressure 127"}},
        {202, -5, 1, -5, {"pressure 0"}},
        {74, kLargest, 1, kLargest, {"cc 0 127"}},
        {203, 5, 1, 5, {}},
        {-1, 5, 0x23, 5, {}},
    };
    for (const auto& [index, value, flags, answer, told, stored] : cases) {
        EXPECT_EQ(host_.Exchange(index, value, flags), answer) << index << " " << value;
        EXPECT_EQ(journal.Take(), told) << index << " " << value;
        if (stored >= 0.0f) {
            EXPECT_EQ(CFakeRenderer::newest.load()->GetParameter(index), stored) << value;
        }
    }

    CFakeRenderer& renderer = *CFakeRenderer::newest.load();
    renderer.SetParameter(5, kNan);
    EXPECT_EQ(host_.Exchange(5, 1, 2), 0);
    renderer.SetParameter(5, 1e30f);
    EXPECT_EQ(host_.Exchange(5, 1, 2), kLargest);

    std::vector<int> marked; // for the editor, and nothing else
    renderer.Feedback().TakeChangedParameters([&](int index) { marked.push_back(index); });
    EXPECT_EQ(marked, std::vector<int>{18});
}

TEST_F(NativeBinding, TellsTheHostOfParametersThatMove)
{
    Load();
    for (const int index : {-1, 74, kLargest})
        Wrapper().AutomateParameter(index, 0.5f);
    Wrapper().AutomateParameter(64, 0.5f);
    EXPECT_EQ(journal.Take(), (Lines{"changed 64 128", "hint  25.0 units"}));
    Wrapper().AutomateParameter(0, kNan);
    EXPECT_EQ(journal.Take(), (Lines{"changed 0 0", "hint OscA Shape 0.0 units"}));
    Wrapper().BeginEdit(0);
    Wrapper().EndEdit(0);
    EXPECT_EQ(journal.Take(), Lines{});

    host_.Exchange(74 + 20, 256, 1); // a linked controller
    EXPECT_EQ(journal.Take(), (Lines{"cc 20 127", "changed 3 256", "hint  100.0 units"}));
    EXPECT_EQ(host_.Exchange(3, 0, 2), 256);
}

TEST_F(NativeBinding, ShowsTheHostsMenuAndTellsTheChoiceWhenItIsMade)
{
    host_.menu = {{"Edit events", 0}, {"-", 0}, {"Link", 1}, {"Linked", 2}, {nullptr, 3}};
    Load();
    host_.Command(0, 7);
    (void)journal.Take();
    for (const int index : {-1, 74})
        Wrapper().ShowParameterMenu(index);
    EXPECT_FALSE(menus_.IsOpen());

    Wrapper().ShowParameterMenu(18);
    EXPECT_EQ(journal.Take(), (Lines{"ask 18 18 0", "ask 18 18 1", "ask 18 18 2", "ask 18 18 3",
                                     "ask 18 18 4", "ask 18 18 5"}));
    ASSERT_EQ(menus_.Items().size(), 5u);
    EXPECT_EQ(menus_.Owner(), 8u);
    const auto& items = menus_.Items();
    EXPECT_EQ(items[0].text, "Edit events");
    EXPECT_EQ(items[4].text, "");
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].id, 1024 + static_cast<int>(i));
        EXPECT_EQ(items[i].separator, i == 1) << i;
        EXPECT_EQ(items[i].disabled, i == 2 || i == 4) << i;
        EXPECT_EQ(items[i].checked, i == 3 || i == 4) << i;
    }
    EXPECT_FALSE(menus_.Choose(1026)) << "disabled";
    EXPECT_EQ(journal.Take(), Lines{}) << "nothing is chosen yet";
    EXPECT_TRUE(menus_.Choose(1027));
    EXPECT_EQ(journal.Take(), Lines{"ask 0 18 3"});

    Wrapper().ShowParameterMenu(18);
    Wrapper().ShowParameterMenu(19); // instead of the other one
    (void)journal.Take();
    EXPECT_TRUE(menus_.Choose(1024));
    EXPECT_EQ(journal.Take(), Lines{"ask 0 19 0"});

    host_.menu.assign(1000000, {"again", 0});
    Wrapper().ShowParameterMenu(18);
    EXPECT_LT(menus_.Items().size(), 2000u) << "a host whose menu has no end";
    (void)journal.Take();
    EXPECT_TRUE(menus_.Choose(CPopupMenuClient::kNothing));
    EXPECT_EQ(journal.Take(), Lines{});
    Wrapper().ShowParameterMenu(18);
    (void)journal.Take();
    host_.Close(); // with the menu open
    EXPECT_FALSE(menus_.IsOpen());
    EXPECT_EQ(journal.Take(), (Lines{"close", "editor gone", "renderer gone"}));
}

TEST_F(NativeBinding, SendsTheHostWhatItsKeyboardPlaysAndLivesWithAnyAnswer)
{
    for (const bool answersNull : {false, true}) {
        host_.answersNull = answersNull;
        Load();
        EXPECT_STREQ(static_cast<const char*>(host_.plug) + kOffsets.text,
                     answersNull ? "" : "of the host");
        Wrapper().HostNoteOn(60, 0.5f);
        Wrapper().HostNoteOn(61, 1.0f);
        Wrapper().HostNoteOff(60);
        Wrapper().HostCommand3();
        EXPECT_EQ(Wrapper().HostCommand50(), answersNull ? 0 : 51);
        std::array<char, 264> text;
        text.fill('x');
        Wrapper().GetHostText(9, text.data());
        EXPECT_STREQ(text.data(), answersNull ? "" : "host text");
        EXPECT_EQ(journal.Take(), (Lines{"ask 20 60 63", "ask 20 61 127", "ask 21 60 0",
                                         "ask 3 0 2", "ask 50 1 0", "ask 52 9 1"}));
        Wrapper().ShowParameterMenu(18);
        EXPECT_FALSE(menus_.IsOpen()) << "nothing is in it";
        EXPECT_EQ(journal.Take(), Lines{"ask 18 18 0"});
        host_.songPosition = 9.0;
        EXPECT_EQ(Render(1), (Lines{"ask 37 0 1", "render",
                                    answersNull ? "position 0" : "position 9", "block 1"}));
        host_.Close();
    }
}

// --- Editor, rate, clock ---

TEST_F(NativeBinding, ShowsTheEditorInTheHostsWindowAndFollowsItsRate)
{
    Load();
    struct Case {
        const char* what;
        std::int32_t command;
        std::intptr_t value;
        Lines told;
        std::uintptr_t window; ///< in the object, as the rate
        std::int32_t rate;
    };
    constexpr std::int32_t kEditor = 0, kSilence = 2, kRate = 4;
    const Case cases[] = {
        {"close, never opened", kEditor, 0, {}, 0, 44100},
        {"open, skin or none", kEditor, 7, {"open 7"}, 8, 44100},
        {"open twice", kEditor, 9, {"close", "open 9"}, 10, 44100},
        {"the rate that it has", kRate, 44100, {}, 10, 44100},
        {"another", kRate, 48000, {"rate 48000"}, 10, 48000},
        {"none, which is silence", kRate, 0, {"rate 0"}, 10, 48000},
        {"below none", kRate, -1, {"rate 0"}, 10, 48000},
        {"silence", kSilence, 0, {"rate 0"}, 10, 48000},
        {"too high",
         kRate,
         std::numeric_limits<std::intptr_t>::max(),
         {"rate 2.147484e+09"},
         10,
         kLargest},
        {"close", kEditor, 0, {"close"}, 0, kLargest},
    };
    for (const auto& [what, command, value, told, window, rate] : cases) {
        EXPECT_EQ(host_.Command(command, value), 0);
        EXPECT_EQ(journal.Take(), told) << what;
        EXPECT_EQ(CScriptedHost::At<std::uintptr_t>(host_.plug, kOffsets.editorWindow), window)
            << what;
        EXPECT_EQ(CScriptedHost::At<std::int32_t>(host_.plug, kOffsets.sampleRate), rate) << what;
        const float increment = CScriptedHost::At<float>(host_.plug, kOffsets.c5Increment);
        EXPECT_NEAR(increment * static_cast<double>(rate) / 4294967296.0, 523.2511306, 1e-3);
    }
}

TEST_F(NativeBinding, HandsOnTheHostsClockWithTheNextRender)
{
    Load();
    const auto tempo = [&](float beatsPerMinute) {
        const std::intptr_t bits = std::bit_cast<std::int32_t>(beatsPerMinute);
        host_.Call<std::int32_t>(5, std::int32_t{0}, bits, std::int32_t{0});
    };
    const auto told = [&] {
        Lines lines = Render(1);
        std::erase_if(lines, [](const std::string& line) { return line.starts_with("ask"); });
        return lines;
    };
    host_.songPosition = 5.0;
    EXPECT_EQ(told(), (Lines{"render", "position 5", "block 1"}));
    tempo(140.0f);
    host_.Command(12, 1);
    EXPECT_EQ(told(), (Lines{"render", "position 5", "tempo 140", "playing", "block 1"}));
    host_.Command(13, 0);
    EXPECT_EQ(told(), (Lines{"render", "position 5", "playing", "block 1"}));
    host_.Command(12, 0);
    EXPECT_EQ(told(), (Lines{"render", "position 5", "stopped", "block 1"}));
    tempo(0.0f); // which holds clocks
    EXPECT_EQ(told(), (Lines{"render", "position 5", "tempo 0", "block 1"}));
    for (const float nonsense : {kNan, kInfinity})
        tempo(nonsense);
    for (const double nonsense : {double{kNan}, double{-kInfinity}}) {
        host_.songPosition = nonsense;
        EXPECT_EQ(told(), (Lines{"render", "block 1"}));
    }
}

// --- Voices ---

TEST_F(NativeBinding, StartsVoicesWithTheKeyAndVelocityOfTheirRecords)
{
    Load();
    struct Case {
        float pitch, volume;
        int key, velocity;
    };
    constexpr Case kCases[] = {
        {6000.0f, 1.0f, 60, 100},  {6099.0f, 2.0f, 60, 127}, {5999.0f, 0.5f, 59, 74},
        {-50.0f, 0.1f, 0, 28},     {0.0f, 0.0f, 0, 0},       {99999.0f, 9.0f, 127, 127},
        {-kInfinity, -5.0f, 0, 0}, {kNan, kNan, 0, 0},       {kInfinity, kInfinity, 127, 127},
    };
    for (const auto& [pitch, volume, key, velocity] : kCases) {
        ScriptedVoice voice{.initialVolume = volume, .initialPitch = pitch};
        EXPECT_EQ(host_.Start(voice), key) << pitch;
        const Lines lines = journal.Take();
        EXPECT_EQ(lines.back(), "on " + std::to_string(key) + " " + std::to_string(velocity))
            << pitch << " " << volume;
        host_.Kill(key);
        EXPECT_EQ(journal.Take(), Lines{"off " + std::to_string(key)});
    }
    EXPECT_LT(host_.Call<std::intptr_t>(9, static_cast<ScriptedVoice*>(nullptr), std::intptr_t{1}),
              0);
    for (const std::intptr_t handle : {-1, 128}) {
        host_.Release(handle);
        host_.Kill(handle);
    }
    EXPECT_EQ(journal.Take(), Lines{});

    ScriptedVoice first{.initialPitch = 6000.0f}, second{.initialPitch = 6020.0f};
    host_.Start(first, 7);
    host_.Start(second, 8);
    EXPECT_EQ(journal.Take(), (Lines{"on 60 100", "replaced 7 0", "on 60 100"}));
    host_.Release(60);
    host_.Start(first, 9);
    EXPECT_EQ(journal.Take(), (Lines{"off 60", "replaced 8 0", "on 60 100"}));
    host_.Call(19);
    const Lines lines = journal.Take();
    EXPECT_EQ(lines.size(), 128u);
    EXPECT_EQ(lines.back(), "off 127");
    host_.Start(second, 10);
    EXPECT_EQ(journal.Take(), Lines{"on 60 100"}) << "a killed voice isn't spoken of any more";
}

TEST_F(NativeBinding, GivesEveryKeyTheValuesOfTheNearestVoiceBelow)
{
    Load();
    auto low = std::make_unique<ScriptedVoice>(ScriptedVoice{.initialPitch = 4800.0f,
                                                             .pan = 0.5f,
                                                             .volume = 0.8f,
                                                             .pitch = -1150.0f,
                                                             .cutoffOffset = 0.25f,
                                                             .resonanceOffset = -0.5f});
    ScriptedVoice high{.initialPitch = 7200.0f, .pan = -1.0f, .pitch = 1200.0f};
    host_.Start(high);
    host_.Start(*low);
    Render(1);
    const KeyTables& keys = Keys();
    for (const std::size_t key : {0u, 47u, 48u, 71u}) {
        EXPECT_FLOAT_EQ(keys.leftGain[key], 0.4f) << key;
        EXPECT_FLOAT_EQ(keys.rightGain[key], 0.8f);
        EXPECT_FLOAT_EQ(keys.pitchOffset[key], 0.5f);
        EXPECT_EQ(keys.cutoffOffset[key], 0.25f);
        EXPECT_EQ(keys.resonanceOffset[key], -0.5f);
    }
    for (const std::size_t key : {72u, 127u}) {
        EXPECT_EQ(keys.leftGain[key], 1.0f) << key;
        EXPECT_EQ(keys.rightGain[key], 0.0f);
        EXPECT_EQ(keys.pitchOffset[key], 0.0f);
        EXPECT_EQ(keys.cutoffOffset[key], 0.0f);
    }

    host_.Release(72);
    high.resonanceOffset = 0.75f; // it still sounds
    host_.Kill(48);
    low.reset(); // it is the host's to free: read again, it would show under AddressSanitizer
    Render(1);
    for (const std::size_t key : {0u, 48u, 127u})
        EXPECT_EQ(keys.resonanceOffset[key], 0.75f) << key;
    EXPECT_EQ(keys.cutoffOffset[48], 0.0f);

    host_.Call(19);
    Render(1);
    EXPECT_EQ(keys.rightGain, decltype(keys.rightGain){});
    EXPECT_EQ(keys.resonanceOffset, decltype(keys.rightGain){});
}

TEST_F(NativeBinding, LetsNoNonsenseOfARecordIntoTheEngine)
{
    Load();
    ScriptedVoice voice{.initialPitch = 6400.0f, .pitch = 400.0f};
    host_.Start(voice);
    for (const float nonsense : {kInfinity, -1e38f, kNan}) {
        voice = {.pan = nonsense,
                 .volume = nonsense,
                 .pitch = nonsense,
                 .cutoffOffset = nonsense,
                 .resonanceOffset = nonsense};
        Render(1);
        for (const auto* table : {&Keys().leftGain, &Keys().rightGain, &Keys().pitchOffset,
                                  &Keys().cutoffOffset, &Keys().resonanceOffset})
            for (const float value : *table)
                ASSERT_LE(std::fabs(value), 256.0f) << nonsense;
    }
    EXPECT_EQ(Keys().pitchOffset[64], 0.0f) << "its own key";
}

// --- Sound ---

TEST_F(NativeBinding, AddsItsBlocksIntoTheHostsBuffer)
{
    Load();
    ScriptedVoice voice;
    host_.Start(voice);
    (void)journal.Take();
    std::vector<float> buffer(2000);
    for (std::size_t i = 0; i < buffer.size(); ++i)
        buffer[i] = 0.25f * static_cast<float>(i % 3);
    host_.Render(buffer);
    const Lines lines = journal.Take();
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 4),
              (Lines{"ask 37 0 1", "gains", "render", "position 0"}));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "block 64"), 15);
    EXPECT_EQ(lines.back(), "block 40");
    EXPECT_EQ(lines.size(), 4u + 16u);
    for (std::size_t i = 0; i < buffer.size(); ++i) {
        const float added = static_cast<float>(i / 2 + 1) * (i % 2 == 0 ? 1.0f : -1.0f);
        ASSERT_EQ(buffer[i], 0.25f * static_cast<float>(i % 3) + added) << i;
    }

    float* const sample = buffer.data();
    std::int32_t length = -1;
    host_.Call(8, sample, &length);
    EXPECT_EQ(journal.Take(), (Lines{"ask 37 0 1", "gains", "render", "position 0"}));
    length = 10;
    host_.Call(8, static_cast<float*>(nullptr), &length);
    host_.Call(8, sample, static_cast<const std::int32_t*>(nullptr));
    EXPECT_EQ(journal.Take(), Lines{});
}

// --- Several threads ---

TEST_F(NativeBindingThread, KeepsWhatComesWhileAnotherThreadHasTheEngine)
{
    Load();
    Render(1);
    ScriptedVoice voice;
    {
        const CEngineThief thief(*CFakeRenderer::newest.load());
        host_.Start(voice);
        host_.Exchange(74, 256, 1);
        host_.Release(60);
        host_.Command(12, 1);
        std::vector<float> buffer(20, 0.5f);
        host_.Render(buffer);
        EXPECT_EQ(buffer, std::vector<float>(20, 0.5f)) << "nothing is added";
        EXPECT_EQ(journal.Take(), (Lines{"ask 37 0 1", "gains", "render"}));
    }
    EXPECT_EQ(Render(1), (Lines{"ask 37 0 1", "gains", "render", "on 60 100", "cc 0 127", "off 60",
                                "position 0", "playing", "block 1"}));
}

TEST_F(NativeBindingThread, LeavesTheEngineToTheThreadThatRenders)
{
    Load();
    Render(1);
    std::thread([&] {
        host_.Exchange(74 + 7, 128, 1);
        host_.Exchange(74 + 8, 128, 1);
    }).join();
    EXPECT_EQ(journal.Take(), Lines{});
    host_.Exchange(74 + 9, 128, 1);
    EXPECT_EQ(journal.Take(), (Lines{"cc 7 63", "cc 8 63", "cc 9 63"}));

    constexpr int kMany = 3 * CEngineChanges::kCapacity;
    std::thread([&] { // and the host has stopped rendering
        for (int i = 0; i < kMany; ++i)
            host_.Exchange(74 + 7, i % 257, 1);
    })
        .join();
    const Lines lines = Render(1);
    EXPECT_EQ(std::ranges::count_if(
                  lines, [](const std::string& line) { return line.starts_with("cc 7"); }),
              kMany)
        << "none is lost";
}

TEST_F(NativeBindingThread, AsksTheHostWithNothingHeld)
{
    host_.menu = {{"Link", 0}};
    Load();
    ScriptedVoice voice;
    host_.Start(voice, 1);
    int changes = 0;
    host_.onCall = [&](const std::string& line) {
        // Another thread of the host needs the engine for itself just then, and is waited for.
        auto change = std::async(std::launch::async,
                                 [&] { host_.Command(4, changes % 2 == 0 ? 48000 : 44100); });
        EXPECT_EQ(change.wait_for(std::chrono::seconds(20)), std::future_status::ready) << line;
        ++changes;
    };
    host_.Start(voice, 2);
    host_.Exchange(74 + 20, 256, 1);
    std::vector<float> buffer(200);
    host_.Render(buffer);
    Wrapper().AutomateParameter(0, 0.5f);
    Wrapper().ShowParameterMenu(0);
    menus_.Choose(1024);
    EXPECT_EQ(changes, 1 + 2 + 3 + 2 + 2 + 1);
    host_.onCall = nullptr;
    (void)journal.Take();
}

TEST_F(NativeBindingThread, PlaysWhileOthersSetSaveAndChangeTheRate)
{
    Load();
    host_.onCall = nullptr;
    std::atomic<bool> stop{false};
    std::thread setter([&] {
        for (int i = 0; !stop; ++i) {
            host_.Exchange(i % 203, i % 257, 1);
            EXPECT_NE(host_.Name(i % 2, i % 203), "untouched");
            std::this_thread::yield();
        }
    });
    std::thread keeper([&] {
        for (int i = 0; !stop; ++i) {
            host_.Command(4, 44100 + i % 3);
            host_.Command(12, i % 2);
            Wrapper().AutomateParameter(i % 74, 0.5f);
            CScriptedStream stream;
            host_.Call(3, stream.Get(), std::int32_t{1});
            EXPECT_EQ(stream.bytes.size(), 700u);
            host_.Call(3, stream.Get(), std::int32_t{0});
            std::this_thread::yield();
        }
    });
    std::array<ScriptedVoice, 16> voices;
    std::vector<float> buffer(200);
    for (int i = 0; i < 400; ++i) {
        ScriptedVoice& voice = voices[static_cast<std::size_t>(i % 16)];
        voice.initialPitch = 100.0f * static_cast<float>(i % 128);
        host_.Start(voice, i);
        host_.Render(buffer);
        host_.Kill(i % 128);
    }
    stop = true;
    setter.join();
    keeper.join();
    host_.Render(buffer); // what came while the keeper had the engine has waited for this
    Lines notes = journal.Take();
    std::erase_if(notes, [](const std::string& line) { return !line.starts_with("o"); });
    EXPECT_EQ(std::ranges::count_if(notes, [](const auto& line) { return line[1] == 'n'; }), 400);
    EXPECT_EQ(notes.size(), 2 * 400u) << "each note ends";
}

} // namespace keldra::test
