#include "editor/FileChooser.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "gui/ControlButton.h"
#include "gui/ControlKnob.h"
#include "gui/ControlList.h"
#include "platform/UiThread.h"
#include "tests/gui/TestPort.h"
#include "tests/platform/Environment.h"
#include "tests/platform/TemporaryFolder.h"

namespace keldra {
namespace {

using EState = CFileDialog::EState;
using EKind = FileDialogRequest::EKind;

/// Keys as a text: \n Enter, \x1b Escape, \b Backspace, \t Tab, \v down, \f up.
int KeyOf(char c)
{
    constexpr std::pair<char, int> kNamed[] = {{'\n', kKeyEnter},     {'\x1b', kKeyEscape},
                                               {'\b', kKeyBackspace}, {'\t', kKeyTab},
                                               {'\v', kKeyDown},      {'\f', kKeyUp}};
    for (const auto& [name, key] : kNamed)
        if (name == c)
            return key;
    return c;
}

class FileChooser : public testing::Test {
protected:
    FileChooser()
    {
        for (const char* file : {"Bass/Deep.fxp", "Pad 10/a.fxp", "Pad 9/b.fxp", "lead 2.fxp",
                                 "Lead 10.fxp", "Lead 1.FXP", "notes.txt", "own.keldra"})
            folder_.Write(file, "");
        environment_.Set("HOME", folder_.Path());
        port_.Show();
    }

    void OpenDialog(EKind kind, const std::string& name = "")
    {
        dialog_ = OpenFileChooser(port_,
                                  {kind,
                                   "Load",
                                   {{"Program", "*.fxp;"}, {"Own", "*.keldra;"}, {"All", "*.*;"}},
                                   folder_.Path(),
                                   name,
                                   0,
                                   0},
                                  [this](std::function<void()> action) {
                                      const CUiLock lock;
                                      later_.Post(std::move(action));
                                  });
        EXPECT_EQ(dialog_->Poll(), EState::Open);
    }
    void Type(std::string_view keys)
    {
        for (const char c : keys)
            EXPECT_TRUE(Window().Key(KeyOf(c))) << "the host's"; // none of them is
    }
    void ClickOn(const CControl& control, int times = 1)
    {
        Window().MoveTo({control.GetRect().x + 9, control.GetRect().y + 9});
        Window().Press();
        Window().Release();
        for (; times > 1; --times) {
            Window().PressAgain();
            Window().Release();
        }
    }
    template <typename Control>
    Control& Find(std::string_view text = {})
    {
        for (CControl* c = port_.GetModalGroup()->GetFirstControl(); c != nullptr; c = c->GetNext())
            if (auto* found = dynamic_cast<Control*>(c);
                found != nullptr && (text.empty() || found->GetText() == text))
                return *found;
        throw std::runtime_error("no such control");
    }
    std::string Rows()
    {
        std::string rows;
        auto& list = Find<CControlList>();
        for (int i = 0; i < list.GetItemCount(); ++i)
            rows += list.GetItem(i)->text + (list.GetValue() == static_cast<float>(i) ? "*|" : "|");
        return rows;
    }
    static CHeadlessWindow& Window() { return *CHeadlessWindow::Newest(); }

