#include "gui/ControlMenu.h"

#include <functional>
#include <gtest/gtest.h>

#include "gui/ControlKnob.h"
#include "gui/ControlList.h"
#include "gui/ToolkitMenus.h"
#include "gui/ValueField.h"
#include "tests/gui/TestPort.h"

namespace keldra {
namespace {

class ControlMenu : public CControlTest<CControlMenu> {
protected:
    ControlMenu() : CControlTest(5, {200, 250, 37, 13}, {521, 855}) {}

    void AddItems(int count)
    {
        for (int i = 0; i < count; ++i)
            control_.AddItem(std::to_string(i + 1));
    }
    void ClickRow(int row)
    {
        const PixelRect rect = control_.ItemRect(row);
        Click({rect.x + 3, rect.y + 3});
    }
};

TEST_F(ControlMenu, OpensBesideItselfAndStaysInTheWindow)
{
    struct Case {
        const char* what;
        PixelRect control;
        int items;
        PixelRect popup;
        bool scrolls;
    };
    // "9" is 5 wide: 5 + 2 x 25 = 55; "64" 11.
    constexpr Case kCases[] = {
        {"centred at its right", {200, 250, 37, 13}, 5, {239, 201, 55, 110}, false},
        {"at the top", {200, 5, 37, 13}, 5, {239, 0, 55, 110}, false},
        {"at the bottom", {200, 500, 37, 13}, 5, {239, 411, 55, 110}, false},
        {"to the left near the right edge", {760, 250, 37, 13}, 5, {703, 201, 55, 110}, false},
        {"just not to the left", {756, 250, 37, 13}, 5, {795, 201, 55, 110}, false},
        {"as wide as the control", {200, 250, 90, 13}, 5, {292, 201, 90, 110}, false},
        {"too long", {341, 93, 37, 13}, 64, {380, 0, 73, 506}, true}, // 27 rows of 18, and 20
    };
    for (const Case& c : kCases) {
        control_.ClearItems();
        AddItems(c.items);
        control_.SetRect(c.control);
        Click({c.control.x + 1, c.control.y + 1});
        EXPECT_TRUE(control_.IsPopupOpen()) << c.what;
        EXPECT_EQ(control_.GetPopupRect(), c.popup) << c.what;
        EXPECT_EQ(control_.ItemRect(0).width, c.popup.width - 22 - (c.scrolls ? 12 : 0)) << c.what;
        Click({1, 1});
        EXPECT_FALSE(control_.IsPopupOpen()) << c.what;
        EXPECT_EQ(port_.TakeLog(), "") << c.what;
    }
}

TEST_F(ControlMenu, ChoosesTheRowOfTheSecondPress)
{
    control_.AddItem("Import CC Map");
    control_.AddSeparator();
    control_.AddItem("Save Program");
    control_.SetItemDimmed(2, true); // can be chosen all the same
    struct Case {
        int row;
        const char* log;
    };
    constexpr Case kCases[] = {{0, "P5 C5=0 R5"}, {1, ""}, {2, "P5 C5=2 R5"}, {2, "P5 C5=2 R5"}};
    for (const Case& c : kCases) {
        Click({201, 251});
        EXPECT_TRUE(port_.IsCapturing()); // though no button is held
        ClickRow(c.row);
        EXPECT_EQ(port_.TakeLog(), c.log) << c.row;
        EXPECT_FALSE(port_.IsCapturing());
    }
    port_.Refuse(false, true);
    Click({201, 251});
    ClickRow(0);
    EXPECT_EQ(port_.TakeLog(), "P5 C5=0 R5");
    EXPECT_FLOAT_EQ(control_.GetValue(), 2.0f);
    window_.MoveTo({201, 251});
    window_.Press();
    window_.PressAgain(); // a double click opens and closes
    EXPECT_FALSE(control_.IsPopupOpen());
    port_.TakeLog();
    window_.Press();
    window_.Key(kKeyDown);
    window_.Key(kKeyUp); // to the row that is highlighted, not to the pointer
    window_.Press();
    EXPECT_FALSE(control_.IsPopupOpen());
    EXPECT_EQ(port_.TakeLog(), "");
}

TEST_F(ControlMenu, ScrollsByWheelThumbAndKeys)
{
    AddItems(64);
    Click({201, 251});
    window_.Wheel(-3.0f);
    ClickRow(0);
    EXPECT_EQ(port_.TakeLog(), "P5 C5=3 R5");
    Click({201, 251});
    window_.Wheel(-1000.0f);
    ClickRow(26); // the last of 27
    EXPECT_EQ(port_.TakeLog(), "P5 C5=63 R5");

    Click({201, 251});
    const PixelRect popup = control_.GetPopupRect();
    window_.MoveTo({popup.x + popup.width - 15, 20}); // on the scroll bar
    window_.Press();
    window_.MoveBy(0, 486 / 2); // half of the track: half of the items
    window_.Release();
    EXPECT_TRUE(control_.IsPopupOpen());
    ClickRow(0);
    EXPECT_EQ(port_.TakeLog(), "P5 C5=32 R5");

    Click({201, 251});
    EXPECT_TRUE(window_.Key(kKeyDown)); // to the chosen one, out of sight
    EXPECT_TRUE(window_.Key(kKeyDown));
    EXPECT_TRUE(window_.Key(kKeyEnter));
    EXPECT_EQ(port_.TakeLog(), "P5 C5=33 R5");
    control_.SetValue(26.0f); // in the last row: one more scrolls by one
    Click({201, 251});
    window_.Key(kKeyDown);
    window_.Key(kKeyDown);
    ClickRow(0);
    EXPECT_EQ(port_.TakeLog(), "P5 C5=1 R5");
    Click({201, 251});
    window_.Key(kKeyEscape);
    EXPECT_FALSE(control_.IsPopupOpen());
    Click({201, 251});
    window_.LoseCapture();
    EXPECT_FALSE(control_.IsPopupOpen());
    EXPECT_EQ(port_.TakeLog(), "");
}

TEST_F(ControlMenu, StepsByTheWheelOnlyWhereAParameterIsBound)
{
    control_.AddItem("a");
    control_.AddSeparator();
    control_.AddItem("b");
    control_.SetValue(0.0f);
    window_.MoveTo({201, 251});
    window_.Wheel(-1.0f);
    window_.Wheel(-1.0f);
    window_.Wheel(1.0f);
    EXPECT_EQ(port_.TakeLog(), "P5 C5=2 R5 P5 C5=0 R5");
    control_.SetParamIndex(-1); // a menu of commands
    window_.Wheel(-1.0f);
    EXPECT_EQ(port_.TakeLog(), "");
}

class ControlList : public CControlTest<CControlList> {
protected:
    ControlList() : CControlTest(6, {20, 20, 100, 100})
    {
        control_.SetMargins(4, 4); // five rows of 18
        for (int i = 0; i < 12; ++i)
            control_.AddItem(std::to_string(i));
    }
};

TEST_F(ControlList, ChoosesByPressWheelAndKeys)
{
    window_.MoveTo({30, 24 + 18});
    window_.Press();
    window_.Release();
    EXPECT_EQ(port_.TakeLog(), "P6 C6=1 R6");
    window_.Wheel(-2.0f);
    window_.Press();
    EXPECT_EQ(port_.TakeLog(), "P6 C6=3 R6");
    EXPECT_TRUE(window_.Key(kKeyDown));
    EXPECT_TRUE(window_.Key(kKeyPageDown));
    EXPECT_TRUE(window_.Key(kKeyEnd));
    EXPECT_TRUE(window_.Key(kKeyEnd)); // is there
    EXPECT_TRUE(window_.Key(kKeyUp));
    EXPECT_FALSE(window_.Key('a'));
    EXPECT_EQ(port_.TakeLog(), "P6 C6=4 R6 P6 C6=9 R6 P6 C6=11 R6 P6 C6=10 R6");
    EXPECT_FLOAT_EQ(control_.GetScrollOffset(), 7.0f);
    control_.ShowItem(2);
    EXPECT_FLOAT_EQ(control_.GetScrollOffset(), 2.0f);
    control_.SetScrollOffset(99.0f);
    EXPECT_FLOAT_EQ(control_.GetScrollOffset(), 7.0f);
    control_.ClearItems();
    EXPECT_FLOAT_EQ(control_.GetScrollOffset(), 0.0f);
    window_.Press();
    EXPECT_FALSE(window_.Key(kKeyDown));
    EXPECT_EQ(port_.TakeLog(), "");
}

TEST(ToolkitMenus, AnswerOnceWhateverHappens)
{
    struct Listener : CPopupMenuClient {
        void OnMenuChoice(int id) override { answers.push_back(id); }
        std::vector<int> answers;
    };
    const PopupMenuItem items[] = {{7, "Learn", true}, {0, "", false, false, true}, {9, "Forget"}};
    Listener listener;
    CTestPort port({521, 855});
    CToolkitMenus menus;
    {
        const std::unique_ptr<CPopupMenu> menu = CPopupMenu::Create();
        menu->Show(items, 1, listener); // no window
        CHeadlessWindow& window = port.Show();
        window.MoveTo({100, 200});
        menu->Show(items, window.Handle(), listener);
        menu->Show(items, window.Handle(), listener); // instead of the first
        window.MoveTo({130, 173 + 10 + 2 * 18 + 4});
        window.Press();
        EXPECT_EQ(listener.answers, (std::vector<int>{0, 0, 9}));
        window.MoveTo({100, 200});
        menu->Show(items, window.Handle(), listener);
        window.MoveTo({130, 173 + 10 + 4}); // can't be chosen
        window.Press();
        EXPECT_EQ(listener.answers, (std::vector<int>{0, 0, 9, 0}));
        menu->Show(items, window.Handle(), listener);
    }
    EXPECT_EQ(listener.answers.size(), 4u);   // whose client is not called any more
    EXPECT_EQ(port.GetModalGroup(), nullptr); // gone with its menu
}

TEST(TextLine, IsEditedByKeys)
{
    struct Case {
        std::vector<int> keys;
        const char* text;
        std::size_t caret;
    };
    const Case kCases[] = {
        {{}, "12 Hz", 5},
        {{'4', '4', '0'}, "440", 3}, // replaces what was selected
        {{kKeyBackspace}, "", 0},
        {{kKeyLeft, 'x'}, "x12 Hz", 1},
        {{kKeyRight, 'x'}, "12 Hzx", 6},
        {{kKeyEnd, kKeyBackspace, kKeyBackspace}, "12 ", 3},
        {{kKeyHome, kKeyDelete, kKeyDelete, kKeyDelete}, "Hz", 0},
        {{kKeyHome, kKeyLeft, kKeyBackspace, 'a', kKeyRight, 'b'}, "a1b2 Hz", 3},
        {{0xe4, 0x1f, kKeyTab}, "12 Hz", 5}, // not ASCII: not taken
    };
    for (const Case& c : kCases) {
        CTextLine line("12 Hz");
        for (const int key : c.keys)
            line.Press(key);
        EXPECT_EQ(line.Text(), c.text);
        EXPECT_EQ(line.Caret(), c.caret) << c.text;
    }
    CTextLine full("");
    for (int i = 0; i < 100; ++i)
        full.Press('1');
    EXPECT_EQ(full.Text().size(), 32u);
}

class ValueField : public CControlTest<CControlKnob> {
protected:
    ValueField() : CControlTest(3, {100, 50, 36, 36}) { Click({110, 60}); }

