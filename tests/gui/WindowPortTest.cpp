#include "gui/WindowPort.h"

#include <cmath>
#include <gtest/gtest.h>

#include "gui/ControlDisplay.h"
#include "tests/gui/TestPort.h"

namespace keldra {
namespace {

/// Says what it is told.
class CProbe : public CControl {
public:
    CProbe(int index, const PixelRect& rect) : CControl(index) { SetRect(rect); }
    void Draw() override { Say({"draw"}); }
    bool OnDoubleClick() override { return Say({"double"}); }
    bool OnMouseDown() override
    {
        if (drags)
            BeginDrag(hidesCursor);
        return Say({"down"});
    }
    bool OnMouseUp() override
    {
        EndDrag();
        return Say({"up"});
    }
    bool OnMouseMove() override
    {
        const auto [dx, dy] = GetWindowPort()->GetMouseMovement();
        return Say({"move", std::to_string(dx), ",", std::to_string(dy)});
    }
    bool OnWheel(int axis, float steps) override
    {
        return Say({"wheel", std::to_string(axis), ",", std::to_string(static_cast<int>(steps))}) &&
               wantsKeys;
    }
    bool OnKeyDown(int key) override { return Say({"key", std::to_string(key)}) && wantsKeys; }
    void OnTimer() override { Say({"tick"}); }
    void OnFocus() override { Say({"focus"}); }
    void OnKillFocus() override { Say({"nofocus"}); }
    void OnDragLost() override
    {
        Say({"lost"});
        EndDrag();
    }

    bool drags = false;
    bool hidesCursor = false;
    bool wantsKeys = false;

private:
    bool Say(std::initializer_list<std::string_view> what)
    {
        std::string text = std::to_string(GetParamIndex());
        for (const std::string_view part : what)
            text += part;
        static_cast<CTestPort*>(GetWindowPort())->Add({text});
        return true;
    }
};

class WindowPort : public testing::Test {
protected:
    CProbe& Add(int index, const PixelRect& rect, CControlGroup* group = nullptr)
    {
        return (group != nullptr ? group : port_.GetRootGroup())
            ->Add(std::make_unique<CProbe>(index, rect));
    }
    CControlGroup& AddGroup()
    {
        auto group = std::make_unique<CControlGroup>();
        CControlGroup& added = *group;
        EXPECT_TRUE(port_.AddGroup(std::move(group)));
        return added;
    }

