// A user who does anything: pointer, wheel and keys in any order all over the panel, its menus, the
// browser and the about box; files dropped, dialogs answered late, the window lost in mid-drag, the
// editor closed and opened again, and the host setting and rendering in between.

#include <string>

#include "editor/PanelTable.h"
#include "fuzz/HostileVstHost.h"
#include "fuzz/Machine.h"
#include "hosts/module/VstPluginMain.cpp"
#include "platform/headless/HeadlessWindow.h"
#include "platform/headless/ScriptedFileDialogs.h"

using namespace keldra;
using namespace keldra::vst;

namespace {

class CUser {
public:
    CUser(const fuzz::CMachine& machine, const std::uint8_t* data, std::size_t size)
        : machine_(machine), input_(data, size), effect_(&fuzz::KeptEffect(VSTPluginMain))
    {
        dialogs_.answers.clear();
    }
    void DoAll()
    {
        Dispatch(effEditOpen);
        while (!input_.IsEmpty()) {
            CHeadlessWindow* const window = CHeadlessWindow::Newest();
            const int step = input_.UpTo(19);
            if (window == nullptr || (step == 0 && input_.OneIn(4)))
                DoAsHost();
            else
                DoAsUser(step, *window);
        }
        fuzz::ResetEffect(*effect_);
    }

private:
    void Dispatch(VstInt32 opcode)
    {
        effect_->dispatcher(effect_, opcode, 0, 0, reinterpret_cast<void*>(7), 0.0f);
    }
    /// Half of the time the middle of a control.
    PixelPoint Somewhere()
    {
        if (input_.ConsumeBool())
            return {input_.Byte() * 4 - 80, input_.Byte() * 3 - 100};
        const auto& rect =
            kPanelControls[static_cast<std::size_t>(input_.Byte()) % std::size(kPanelControls)]
                .rect;
        return {rect.x + rect.width / 2, rect.y + rect.height / 2};
    }
    void DoAsUser(int step, CHeadlessWindow& window)
    {
        constexpr auto kLeft = EMouseButton::Left;
        const auto button = input_.PickValueInArray(
            {kLeft, kLeft, kLeft, EMouseButton::Right, EMouseButton::Middle});
        const auto modifiers = static_cast<unsigned>(input_.UpTo(7));
        const int some = input_.Byte();
        if (step < 6) {
            window.MoveTo(Somewhere());
            window.Press(button, modifiers);
        } else if (step < 8) {
            window.Release(button);
        } else if (step < 9) {
            window.PressAgain(button, modifiers);
        } else if (step < 12) {
            window.Hold(modifiers);
            window.MoveBy(some - 128, input_.Byte() - 128);
        } else if (step < 14) {
            window.Wheel(static_cast<float>(some - 128) / 4.0f, modifiers, input_.OneIn(4));
        } else if (step < 17) {
            static_cast<void>(
                window.Key(input_.PickValueInArray({some, kKeyEnter + some % 13, some << 8, -some}),
                           !input_.OneIn(4)));
        } else if (step < 18) {
            window.Tick(some % 40);
        } else {
            DoSomethingRare(window);
        }
    }
    void DoSomethingRare(CHeadlessWindow& window)
    {
        using EState = CFileDialog::EState;
        const std::string program = machine_.Path("Banks/Bank 0/Program 2.fxp");
        const PixelPoint at = Somewhere();
        switch (input_.UpTo(6)) {
        case 0:
            return window.Drop(input_.PickValueInArray({program, program + "x", std::string()}),
                               at);
        case 1:
            return window.Expose({at.x, at.y, 50, 900});
        case 2:
            return window.LoseCapture();
        case 3:
            return window.Focus(input_.ConsumeBool());
        case 4:
            dialogs_.answers.push_back(
                {input_.PickValueInArray({EState::Chosen, EState::Cancelled, EState::Unavailable}),
                 machine_.Path("Banks/Bank 1/Saved"), input_.UpTo(3)});
            return;
        default:
            if (input_.OneIn(8))
                window.Lose();
        }
    }
    void DoAsHost()
    {
        std::array<float, 200> left{}, right{};
        float* outputs[] = {left.data(), right.data()};
        switch (input_.UpTo(3)) {
        case 0:
            return Dispatch(effEditOpen);
        case 1:
            return Dispatch(effEditClose);
        case 2:
            return effect_->setParameter(effect_, input_.UpTo(155), input_.AnyFloat());
        default:
            effect_->processReplacing(effect_, nullptr, outputs, 200);
            fuzz::MustBeFinite(left);
            fuzz::MustBeFinite(right);
        }
    }

    const fuzz::CMachine& machine_;
    fuzz::CInput input_;
    AEffect* const effect_;
    CScriptedFileDialogs& dialogs_ = static_cast<CScriptedFileDialogs&>(SystemFileDialogs());
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const fuzz::CMachine machine;
    CUser(machine, data, size).DoAll();
    return CHeadlessWindow::OpenCount() == 0 ? 0 : (std::abort(), 0);
}
