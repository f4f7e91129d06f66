#include "platform/FileDialog.h"

#include <chrono>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>

#include "tests/platform/Environment.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/platform/x11/SessionBus.h"

namespace keldra::test {
namespace {

using EState = CFileDialog::EState;
using Clock = std::chrono::steady_clock;

std::set<std::string> OpenDescriptors()
{
    std::set<std::string> links;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        links.insert(entry.path().filename().string() + " " +
                     std::filesystem::read_symlink(entry.path(), gone).string());
    }
    // The listing's own descriptor comes and goes.
    std::erase_if(links, [](const std::string& link) { return link.ends_with("/fd"); });
    return links;
}

bool HasChildren()
{
    return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}

/// Every test: no session bus, no programs but those that it makes, and at the end neither a child
/// process nor a descriptor more than before.
class FileDialog : public ::testing::Test {
protected:
    FileDialog()
    {
        environment_.Set("PATH", folder_.Path("bin"));
        environment_.Set("DBUS_SESSION_BUS_ADDRESS", "");
        request_.title = "Load Program";
        request_.filters = {{"Keldra Program", "*.keldra;*.fxp;"}, {"All | every", "*.*;"}};
        request_.folder = "/some/folder";
        request_.name = "Warm Pad";
        request_.owner = 4711;
    }
    void SetUp() override { before_ = OpenDescriptors(); }
    void TearDown() override { EXPECT_EQ(OpenDescriptors(), before_); }

    void MakeProgram(const std::string& name, const std::string& script) const
    {
        const std::string path = folder_.Write("bin/" + name, "#!/bin/sh\n" + script);
        ::chmod(path.c_str(), 0755);
    }

    /// Polls like an editor's tick until there is an answer.
    static EState WaitFor(CFileDialog& dialog, double seconds = 10.0)
    {
        const auto end = Clock::now() + std::chrono::duration<double>(seconds);
        EState state = EState::Open;
        while (state == EState::Open && Clock::now() < end) {
            const auto begun = Clock::now();
            state = dialog.Poll();
            slowestPoll_ = std::max(slowestPoll_, Clock::now() - begun);
            ::usleep(10000);
        }
        return state;
    }