    CTestPort port_;
};

TEST_F(WindowPort, OpensClosesAndOpensAgain)
{
    CHeadlessWindow::RefuseToOpen(true);
    EXPECT_FALSE(port_.Open(7));
    CHeadlessWindow::RefuseToOpen(false);
    EXPECT_FALSE(port_.IsOpen());
    port_.PresentAll(); // closed: nothing to do
    port_.RedrawAll();
    CHeadlessWindow& window = port_.Show(); // with the size that it had
    EXPECT_EQ(window.Size(), (PixelSize{200, 300}));
    EXPECT_EQ(window.Parent(), 7u);
    EXPECT_EQ(window.PixelAt(299, 199), Rgba(65, 65, 65, 0)); // no background: grey
    EXPECT_TRUE(port_.Open(8));
    EXPECT_EQ(CHeadlessWindow::OpenCount(), 1);

    EXPECT_FALSE(port_.SetSize({200, 300}));
    EXPECT_FALSE(port_.SetSize({0, 300}));
    EXPECT_TRUE(port_.SetSizeWH(310, 210));
    EXPECT_EQ(window.Size(), (PixelSize{210, 310}));
    EXPECT_EQ(port_.GetBackBuffer()->GetSize(), (PixelSize{210, 310}));
    EXPECT_TRUE(port_.SetPosition({3, 4}));
    EXPECT_EQ(window.Place(), (PixelPoint{3, 4}));

    port_.Close();
    EXPECT_EQ(CHeadlessWindow::OpenCount(), 0);
    EXPECT_EQ(port_.GetBackBuffer(), nullptr);
    port_.Close();
    const OpenInfo info{9};
    EXPECT_TRUE(port_.OpenWith(&info));
    port_.Close();
    EXPECT_TRUE(port_.Reopen());
    EXPECT_EQ(CHeadlessWindow::Newest()->Parent(), 9u);
    EXPECT_EQ(CHeadlessWindow::Newest()->Place(), (PixelPoint{3, 4}));
    EXPECT_EQ(CHeadlessWindow::Newest()->Size(), (PixelSize{210, 310}));
}

TEST_F(WindowPort, SurvivesTheLossOfItsWindowAndOpensInANewOne)
{
    CProbe& probe = Add(1, {0, 0, 50, 50});
    probe.drags = true;
    CHeadlessWindow& window = port_.Show();
    probe.SetFocus();
    window.MoveTo({10, 10});
    window.Press();
    port_.TakeLog();
    window.Lose();
    EXPECT_EQ(port_.TakeLog(), "1lost 1nofocus");
    EXPECT_FALSE(port_.IsCapturing());
    EXPECT_TRUE(port_.IsOpen()); // the host has not closed it yet
    port_.RedrawAll();
    port_.PresentAll();
    EXPECT_TRUE(port_.Open(8));
    EXPECT_EQ(CHeadlessWindow::OpenCount(), 1);
    EXPECT_EQ(CHeadlessWindow::Newest()->Parent(), 8u);
}

TEST_F(WindowPort, GivesAClickToTheFirstControlThere)
{
    Add(1, {0, 0, 50, 50});
    Add(2, {0, 0, 100, 50});
    Add(3, {0, 50, 50, 50}).SetHidden(true);
    Add(4, {0, 50, 50, 50});
    CHeadlessWindow& window = port_.Show();
    port_.TakeLog();
    constexpr std::pair<PixelPoint, const char*> kCases[] = {
        {{49, 49}, "F 1down 1up"},
        {{50, 49}, "2down 2up"},
        {{100, 10}, ""},
        {{10, 60}, ""}, // a hidden control still shadows the one behind it
    };
    for (const auto& [at, log] : kCases) {
        window.MoveTo(at);
        const std::string moves = port_.TakeLog();
        window.Press();
        window.Release();
        EXPECT_EQ(port_.TakeLog(), log) << at.x << ", " << at.y;
    }
    port_.GetRootGroup()->SetHidden(true);
    window.MoveTo({10, 10});
    window.Press();
    window.Wheel(1.0f);
    window.Tick();
    port_.RedrawAll();
    EXPECT_EQ(port_.TakeLog(), "");
}

TEST_F(WindowPort, ReadsModifiersButtonsAndWheel)
{
    CProbe& probe = Add(1, {0, 0, 50, 50});
    CHeadlessWindow& window = port_.Show();
    window.MoveTo({10, 10});
    constexpr std::pair<unsigned, EHeldKey> kCases[] = {
        {0, EHeldKey::None},
        {kModifierCtrl, EHeldKey::Ctrl},
        {kModifierCtrl | kModifierShift, EHeldKey::Shift},
        {kModifierCtrl | kModifierShift | kModifierAlt, EHeldKey::Alt},
    };
    for (const auto& [modifiers, held] : kCases) {
        window.Press(EMouseButton::Middle, modifiers);
        EXPECT_EQ(port_.GetHeldKey(), held);
    }
    EXPECT_EQ(port_.GetMouseButton(), EMouseButton::Middle);
    EXPECT_FALSE(window.HasFocus()); // only the left button takes it
    window.Press();
    EXPECT_TRUE(window.HasFocus());
    port_.TakeLog();
    window.Wheel(1.0f);
    window.Wheel(-2.0f);
    window.Wheel(1.0f, 0, true);
    EXPECT_EQ(port_.TakeLog(), "1wheel0,1 1wheel0,-2 1wheel1,1");
    EXPECT_FALSE(window.Key(' ')); // nobody wants it: it is the host's
    probe.wantsKeys = true;
    EXPECT_TRUE(window.Key(' '));
    window.Drop("/tmp/a.fxp", {20, 30});
    EXPECT_EQ(port_.TakeLog(), "1key32 1key32 D/tmp/a.fxp");
    EXPECT_EQ(port_.GetMousePosition(), (PixelPoint{20, 30}));
}

TEST_F(WindowPort, FollowsADragWhereverThePointerGoes)
{
    CProbe& probe = Add(1, {0, 0, 50, 50});
    Add(2, {50, 0, 50, 50});
    probe.drags = true;
    CHeadlessWindow& window = port_.Show();
    window.MoveTo({10, 10});
    window.Press();
    EXPECT_TRUE(window.IsCaptured());
    EXPECT_FALSE(window.CursorIsHidden());
    EXPECT_TRUE(probe.IsDragging());
    port_.TakeLog();
    window.MoveTo({60, 10});
    window.MoveTo({-500, 900});
    window.Release();
    window.MoveTo({60, 10});
    EXPECT_EQ(port_.TakeLog(), "1move50,0 1move-560,890 1up 2move560,-890");
    EXPECT_FALSE(window.IsCaptured());

    probe.hidesCursor = true; // endless, and the cursor is back where it began
    window.MoveTo({10, 10});
    window.Press();
    EXPECT_TRUE(window.CursorIsHidden());
    port_.TakeLog();
    for (int i = 0; i < 3; ++i)
        window.MoveBy(0, -2000);
    window.MoveBy(0, 0);
    EXPECT_EQ(port_.TakeLog(), "1move0,-2000 1move0,-2000 1move0,-2000");
    window.Release();
    EXPECT_EQ(window.Cursor(), (PixelPoint{10, 10}));

    window.Press();
    port_.TakeLog();
    window.LoseCapture();
    EXPECT_EQ(port_.TakeLog(), "1lost");
    EXPECT_EQ(port_.GetCaptureControl(), nullptr);
}

TEST_F(WindowPort, ShutsOtherGroupsOutWhileOneIsModal)
{
    Add(1, {0, 0, 50, 50});
    CControlGroup& over = AddGroup();
    Add(2, {100, 100, 50, 50}, &over);
    CHeadlessWindow& window = port_.Show();
    EXPECT_FALSE(port_.RemoveGroup(nullptr));
    EXPECT_FALSE(port_.RemoveGroup(port_.GetRootGroup()));
    over.SetId(5);
    EXPECT_EQ(port_.FindGroup(5), &over);
    EXPECT_EQ(port_.GetGroup(-1), port_.GetRootGroup());
    EXPECT_EQ(port_.GetGroup(0), &over);
    EXPECT_EQ(port_.GetGroup(1), nullptr);

    over.SetModal(true);
    over.SetModal(true);
    over.SetModal(false);
    EXPECT_TRUE(over.IsModal()); // requests nest
    port_.TakeLog();
    window.MoveTo({10, 10});
    window.Press();
    window.Wheel(1.0f);
    window.Tick();
    port_.RedrawAll();
    port_.RefreshControl(port_.FindControl(1), true);
    port_.RefreshControl(port_.FindControl(2), true);
    EXPECT_EQ(port_.TakeLog(), "F 2wheel0,1 2tick 1draw 2draw 2draw");
    port_.SetControlValueRedraw(1, 0.5f); // covered: stored, not drawn
    EXPECT_EQ(port_.TakeLog(), "");
    EXPECT_FLOAT_EQ(port_.FindControl(1)->GetValue(), 0.5f);
    EXPECT_FALSE(port_.SetControlValue(1, 0.5f));

    over.SetHidden(true); // a modal group that isn't seen stops nothing
    window.Press();
    EXPECT_EQ(port_.TakeLog(), "");
    over.SetModal(false);
    window.Press();
    EXPECT_EQ(port_.TakeLog(), "1down");
    EXPECT_TRUE(port_.RemoveGroup(&over));
    EXPECT_EQ(port_.FindControl(2), nullptr);
    EXPECT_EQ(port_.FindControl(-1), nullptr);
}

TEST_F(WindowPort, TellsAnActiveControlAlone)
{
    Add(1, {0, 0, 50, 50});
    CProbe& active = Add(2, {60, 0, 50, 50});
    CHeadlessWindow& window = port_.Show();
    active.SetActive(true);
    EXPECT_TRUE(port_.IsRootModal());
    EXPECT_EQ(port_.GetModalChild(), &active);
    port_.TakeLog();
    window.MoveTo({10, 10});
    window.Press();
    window.Key('x');
    window.Tick();
    port_.RedrawAll(); // drawn last, over the others
    EXPECT_EQ(port_.TakeLog(), "2move11,11 F 2down 2key120 2tick 1draw 2draw");
    active.SetActive(false);
    EXPECT_FALSE(port_.IsRootModal());
}

TEST_F(WindowPort, PassesTheKeyboardFocusOn)
{
    CProbe& first = Add(1, {0, 0, 50, 50});
    CProbe& second = Add(2, {60, 0, 50, 50});
    CControlGroup& other = AddGroup();
    CProbe& third = Add(3, {60, 60, 50, 50}, &other);
    CHeadlessWindow& window = port_.Show();
    port_.TakeLog();
    first.SetFocus();
    first.SetFocus();
    second.SetFocus();
    EXPECT_TRUE(second.HasFocus());
    third.SetFocus();
    EXPECT_FALSE(second.HasFocus());
    EXPECT_EQ(port_.TakeLog(), "1focus 1nofocus 2focus 2nofocus 3focus");
    window.Focus(true);
    window.Focus(false); // the window loses it: so does the control
    EXPECT_EQ(port_.TakeLog(), "F 3nofocus");
    EXPECT_EQ(port_.GetFocusGroup(), nullptr);
}

TEST_F(WindowPort, LetsGoOfWhatIsRemovedOrHidden)
{
    CProbe& first = Add(1, {0, 0, 50, 50});
    CProbe& second = Add(2, {0, 0, 50, 50});
    Add(3, {0, 0, 50, 50});
    first.drags = second.drags = true;
    CHeadlessWindow& window = port_.Show();
    window.MoveTo({10, 10});
    first.SetFocus();
    window.Press();
    port_.TakeLog();
    EXPECT_EQ(port_.GetRootGroup()->RemoveControl(&first), &second);
    EXPECT_EQ(port_.TakeLog(), "1lost 1nofocus");
    EXPECT_FALSE(port_.IsCapturing());
    window.Press();
    EXPECT_TRUE(second.SetHidden(true));
    EXPECT_FALSE(second.SetHidden(true));
    EXPECT_EQ(port_.TakeLog(), "2down 2lost");
    EXPECT_FALSE(port_.IsCapturing());
    port_.GetRootGroup()->RemoveAllControls();
    EXPECT_EQ(port_.GetRootGroup()->GetFirstControl(), nullptr);
}

} // namespace
} // namespace keldra
