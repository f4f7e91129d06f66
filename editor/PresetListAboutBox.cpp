#include "editor/PresetListAboutBox.h"

#include "editor/ModalPanel.h"
#include "frame/PluginInstance.h"
#include "frame/Text.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr PixelSize kSizeWithoutPicture{200, 400};
constexpr int kBesidePicture = 10;
constexpr int kAbovePicture = 30;
constexpr Color kTitleColor = Rgb(200, 200, 200);

PixelRect BoxRect(const CGraphicBuffer* image, PixelSize window)
{
    const PixelSize picture = image != nullptr ? image->GetSize() : PixelSize{};
    const PixelSize size =
        image != nullptr ? PixelSize{picture.height + kAbovePicture, picture.width + kBesidePicture}
                         : kSizeWithoutPicture;
    return {(window.width - size.width) / 2, (window.height - size.height) / 2, size.width,
            size.height};
}

} // namespace

std::string AboutTitle()
{
    const CPluginInstance& definition = CPluginInstance::Get();
    std::string title = std::string(TextIn(definition.pluginName)) + " v." +
                        std::string(TextIn(definition.versionText)) + "  : ";
    switch (definition.HostKind()) {
    case EHostKind::Vst:
        return title + " VST 32 bit";
    case EHostKind::AudioUnits:
        return title + " AU 32 bit";
    case EHostKind::Native:
        return title + " DNi";
    case EHostKind::None:
        break;
    }
    return title;
}

CPresetListAboutBox::CPresetListAboutBox(const CGraphicBuffer* image, PixelSize window)
    : image_(image)
{
    SetRect(BoxRect(image, window));
}

bool CPresetListAboutBox::OnMouseDown()
{
    OnKillFocus();
    return true;
}

void CPresetListAboutBox::OnKillFocus()
{
    CControlGroup::OnKillFocus();
    CloseModalGroup(*this);
}

void CPresetListAboutBox::DrawBackground(const PixelRect& region)
{
    CGraphicBuffer* const buffer = GetBuffer();
    if (buffer == nullptr)
        return;
    buffer->SetClip(region);
    const PixelRect box = GetRect();
    DrawModalPanel(*buffer, box);
    const PixelRect inner = ModalPanelInside(box);
    if (image_ != nullptr)
        image_->CopyTo(*buffer, inner, {0, 0});

    const PixelRect title{box.x + 20, box.y + 8, box.width - 40, 18};
    buffer->SetTextColor(kTitleColor);
    buffer->SetClip(title);
    buffer->AlignTextLeft();
    buffer->SelectBoldFont();
    buffer->DrawText(AboutTitle(), title);
}

} // namespace keldra