    CTemporaryFolder folder_;
    CEnvironment environment_;
    FileDialogRequest request_;
    std::set<std::string> before_;
    static inline Clock::duration slowestPoll_{};
};

TEST_F(FileDialog, AsksKdialogThenZenityThenGivesUp)
{
    const std::string record = "printf '%s\\n' \"$@\" > \"" + folder_.Path("arguments") + "\"\n";
    struct Case {
        const char* what;
        std::string kdialog, zenity; ///< scripts; empty: not installed
        EState state;
        std::string path, arguments;
    };
    const Case kCases[] = {
        {"kdialog before zenity", record + "echo '/a/My File.fxp'", "echo /zenity", EState::Chosen,
         "/a/My File.fxp",
         "--title\nLoad Program\n--attach\n4711\n--getopenfilename\n/some/folder/Warm Pad\n"
         "Keldra Program (*.keldra *.fxp);;All   every (*)\n"},
        {"zenity alone", "", record + "echo /a/b", EState::Chosen, "/a/b",
         "--file-selection\n--title=Load Program\n--attach=4711\n"
         "--filename=/some/folder/Warm Pad\n--file-filter=Keldra Program | *.keldra *.fxp\n"
         "--file-filter=All   every | *\n"},
        {"cancelled by the user", "sleep 0.4; exit 1", "echo /zenity", EState::Cancelled, "", ""},
        {"no screen: ends with the same code at once", "exit 1", "echo /a/b", EState::Chosen,
         "/a/b", ""},
        {"broken installation", "exit 127", "exit 5", EState::Unavailable, "", ""},
        {"crashes", "kill -9 $$", "", EState::Unavailable, "", ""},
        {"neither is there", "", "", EState::Unavailable, "", ""},
        {"rubbish for an answer", "echo not-a-path", "", EState::Cancelled, "", ""},
        {"output without an end", "yes /x | head -c 3000000", "", EState::Chosen, "", ""},
        {"line ends within the name", "printf '/a/two\\nlines\\n'", "", EState::Chosen,
         "/a/two\nlines", ""},
    };
    for (const Case& row : kCases) {
        std::filesystem::remove_all(folder_.Path("bin"));
        std::filesystem::remove(folder_.Path("arguments"));
        for (const auto& [name, script] :
             {std::pair("kdialog", row.kdialog), {"zenity", row.zenity}})
            if (!script.empty())
                MakeProgram(name, "PATH=/usr/bin:/bin\n" + script);
        const auto dialog = SystemFileDialogs().Open(request_);
        EXPECT_EQ(WaitFor(*dialog), row.state) << row.what;
        if (std::string_view(row.what) != "output without an end")
            EXPECT_EQ(dialog->Path(), row.path) << row.what;
        else
            EXPECT_LE(dialog->Path().size(), 65536u);
        EXPECT_EQ(Slurp(folder_.Path("arguments")), row.arguments) << row.what;
        EXPECT_FALSE(HasChildren()) << row.what;
    }
}

TEST_F(FileDialog, SavingAsksBeforeItReplaces)
{
    request_.kind = FileDialogRequest::EKind::Save;
    request_.title = "Save Program";
    for (const char* name : {"kdialog", "zenity"}) {
        std::filesystem::remove_all(folder_.Path("bin"));
        MakeProgram(name, "echo \"$@\" > \"" + folder_.Path("arguments") + "\"; echo /a");
        EXPECT_EQ(WaitFor(*SystemFileDialogs().Open(request_)), EState::Chosen);
        const std::string arguments = Slurp(folder_.Path("arguments"));
        EXPECT_NE(arguments.find(std::string_view(name) == "zenity" ? "--save --confirm-overwrite"
                                                                    : "--getsavefilename"),
                  std::string::npos)
            << arguments;
    }
}

TEST_F(FileDialog, ClosingItEndsItsProgramsAndLeavesNoZombie)
{
    MakeProgram("kdialog", "PATH=/usr/bin:/bin\necho $$ > \"" + folder_.Path("pid") +
                               "\"\nsleep 100 & sleep 100\n");
    auto dialog = SystemFileDialogs().Open(request_);
    EXPECT_EQ(WaitFor(*dialog, 0.3), EState::Open);
    const pid_t process = std::stoi(Slurp(folder_.Path("pid")));
    const auto begun = Clock::now();
    dialog.reset();
    EXPECT_LT(Clock::now() - begun, std::chrono::milliseconds(100));
    EXPECT_FALSE(HasChildren());
    // Its own child, which the system's first process reaps, is killed as well.
    for (int i = 0; i < 200 && ::kill(-process, 0) == 0; ++i)
        ::usleep(10000);
    EXPECT_NE(::kill(-process, 0), 0);
}

TEST_F(FileDialog, PortalShowsWhatWasAskedAndItsAnswerArrives)
{
    const CSessionBus bus(folder_);
    environment_.Set("DBUS_SESSION_BUS_ADDRESS", "unixexec:path=/bin/false;" + bus.Address());
    MakeProgram("kdialog", "echo /kdialog");
    using Behaviour = CMockPortal::Behaviour;
    constexpr const char* uri = "file:///home/me/My%20Pad%25%C3%A4.fxp";
    struct Case {
        const char* what;
        Behaviour behaviour;
        EState state;
        std::string path;
    };
    const Case kCases[] = {
        {"chosen", {.uri = uri}, EState::Chosen, "/home/me/My Pad%\xC3\xA4.fxp"},
        {"names the request itself",
         {.choosesHandle = true, .delayMs = 200, .uri = uri}, // once the caller listens for it
         EState::Chosen,
         "/home/me/My Pad%\xC3\xA4.fxp"},
        {"cancelled", {.response = 1}, EState::Cancelled, ""},
        {"not a file", {.uri = "https://example.org/a"}, EState::Cancelled, ""},
        {"its window is closed", {.delayMs = 400, .response = 2}, EState::Cancelled, ""},
        {"its dialog fails", {.response = 2}, EState::Chosen, "/kdialog"},
        {"has no file dialogs", {.hasFileChooser = false}, EState::Chosen, "/kdialog"},
    };
    for (const Case& row : kCases) {
        const CMockPortal portal(bus, row.behaviour);
        const auto dialog = SystemFileDialogs().Open(request_);
        EXPECT_EQ(WaitFor(*dialog), row.state) << row.what;
        EXPECT_EQ(dialog->Path(), row.path) << row.what;
    }

    request_.kind = FileDialogRequest::EKind::Save;
    const CMockPortal portal(bus, {.uri = uri});
    EXPECT_EQ(WaitFor(*SystemFileDialogs().Open(request_)), EState::Chosen);
    const std::string calls = portal.Calls();
    EXPECT_NE(calls.find("SaveFile x11:1267 Load Program handle_token keldra"), std::string::npos)
        << calls;
    EXPECT_NE(calls.find(" modal true filters Keldra Program 0 *.keldra 0 *.fxp All | every 0 * "
                         "current_folder/some/folder| current_name Warm Pad"),
              std::string::npos)
        << calls;
}

TEST_F(FileDialog, PortalThatDoesNotAnswerWithinTwoSecondsIsLeftAlone)
{
    const CSessionBus bus(folder_);
    environment_.Set("DBUS_SESSION_BUS_ADDRESS", bus.Address());
    MakeProgram("kdialog", "echo /kdialog");
    struct Case {
        const char* what;
        CMockPortal::Behaviour behaviour;
        bool busStopped;
    };
    const Case kCases[] = {
        {"asleep", {.answersVersion = false}, false},
        {"falls asleep", {.answersCall = false}, false},
        {"the bus hangs", {.uri = "file:///late"}, true},
    };
    for (const Case& row : kCases) {
        const CMockPortal portal(bus, row.behaviour);
        bus.Signal(row.busStopped ? SIGSTOP : SIGCONT);
        slowestPoll_ = {};
        const auto begun = Clock::now();
        const auto dialog = SystemFileDialogs().Open(request_);
        EXPECT_EQ(WaitFor(*dialog), EState::Chosen) << row.what;
        const std::chrono::duration<double> took = Clock::now() - begun;
        EXPECT_EQ(dialog->Path(), "/kdialog") << row.what;
        EXPECT_GT(took.count(), 1.9) << row.what;
        EXPECT_LT(took.count(), 3.0) << row.what;
        EXPECT_LT(slowestPoll_, std::chrono::milliseconds(100)) << row.what;
        bus.Signal(SIGCONT);
    }
}

TEST_F(FileDialog, ClosingItTakesThePortalsDialogOffTheScreenToo)
{
    const CSessionBus bus(folder_);
    environment_.Set("DBUS_SESSION_BUS_ADDRESS", bus.Address());
    const CMockPortal portal(bus, {.responds = false});
    auto dialog = SystemFileDialogs().Open(request_);
    for (int i = 0; i < 200 && portal.CallCount() < 2; ++i)
        EXPECT_EQ(WaitFor(*dialog, 0.01), EState::Open);
    EXPECT_EQ(WaitFor(*dialog, 2.5), EState::Open) << "a dialog that is shown may take its time";
    dialog.reset();
    for (int i = 0; i < 200 && portal.CallCount() < 3; ++i)
        ::usleep(10000);
    EXPECT_TRUE(portal.Calls().ends_with("Close\n")) << portal.Calls();
}

} // namespace
} // namespace keldra::test
