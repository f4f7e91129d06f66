#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <span>
#include <sstream>

#include "editor/PanelTable.h"
#include "frame/StateBlock.h"
#include "tests/apps/RunProgram.h"
#include "tests/apps/WavFile.h"
#include "tests/platform/window/XHost.h"

// The program as its user has it: a window that a pointer and keys reach, what it records, what it
// says, what it keeps. Each case is run under ThreadSanitizer, too.

namespace keldra::test {

namespace {

const auto* const server = testing::AddGlobalTestEnvironment(new CXvfb);

/// Keys by their places, as X numbers them.
constexpr int kTwo = 11, kMinus = 20, kEquals = 21, kQ = 24, kP = 33, kCtrl = 37, kS = 39, kZ = 52,
              kComma = 59;
#ifdef KELDRA_SANITIZED
constexpr int kHold = 400; // ms: what plays is slower
#else
constexpr int kHold = 250; // ms
#endif

void Sleep(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

class StandaloneThread : public testing::Test {
protected:
    void Start(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {KELDRA, "--no-audio", "--midi", "none"});
        CRunningProgram::Setup setup;
        setup.environment = {"XDG_STATE_HOME=" + folder_.Path(),
                             "XDG_CONFIG_HOME=" + folder_.Path("config"),
                             "SINE_MODULE_LOG=" + folder_.Path("log")};
        program_.emplace(std::move(arguments), setup);
        window_ = 0;
        ASSERT_TRUE(Eventually([this] { return (window_ = FindWindow()) != 0; }));
        Focus(window_);
    }

    /// Of our program, once it is shown.
    xcb_window_t FindWindow()
    {
        xcb_connection_t* const c = desk_.Connection();
        const CXcbReply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(c, xcb_query_tree(c, desk_.Screen().root), nullptr));
        const std::span windows(xcb_query_tree_children(tree.get()), tree->children_len);
        const auto found = std::find_if(windows.begin(), windows.end(), [&](xcb_window_t window) {
            const CXcbReply<xcb_get_window_attributes_reply_t> reply(
                xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr));
            return window != desk_.Window() && reply != nullptr &&
                   reply->map_state == XCB_MAP_STATE_VIEWABLE;
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
    Start({"--module", KELDRA_TEST_INSTRUMENT});
    const auto play = [this](std::initializer_list<int> keys) {
        for (const int key : keys) {
            desk_.Type(key);
            Sleep(10); // twice in one millisecond would be the server's repeating
        }
    };
    play({kZ, kS, kQ, kTwo, kP, kEquals, kZ, kMinus, kMinus, kZ, kEquals});
    desk_.Fake(XCB_KEY_PRESS, kCtrl); // what comes with it is a shortcut
    play({kQ});
    desk_.Fake(XCB_KEY_RELEASE, kCtrl);
    // Two keys of the same note, which ends with the later one
    desk_.Fake(XCB_KEY_PRESS, kComma);
    desk_.Fake(XCB_KEY_PRESS, kQ);
    desk_.Fake(XCB_KEY_RELEASE, kComma);
    play({kZ});
    desk_.Fake(XCB_KEY_RELEASE, kQ);

    // The keyboard goes elsewhere while a key is down, and comes back when it no longer is.
    desk_.Show({900, 600}, {50, 50});
    desk_.Fake(XCB_KEY_PRESS, kP);
    Sleep(100);
    Focus(static_cast<xcb_window_t>(desk_.Window()));
    desk_.Fake(XCB_KEY_RELEASE, kP);
    play({kQ}); // somebody else's
    Focus(window_);

    // Without a window manager the keyboard is where the pointer is.
    desk_.MoveTo({100, 100});
    Focus(XCB_INPUT_FOCUS_POINTER_ROOT);
    desk_.Fake(XCB_KEY_PRESS, kP);
    Sleep(100);
    desk_.MoveTo({920, 620});
    desk_.Fake(XCB_KEY_RELEASE, kP);
    Sleep(kHold);
    Focus(window_);

    desk_.Fake(XCB_KEY_PRESS, kS); // the server repeats keys after 0.7 s
    Sleep(1200);
    desk_.Fake(XCB_KEY_RELEASE, kS);
    Sleep(kHold);
    EXPECT_EQ(End(SIGINT).status, 0);

    std::string notes; // "48+ 48- ": on and off
    std::istringstream log(Slurp(folder_.Path("log")));
    for (std::string line; std::getline(log, line);) {
        unsigned status = 0, note = 0;
        if (std::sscanf(line.c_str(), "1: midi %*u: %x %x", &status, &note) == 2)
            notes += std::to_string(note) + (status == 0x90 ? "+ " : "- ");
    }
    EXPECT_EQ(notes, "48+ 48- 49+ 49- 60+ 60- 61+ 61- 76+ 76- 60+ 60- 36+ 36- "
                     "60+ 60+ 48+ 48- 60- 76+ 76- 76+ 76- 49+ 49- ");
}

TEST_F(StandaloneThread, FollowsTheMouseAndGoesOnAsItWasLeft)
{
    Start({"--program", "Bells/Jewel Box"});
    Drag(kGain, 600);
    Drag(kModWheelAmount, -600);
    const ProgramRun run = Close();
    EXPECT_EQ(run.status, 0) << run.err;
    const std::string left = Slurp(State());
    ASSERT_GT(left.size(), kStateSize);
    const StateBlockContent kept =
        ReadStateBlock(std::as_bytes(std::span(left)).last<kStateSize>());
    EXPECT_STREQ(kept.name.data(), "Jewel Box");
    EXPECT_EQ(kept.values[kGain], 1.0f);
    EXPECT_EQ(kept.values[kModWheelAmount], 0.0f);

    Start({"--record", wav_});
    const PanelControl& keyboard = ControlOf(EPanelRole::Keyboard);
    desk_.MoveTo({keyboard.rect.x + keyboard.rect.width * 29 / 70, keyboard.rect.Bottom() - 8});
    desk_.Press(1);
    Sleep(kHold);
    desk_.Release(1);
    EXPECT_EQ(Close().status, 0);
    EXPECT_EQ(Slurp(State()), left);
    const std::vector<float> sound = ReadWav(wav_).left;
    EXPECT_GT(*std::max_element(sound.begin(), sound.end()), 0.01f);
}

TEST_F(StandaloneThread, EndsInGoodOrderAndKeepsItsState)
{
    for (const int signal : {SIGTERM, SIGHUP}) {
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
    for (const std::string& damaged : {std::string(), bent}) {
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

TEST_F(StandaloneThread, SpoilsNoRecording)
{
    const auto recordAgain = [this](const std::string& midi) {
        CRunningProgram::Setup setup;
        setup.environment = {"XDG_STATE_HOME=" + folder_.Path("again")};
        return CRunningProgram(
                   {"timeout", "20", KELDRA, "--no-audio", "--midi", midi, "--record", wav_}, setup)
            .Wait();
    };
    Start({"--record", wav_});
    const ProgramRun second = recordAgain("none");
    EXPECT_EQ(second.status, 2);
    EXPECT_NE(second.err.find("another recording goes there"), std::string::npos) << second.err;
    EXPECT_EQ(End(SIGTERM).status, 0);
    const std::string recorded = Slurp(wav_);
    EXPECT_EQ(recordAgain("No such").status, 2);
    EXPECT_EQ(Slurp(wav_), recorded);
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
