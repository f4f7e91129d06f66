#include "hosts/vst/VSTEditor.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace keldra::vst {

namespace {

VstInt16 ToInt16(int pixels)
{
    return static_cast<VstInt16>(std::clamp<int>(pixels, 0, std::numeric_limits<VstInt16>::max()));
}

} // namespace

CVSTEditor::CVSTEditor(AudioEffect& owner, std::unique_ptr<CEditorPort> window)
    : AEffEditor(&owner), window_(std::move(window))
{
    const EditorSize size = window_->WindowSize();
    rect_.bottom = ToInt16(size.height);
    rect_.right = ToInt16(size.width);
}

CVSTEditor::~CVSTEditor()
{
    CVSTEditor::close();
}

bool CVSTEditor::getRect(ERect** rect)
{
    *rect = &rect_;
    return true;
}

bool CVSTEditor::open(void* parent)
{
    close();
    if (!window_->LoadSkin() || !window_->Open(parent))
        return false;
    AEffEditor::open(parent);
    return true;
}

void CVSTEditor::close()
{
    AEffEditor::close();
    if (window_->IsOpen())
        window_->Close();
}

} // namespace keldra::vst
