#include "editor/PluginEditor.h"

#include <array>

#include "frame/ParameterTable.h"
#include "frame/PluginInstance.h"
#include "frame/PluginRenderer.h"
#include "frame/PluginWrapper.h"
#include "frame/Text.h"
#include "frame/ValueText.h"

namespace keldra {

namespace {

/// The native host's name as its binding enters it.
constexpr std::string_view kNativeHostProduct = "Dorno Wrapper";

bool IsParameter(int index)
{
    return index >= 0 && index < kParameterCount;
}
bool IsSeenByHost(int index)
{
    return index >= 0 && index < kHostParameterCount;
}

} // namespace

// --- From the host's threads ---

void CPluginEditor::Connect(CPluginRenderer& renderer, CPluginWrapper& host)
{
    const CUiLock lock;
    renderer_ = &renderer;
    host_ = &host;
}

EditorSize CPluginEditor::WindowSize() const
{
    const CUiLock lock;
    return {GetSize().height, GetSize().width};
}

bool CPluginEditor::Open(void* parent)
{
    const CUiLock lock;
    if (!CWindowPort::IsOpen()) { // nobody followed the values while it was closed
        if (renderer_ != nullptr) {
            shownPrograms_ = renderer_->Feedback().ProgramCount();
            renderer_->Feedback().TakeChangedParameters([](int) {});
        }
        SyncControls();
    }
    return CWindowPort::Open(reinterpret_cast<NativeHandle>(parent));
}

void CPluginEditor::Close()
{
    CWindowPort::Close();
    hostCalls_.Finish();
}

bool CPluginEditor::IsOpen() const
{
    const CUiLock lock;
    return CWindowPort::IsOpen();
}

void* CPluginEditor::WindowHandle() const
{
    const CUiLock lock;
    return reinterpret_cast<void*>(Handle());
}

// --- What controls do ---

bool CPluginEditor::OnControlPressed(CControl* control)
{
    if (control == nullptr || host_ == nullptr)
        return true;
    if (const int index = control->GetParamIndex(); IsSeenByHost(index))
        AfterEvent([host = host_, index] { host->BeginEdit(index); });
    return true;
}

void CPluginEditor::OnControlReleased(CControl* control)
{
    if (control == nullptr || host_ == nullptr)
        return;
    if (const int index = control->GetParamIndex(); IsSeenByHost(index))
        AfterEvent([host = host_, index] { host->EndEdit(index); });
}

bool CPluginEditor::OnControlChanged(CControl* control, float value)
{
    if (control == nullptr)
        return false;
    if (renderer_ == nullptr || host_ == nullptr)
        return true;
    const int index = control->GetParamIndex();
    if (index == kModWheelValue || index == kPitchBendValue) {
        // A wheel may drive linked parameters, of which the host is told.
        AfterEvent([renderer = renderer_, index, value] { renderer->SetParameter(index, value); });
        return true;
    }
    renderer_->SetParameter(index, value);
    if (IsSeenByHost(index))
        AfterEvent([host = host_, index, set = renderer_->GetParameter(index)] {
            host->AutomateParameter(index, set);
        });
    return true;
}

bool CPluginEditor::OnTimer()
{
    if (renderer_ != nullptr) {
        CEditorFeedback& feedback = renderer_->Feedback();
        if (const std::uint32_t programs = feedback.ProgramCount(); programs != shownPrograms_) {
            shownPrograms_ = programs;
            ShowProgram();
        }
        feedback.TakeChangedParameters([this, &feedback](int index) {
            CControl* const control = FindControl(index);
            if (control == nullptr)
                return;
            // A hand on the control is stronger than the host, which often sends back, late, what
            // the hand has just done. What was set meanwhile is shown when the hand lets go.
            if (control->IsDragging())
                feedback.MarkParameter(index);
            else
                control->SetValueRedraw(GetParameterValue(index));
        });
    }
    return CWindowPort::OnTimer();
}

void CPluginEditor::ShowProgram()
{
    SyncControls();
    RedrawAll();
    PresentAll();
}

// --- Mouse and keys ---

bool CPluginEditor::OnMouseDown()
{
    // The native host has a menu of its own for each of its parameters; under the browser none
    // could be shown, and a press beside it closes it.
    if (CPluginInstance::Get().HostKind() == EHostKind::Native && host_ != nullptr &&
        GetMouseButton() == EMouseButton::Right && !IsCapturing() && GetModalGroup() == nullptr)
        for (CControlGroup* group = GetRootGroup(); group != nullptr; group = group->GetNext())
            for (CControl* control = group->GetFirstControl(); control != nullptr;
                 control = control->GetNext())
                if (!control->IsHidden() && IsSeenByHost(control->GetParamIndex()) &&
                    control->GetRect().Contains(GetMousePosition())) {
                    AfterEvent([host = host_, index = control->GetParamIndex()] {
                        host->ShowParameterMenu(index);
                    });
                    return true;
                }
    return CWindowPort::OnMouseDown();
}

/// Whether a key goes no further: the native host wants to see every one, others those that no
/// control wants. It is known by its name, as it may have loaded the VST binding.
bool CPluginEditor::IsKeyConsumed(bool handled) const
{
    std::array<char, CPluginInstance::kTextSize> product;
    CPluginInstance::Get().GetHostProduct(product);
    return handled && TextIn(product) != kNativeHostProduct;
}

bool CPluginEditor::OnKeyDown(int key)
{
    return IsKeyConsumed(CWindowPort::OnKeyDown(key));
}
bool CPluginEditor::OnKeyUp(int key)
{
    return IsKeyConsumed(CWindowPort::OnKeyUp(key));
}

// --- Values ---

std::string CPluginEditor::GetValueText(const CControl* control) const
{
    if (control == nullptr || renderer_ == nullptr || !IsParameter(control->GetParamIndex()))
        return {};
    const int index = control->GetParamIndex();
    std::array<char, kValueTextSize> value;
    std::array<char, kValueTextSize> unit;
    renderer_->GetParameterDisplay(index, value);
    renderer_->GetParameterLabel(index, unit);
    return std::string(TextIn(value)) + " " + std::string(TextIn(unit));
}

bool CPluginEditor::SetValueFromText(CControl* control, std::string_view text)
{
    if (control == nullptr)
        return false;
    const auto value = ParseValueText(control->GetParamIndex(), text);
    return value && control->EditValue(*value);
}

void CPluginEditor::SyncControls()
{
    for (CControlGroup* group = GetRootGroup(); group != nullptr; group = group->GetNext())
        for (CControl* control = group->GetFirstControl(); control != nullptr;
             control = control->GetNext())
            if (IsParameter(control->GetParamIndex()))
                control->SetValue(GetParameterValue(control->GetParamIndex()));
}

float CPluginEditor::GetParameterValue(int index) const
{
    return renderer_ != nullptr && IsParameter(index) ? renderer_->GetParameter(index) : 0.0f;
}

} // namespace keldra