    test::CTemporaryFolder folder_;
    test::CEnvironment environment_;
    CHostCalls later_;
    CTestPort port_{{500, 600}};
    std::unique_ptr<CFileDialog> dialog_;
};

TEST_F(FileChooser, ListsFoldersFirstInNaturalOrderAndOnlyWhatFits)
{
    OpenDialog(EKind::Open, "Lead 10");
    EXPECT_EQ(Rows(), "Bass|Pad 9|Pad 10|Lead 1.FXP|lead 2.fxp|Lead 10.fxp*|");
    auto& filter = Find<CControlMenu>("Program (*.fxp)");
    ClickOn(filter);
    Type("\v\v\v\n"); // the menu's own: from the first to the third
    EXPECT_EQ(filter.GetText(), "All (*)");
    EXPECT_EQ(Rows(), "Bass|Pad 9|Pad 10|Lead 1.FXP|lead 2.fxp|Lead 10.fxp|notes.txt|own.keldra|");
    EXPECT_EQ(dialog_->Poll(), EState::Open);
}

TEST_F(FileChooser, AnswersToTheKeyboard)
{
    struct Case {
        EKind kind;
        const char* name; ///< to begin with
        const char* keys;
        EState state;
        const char* path; ///< in the folder
    };
    const std::string away = folder_.Path("Bass/../Pad 9/b.fxp") + "\n";
    const Case kCases[] = {
        {EKind::Open, "", "lead 2.fxp\n", EState::Chosen, "lead 2.fxp"},
        {EKind::Open, "", "Lead 10\n", EState::Chosen, "Lead 10.fxp"}, // the filter's extension
        {EKind::Open, "", "LEAD\n", EState::Chosen, "Lead 1.FXP"},     // the first that begins so
        {EKind::Open, "lead 2", "\n", EState::Chosen, "lead 2.fxp"},
        {EKind::Open, "", "\v\n\v\n", EState::Chosen, "Bass/Deep.fxp"},       // into the folder
        {EKind::Open, "", "Bass\n\b\v\n\v\n", EState::Chosen, "Pad 9/b.fxp"}, // and out of it
        {EKind::Open, "", away.c_str(), EState::Chosen, "Pad 9/b.fxp"},
        {EKind::Open, "", "~/Pad 9/b\n", EState::Chosen, "Pad 9/b.fxp"},
        {EKind::Open, "", "../nowhere/b.fxp\n", EState::Open, ""},
        {EKind::Open, "", "nothing\n\n", EState::Open, ""},
        {EKind::Open, "", "\n", EState::Open, ""},
        {EKind::Open, "", "Lead\x1b", EState::Cancelled, ""},
        {EKind::Save, "Init", "\n", EState::Chosen, "Init"},
        {EKind::Save, "Init", "x y\n", EState::Chosen, "x y"},                // typing replaces it
        {EKind::Save, "Init", "\v\n\v\b\n\tIt\n", EState::Chosen, "Bass/It"}, // in, out, in again
        {EKind::Save, "Init", "\v\t\n", EState::Chosen, "Init"}, // a folder's name isn't taken
        {EKind::Save, "Init", "no/where\n", EState::Open, ""},
        {EKind::Save, "Init", "lead 2.fxp\n", EState::Open, ""}, // asks
        {EKind::Save, "Init", "lead 2.fxp\n\n", EState::Chosen, "lead 2.fxp"},
        {EKind::Save, "Init", "lead 2.fxp\n\x1b\x1b", EState::Cancelled, ""},
        {EKind::Save, "Init", "lead 2.fxp\n\x1b\b\b\n", EState::Chosen, "lead 2.f"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.keys);
        OpenDialog(c.kind, c.name);
        Type(c.keys);
        EXPECT_EQ(dialog_->Poll(), c.state);
        EXPECT_EQ(dialog_->Path(), c.state == EState::Chosen ? folder_.Path(c.path) : "");
        EXPECT_EQ(port_.GetModalGroup() == nullptr, c.state != EState::Open);
        dialog_.reset();
        EXPECT_EQ(port_.GetModalGroup(), nullptr);
    }
    Window().Tick();
    EXPECT_EQ(port_.GetGroup(0), nullptr); // not one is left
}

TEST_F(FileChooser, AnswersToTheMouse)
{
    OpenDialog(EKind::Save, "Init");
    ClickOn(Find<CControlList>(), 2); // the first row: a folder
    EXPECT_EQ(Rows(), "Deep.fxp|");
    ClickOn(Find<CControlList>(), 2); // a file that is there
    const PixelRect replace = Find<CControlButton>("Replace").GetRect();
    Window().MoveTo({replace.x + 9, replace.y + 9});
    Window().Press();
    Window().LoseCapture(); // as when the host hides its window
    EXPECT_EQ(dialog_->Poll(), EState::Open);
    ClickOn(Find<CControlButton>("Keep"));
    ClickOn(Find<CControlButton>("Save"));
    ClickOn(Find<CControlList>()); // no answer: the question goes, nothing is chosen by it
    ClickOn(Find<CControlButton>("Up"));
    EXPECT_EQ(Rows(), "Bass*|Pad 9|Pad 10|Lead 1.FXP|lead 2.fxp|Lead 10.fxp|");
    Window().MoveTo({1, 1});
    Window().Press(); // outside: nothing for the panel, and nothing is lost
    Window().Release();
    Window().Focus(false);
    Window().Focus(true);
    Window().Tick(3);
    Type("\f\bx"); // to the list, up a folder, and a name again
    EXPECT_EQ(dialog_->Poll(), EState::Open);
    ClickOn(Find<CControlButton>("Cancel"));
    EXPECT_EQ(dialog_->Poll(), EState::Cancelled);
    EXPECT_EQ(port_.TakeLog().find('C'), std::string::npos);
}

TEST_F(FileChooser, WaitsForAHandAndGoesWithItsWindow)
{
    auto& knob = port_.GetRootGroup()->Add(std::make_unique<CControlKnob>(3));
    knob.SetRect({10, 10, 36, 36});
    Window().MoveTo({20, 20});
    Window().Press();
    OpenDialog(EKind::Open);
    EXPECT_EQ(port_.GetModalGroup(), knob.GetGroup()); // the knob's pop-up
    Window().Release();
    EXPECT_EQ(dialog_->Poll(), EState::Open);
    EXPECT_NE(port_.GetModalGroup(), nullptr);
    EXPECT_EQ(port_.TakeLog(), "F P3 R3");
    const std::uint32_t shown = Window().PixelAt(300, 250);
    dialog_.reset();
    EXPECT_NE(Window().PixelAt(300, 250), shown); // the panel is back
    OpenDialog(EKind::Open);
    port_.RemoveGroup(port_.GetModalGroup());
    EXPECT_EQ(dialog_->Poll(), EState::Cancelled);
}

} // namespace
} // namespace keldra
