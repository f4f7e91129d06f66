#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <numeric>
#include <optional>
#include <sndfile.h>
#include <span>

#include "editor/PanelTable.h"
#include "frame/StateBlock.h"
#include "tests/apps/RunProgram.h"
#include "tests/platform/window/XHost.h"

// The program as its user has it: a window that a pointer and keys reach, what it records, what it
// says, what it keeps. Each case is run under ThreadSanitizer, too.

namespace keldra::test {

namespace {

const auto* const server = testing::AddGlobalTestEnvironment(new CXvfb);

/// Keys by their places, as X numbers them.
constexpr int kTwo = 11, kMinus = 20, kEquals = 21, kQ = 24, kP = 33, kCtrl = 37, kS = 39, kZ = 52;
#ifdef KELDRA_SANITIZED
constexpr int kHold = 400; // ms: what plays is slower
#else
constexpr int kHold = 250; // ms
#endif

void Sleep(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

/// What sounded between two silences, measured without its first and last 40 ms.
struct Note {
    double seconds = 0.0;
    double pitchHz = 0.0;
    double brightnessHz = 0.0; ///< quadratic mean of its frequencies, weighted by their power
    double steadiness = 0.0;   ///< quietest 10 ms, once it was loud, as a part of its loudest
};

using Samples = std::vector<double>;
constexpr int kRate = 48000;

Samples LeftOf(const std::string& wav)
{
    SF_INFO info{};
    SNDFILE* const file = ::sf_open(wav.c_str(), SFM_READ, &info);
    EXPECT_EQ(info.samplerate, kRate);
    Samples both(static_cast<std::size_t>(info.frames * info.channels));
    ::sf_readf_double(file, both.data(), info.frames);
    ::sf_close(file);
    Samples left;
    for (std::size_t i = 0; i < both.size(); i += 2)
        left.push_back(both[i]);
    return left;
}

double Rms(std::span<const double> samples)
{
    return std::sqrt(std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0) /
                     static_cast<double>(samples.size()));
}

Note Measure(std::span<const double> samples, std::span<const double> loudness)
{
    Note note;
    std::vector<std::size_t> rises; // a saw has one a period, however dull
    for (std::size_t i = 1; i < samples.size(); ++i)
        if (samples[i - 1] < 0.0 && samples[i] >= 0.0)
            rises.push_back(i);
    if (rises.size() > 1)
        note.pitchHz = kRate * static_cast<double>(rises.size() - 1) /
                       static_cast<double>(rises.back() - rises.front());
    Samples slopes(samples.size());
    std::adjacent_difference(samples.begin(), samples.end(), slopes.begin());
    slopes.erase(slopes.begin()); // no difference, but the first sample
    note.brightnessHz = Rms(slopes) / Rms(samples) * kRate / (2.0 * std::numbers::pi);
    const double most = *std::max_element(loudness.begin(), loudness.end());
    const auto loud = std::find_if(loudness.begin(), loudness.end(),
                                   [=](double level) { return level > 0.9 * most; });
    note.steadiness = *std::min_element(loud, loudness.end()) / most;
    return note;
}

std::vector<Note> NotesIn(const std::string& wav)
{
    constexpr double kSilence = 1e-3;
    constexpr std::size_t kEdge = 4;
    constexpr std::size_t window = kRate / 100;
    const Samples samples = LeftOf(wav);
    Samples loudness; // of each 10 ms
    for (std::size_t at = 0; at + window <= samples.size(); at += window)
        loudness.push_back(Rms(std::span(samples).subspan(at, window)));
    std::vector<Note> notes;
    for (std::size_t begin = 0, end = 0; begin < loudness.size(); begin = end + 1) {
        end = begin;
        while (end < loudness.size() && loudness[end] > kSilence)
            ++end;
        if (end - begin < 4 * kEdge)
            continue; // a click, or silence
        const std::size_t from = begin + kEdge;
        const std::size_t count = end - begin - 2 * kEdge;
        notes.push_back(Measure(std::span(samples).subspan(from * window, count * window),
                                std::span(loudness).subspan(from, count)));
        notes.back().seconds = static_cast<double>(end - begin) / 100.0;
    }
    return notes;
}

/// What a program file holds: a plain saw.
std::string PlainProgram()
{
    std::array<float, kParameterCount> values;
    for (int i = 0; i < kParameterCount; ++i)
        values[static_cast<std::size_t>(i)] = TableDefault(i);
    std::string block(kStateSize, '\0');
    WriteStateBlock(values, "Plain", std::as_writable_bytes(std::span(block)).first<kStateSize>());
    return block;
}

class StandaloneThread : public testing::Test {
protected:
    void Start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {KELDRA, "--no-audio", "--midi", "none"});
        CRunningProgram::Setup setup;
        setup.environment = {"XDG_STATE_HOME=" + folder_.Path(),
                             "XDG_CONFIG_HOME=" + folder_.Path("config")};
        program_.emplace(std::move(arguments), setup);
        window_ = 0;
        ASSERT_TRUE(Eventually([this] { return (window_ = FindWindow()) != 0; }));
        Focus(window_);
    }