    void Type(std::string_view text)
    {
        for (const char c : text)
            EXPECT_TRUE(Window().Key(c)); // none of them is the host's
    }
    static CHeadlessWindow& Window() { return *CHeadlessWindow::Newest(); } // also the next one
    bool IsOpen() const { return port_.GetGroup(0) != nullptr; }
};

TEST_F(ValueField, IsGivenUpWithoutATrace)
{
    const std::pair<const char*, std::function<void()>> kCases[] = {
        {"Escape", [&] { Window().Key(kKeyEscape); }},
        {"the window loses the focus", [&] { Window().Focus(false); }},
        {"a text that isn't understood, and a press outside",
         [&] {
             Window().Focus(true);
             Window().Key(kKeyBackspace);
             Window().Key(kKeyBackspace);
             Type("loud");
             Window().Key(kKeyEnter);
             EXPECT_TRUE(IsOpen()); // stays for correction
             Window().MoveTo({10, 10});
             Window().Press();
         }},
        {"the window is closed", [&] { port_.Close(); }},
        {"its control goes",
         [&] {
             port_.RemoveControl(&control_);
             Window().Key(kKeyEnter);
         }},
    };
    for (const auto& [what, end] : kCases) {
        EXPECT_TRUE(port_.Open(7));
        port_.OpenValueField(control_);
        EXPECT_TRUE(IsOpen()) << what;
        Type("99");
        port_.TakeLog();
        end();
        EXPECT_FALSE(IsOpen()) << what;
        EXPECT_EQ(port_.TakeLog().find('C'), std::string::npos) << what;
        EXPECT_EQ(port_.GetModalGroup(), nullptr) << what;
    }
}

} // namespace
} // namespace keldra
