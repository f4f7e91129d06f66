// A user who does anything: pointer, wheel and keys in any order all over the panel, its menus, the
// browser and the about box; files dropped, dialogs answered late, the window lost in mid-drag, the
// editor closed and opened again, and the host setting and rendering in between.

#include <string>

#include "fuzz/HostileVstHost.h"
#include "fuzz/Machine.h"
#include "hosts/module/VstPluginMain.cpp"
#include "platform/headless/HeadlessWindow.h"
#include "platform/headless/ScriptedFileDialogs.h"
#include "tests/editor/panel/AnyUser.h"

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
            else if (!DoAnything(*window, input_, step))
                DoSomethingRare(*window);
        }
        fuzz::ResetEffect(*effect_);
    }

private:
    void Dispatch(VstInt32 opcode)
    {
        effect_->dispatcher(effect_, opcode, 0, 0, reinterpret_cast<void*>(7), 0.0f);
    }
    void DoSomethingRare(CHeadlessWindow& window)
    {
        using EState = CFileDialog::EState;
        const std::string program = machine_.Path("Banks/Bank 0/Program 2.fxp");
        const PixelPoint at = Somewhere(input_);
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