    /// Of our program, once it shows something.
    xcb_window_t FindWindow()
    {
        const CXcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
            desk_.Connection(), xcb_query_tree(desk_.Connection(), desk_.Screen().root), nullptr));
        const std::span windows(xcb_query_tree_children(tree.get()), tree->children_len);
        const auto found = std::find_if(windows.begin(), windows.end(), [&](xcb_window_t window) {
            constexpr std::uint32_t kUnseen = 0xdeadbeef;
            const std::uint32_t pixel = desk_.PixelAt(window, 100, 100);
            return window != desk_.Window() && pixel != kUnseen && pixel != 0;
        });
        return found == windows.end() ? xcb_window_t{0} : *found;
    }

    /// As a window manager gives it.
    void Focus(xcb_window_t window)
    {
        xcb_set_input_focus(desk_.Connection(), XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        desk_.Sync();
        Sleep(100);
    }

    void Hold(int keycode, int milliseconds = kHold)
    {
        desk_.Fake(XCB_KEY_PRESS, keycode);
        Sleep(milliseconds);
        desk_.Fake(XCB_KEY_RELEASE, keycode);
        Sleep(milliseconds < kHold ? 10 : 100);
    }

    /// Moves a control by the mouse. @param pixels  upward
    void Drag(int parameter, int pixels)
    {
        const auto control =
            std::find_if(kPanelControls.begin(), kPanelControls.end(),
                         [=](const PanelControl& row) { return row.parameter == parameter; });
        desk_.MoveTo({control->rect.x + control->rect.width / 2,
                      control->rect.y + control->rect.height / 2});
        desk_.Press(1);
        Sleep(100);
        for (int i = 0; i < std::abs(pixels); i += 10) {
            desk_.MoveBy(0, pixels < 0 ? 10 : -10);
            Sleep(5);
        }
        Sleep(100);
        desk_.Release(1);
        Sleep(100);
    }

    ProgramRun End(int signal)
    {
        program_->Kill(signal);
        return program_->Wait();
    }
    /// As a window manager does when its button is clicked.
    ProgramRun Close()
    {
        const XAtoms atoms = InternAtoms(desk_.Connection());
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = window_;
        message.type = atoms[kWmProtocols];
        message.data.data32[0] = atoms[kWmDeleteWindow];
        xcb_send_event(desk_.Connection(), 0, window_, 0, reinterpret_cast<char*>(&message));
        desk_.Sync();
        return program_->Wait();
    }

    [[nodiscard]] std::string State() const { return folder_.Path("keldra/53617757.state"); }

    CTemporaryFolder folder_;
    const std::string wav_ = folder_.Path("out.wav");
    CXHost desk_;
    std::optional<CRunningProgram> program_;
    xcb_window_t window_ = 0;
};

TEST_F(StandaloneThread, PlaysTheComputersKeyboard)
{
    Start({"--record", wav_, "--program", folder_.Write("plain", PlainProgram())});
    struct Step {
        int place;
        double pitchHz; ///< 0: nothing to hear
    };
    const Step steps[] = {{kZ, 130.81},  {kS, 138.59},   {kQ, 261.63},  {kTwo, 277.18},
                          {kP, 659.26},  {kEquals, 0.0}, {kZ, 261.63},  {kMinus, 0.0},
                          {kMinus, 0.0}, {kZ, 65.41},    {kEquals, 0.0}};
    for (const auto& [place, pitchHz] : steps)
        Hold(place, pitchHz > 0.0 ? kHold : 10);
    desk_.Fake(XCB_KEY_PRESS, kCtrl); // what comes with it is a shortcut
    Hold(kQ);
    desk_.Fake(XCB_KEY_RELEASE, kCtrl);

    // The keyboard goes elsewhere while a key is down, and comes back when it no longer is.
    desk_.Show({900, 600}, {50, 50});
    desk_.Fake(XCB_KEY_PRESS, kZ);
    Sleep(300);
    Focus(static_cast<xcb_window_t>(desk_.Window()));
    Sleep(500);
    desk_.Fake(XCB_KEY_RELEASE, kZ);
    Hold(kQ); // somebody else's
    Focus(window_);

    // A slow attack: a note that began again would show. The server repeats keys after 0.7 s.
    Drag(kAmpAttack, 160);
    Hold(kZ, 1500);
    EXPECT_EQ(End(SIGINT).status, 0);

    std::vector<Note> notes = NotesIn(wav_);
    ASSERT_EQ(notes.size(), 9u);
    std::size_t next = 0;
    for (const Step& step : steps)
        if (step.pitchHz > 0.0) {
            EXPECT_NEAR(notes[next].pitchHz, step.pitchHz, 0.003 * step.pitchHz) << next;
            ++next;
        }
    EXPECT_NEAR(notes[7].seconds, 0.3, 0.15) << "the focus went";
    EXPECT_GT(notes[8].steadiness, 0.75) << "held and repeated";
}

