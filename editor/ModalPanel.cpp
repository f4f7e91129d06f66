#include "editor/ModalPanel.h"

#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr Color kOuterFill = Rgb(64, 64, 64);
constexpr Color kOuterPen = Rgb(43, 43, 43);
constexpr Color kInner = Rgb(47, 47, 47);

class CModalButton final : public CControlButton {
public:
    void OnDragLost() override
    {
        EndDrag();
        DrawAndPresent();
    }
};

} // namespace

void DrawModalPanel(CGraphicBuffer& buffer, const PixelRect& rect)
{
    buffer.DrawShadow(rect);
    buffer.SetPenColor(kOuterPen);
    buffer.SetFillColor(kOuterFill);
    buffer.DrawPanel({rect.x + 6, rect.y + 6, rect.width - 12, rect.height - 12}, ECorners::Rounded,
                     1.0f, 0.0f);
    buffer.SetPenColor(kInner);
    buffer.SetFillColor(kInner);
    buffer.DrawPanel(ModalPanelInside(rect), ECorners::Rounded, 1.0f, 0.0f);
}

PixelRect ModalPanelInside(const PixelRect& rect)
{
    return {rect.x + 11, rect.y + 26, rect.width - 22, rect.height - 39};
}

std::unique_ptr<CControlButton> MakeModalButton(std::string_view label, const PixelRect& place)
{
    auto button = std::make_unique<CModalButton>();
    button->SetMomentary();
    button->SetRect(place);
    button->SetText(label);
    button->SetTextColor(kModalText);
    return button;
}

void CloseModalGroup(CControlGroup& group)
{
    if (!group.SetHidden(true))
        return;
    group.SetModal(false);
    if (CWindowPort* const window = group.GetOwner()) {
        window->RedrawAll();
        window->PresentAll();
    }
}

} // namespace keldra