TEST_F(StandaloneThread, FollowsTheMouseAndGoesOnAsItWasLeft)
{
    const PanelControl& keyboard = ControlOf(EPanelRole::Keyboard);
    const auto clickMiddleC = [&] {
        desk_.MoveTo({keyboard.rect.x + keyboard.rect.width * 29 / 70, keyboard.rect.Bottom() - 8});
        desk_.Press(1);
        Sleep(kHold);
        desk_.Release(1);
        Sleep(100);
    };
    Start({"--record", wav_, "--program", folder_.Write("plain", PlainProgram())});
    clickMiddleC();
    Drag(kFilterCutoff, -280);
    clickMiddleC();
    Drag(kModWheelAmount, 160);
    clickMiddleC();
    Drag(kModWheelValue, 400);
    clickMiddleC();
    const ProgramRun run = Close();
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<Note> notes = NotesIn(wav_);
    ASSERT_EQ(notes.size(), 4u);
    for (const Note& note : notes)
        EXPECT_NEAR(note.pitchHz, 261.63, 0.8);
    EXPECT_LT(notes[1].brightnessHz, 0.4 * notes[0].brightnessHz) << "cutoff down";
    EXPECT_NEAR(notes[2].brightnessHz, notes[1].brightnessHz, 10.0) << "the wheel is still down";
    EXPECT_GT(notes[3].brightnessHz, 1.5 * notes[2].brightnessHz) << "the wheel is up";

    Start({"--record", wav_}); // the wheel is at rest again: it is a thing of the moment
    clickMiddleC();
    Drag(kModWheelValue, 400);
    clickMiddleC();
    EXPECT_EQ(Close().status, 0);
    const std::vector<Note> again = NotesIn(wav_);
    ASSERT_EQ(again.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i)
        EXPECT_NEAR(again[i].brightnessHz, notes[2 + i].brightnessHz, 20.0) << "as it was left";
}

TEST_F(StandaloneThread, EndsInGoodOrderAndKeepsItsState)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::filesystem::remove_all(folder_.Path("keldra"));
        Start({});
        const ProgramRun run = End(signal);
        EXPECT_EQ(run.status, 0) << signal;
        EXPECT_EQ(run.err.find("damaged"), std::string::npos) << run.err;
        EXPECT_GT(Slurp(State()).size(), 600u) << signal;
    }
    const std::string whole = Slurp(State());
    std::string bent = whole;
    bent[whole.size() / 2] ^= 1;
    for (const std::string& damaged : {std::string(), whole.substr(0, 300), whole + "x", bent}) {
        std::ofstream(State(), std::ios::binary) << damaged;
        Start({});
        const ProgramRun run = End(SIGINT);
        EXPECT_EQ(run.status, 0);
        EXPECT_NE(run.err.find(State() + ": damaged, and ignored"), std::string::npos) << run.err;
        EXPECT_EQ(Slurp(State()), whole);
    }
    // No way to keep it: said, and the program's answer.
    std::filesystem::remove_all(folder_.Path("keldra"));
    folder_.Write("keldra", "in the way");
    Start({});
    const ProgramRun run = End(SIGINT);
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(run.err.find("nothing is kept"), std::string::npos) << run.err;
}

TEST_F(StandaloneThread, SaysInOneLineWhyItCannotBegin)
{
    struct Case {
        std::vector<std::string> arguments;
        std::string says;
        std::string display = ":none";
    };
    const Case kCases[] = {
        {{"--no-audio"}, "keldra: the display :none can't be reached\n"},
        {{"--no-audio"}, "keldra: no display: DISPLAY is not set\n", ""},
        {{"--rate", "5"}, "keldra: --rate takes 8000 to 384000, not \"5\"\n"},
        {{"--module", "nothing.so"}, "keldra: nothing.so: No such file or directory\n"},
        {{"--program", "No/Sound"}, "keldra: No/Sound: No such file or directory\n"},
        {{"--no-audio", "--device", "1"}, "keldra: --device and --no-audio exclude each other\n"},
        {{"--sing"}, "keldra: The following argument was not expected: --sing\n"},
    };
    for (const auto& [arguments, says, display] : kCases) {
        std::vector<std::string> all{KELDRA};
        all.insert(all.end(), arguments.begin(), arguments.end());
        CRunningProgram::Setup setup;
        setup.environment = {"DISPLAY=" + display};
        const ProgramRun run = CRunningProgram(all, setup).Wait();
        EXPECT_EQ(run.status, 2) << says;
        EXPECT_TRUE(run.err.starts_with(says)) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

} // namespace

} // namespace keldra::test
