#pragma once

#include <deque>
#include <optional>

#include "gui/ControlDisplay.h"
#include "gui/MenuItem.h"

namespace keldra {

/// Shows the chosen item's text and opens a list of all items beside itself when clicked. The value
/// is the chosen item's index, -1 before anything is chosen.
/// The next press closes the list; on a row it also chooses. Arrow keys, Enter and Escape work
/// while it is open. The wheel over a closed menu steps to the next item when a parameter is bound.
class CControlMenu : public CControlDisplay {
public:
    explicit CControlMenu(int paramIndex = -1);

    void SetValue(float value) override;
    void Draw() override;
    bool OnDoubleClick() override;
    bool OnMouseDown() override;
    bool OnMouseUp() override;
    bool OnMouseMove() override;
    bool OnWheel(int axis, float steps) override;
    bool OnKeyDown(int key) override;
    void OnTimer() override;
    void OnKillFocus() override { ClosePopup(); }
    void OnDragLost() override { ClosePopup(); }
    void OnRedrawnBeneath() override;

    virtual void SetItemMarked(int index, bool marked);
    virtual void SetItemDimmed(int index, bool dimmed);
    /// A row of the list in the window, row 0 being the first one shown.
    [[nodiscard]] virtual PixelRect ItemRect(int row) const;
    virtual void DrawItems();
    virtual void DrawPopupFrame();
    virtual bool UpdateHover();  ///< the row under the pointer; true when it is another one
    virtual MenuItem& NewItem(); ///< appends an empty item; valid until ClearItems

    void AddItem(std::string_view text);
    void AddSeparator();
    void AddCaption(std::string_view text);
    void ClearItems();
    [[nodiscard]] MenuItem* GetItem(int index); ///< null outside
    [[nodiscard]] const MenuItem* GetItem(int index) const;
    [[nodiscard]] int GetItemCount() const { return static_cast<int>(items_.size()); }
    [[nodiscard]] bool IsPopupOpen() const { return popup_->picture.IsValid(); }
    [[nodiscard]] PixelRect GetPopupRect() const { return popup_->rect; }

    // Looks
    void SetPaletteColor(EMenuColor color, Color value)
    {
        palette_[static_cast<std::size_t>(color)] = value;
    }
    void SetItemHeight(int pixels) { itemHeight_ = pixels > 0 ? pixels : 1; }
    void SetBandHeight(int pixels) { bandHeight_ = pixels; }
    void SetTextIndent(int pixels) { textIndent_ = pixels; }
    void SetMargins(int horizontal, int vertical) { margins_ = {horizontal, vertical}; }
    void SetBoldItems(bool bold) { boldItems_ = bold; }
    /// Shown instead of the display's own image while the list is open. Not owned.
    void SetAlternateImage(const CGraphicBuffer* image, PixelPoint from);

protected:
    /// A list's place in the window and its scroll bar.
    struct Layout {
        PixelRect area;
        PixelRect scrollBar; ///< empty when all rows fit
        int visibleRows = 0;
    };
    /// Where the list of a menu opens: to the right of it, or to the left near the window's edge,
    /// centred on it as far as the window lets it.
    [[nodiscard]] Layout PopupLayout(PixelSize window, int textWidth) const;

    bool OpenPopup();
    void ClosePopup();
    virtual void OnPopupClosed() {}
    /// Chooses an ordinary item: pressed, changed, released. @return whether the editor took it
    bool Choose(int index);
    void Scroll(float rows);
    void ScrollTo(float firstRow); ///< limited
    void DragThumb();
    [[nodiscard]] virtual Layout CurrentLayout() const;
    [[nodiscard]] bool HasScrollBar() const { return !CurrentLayout().scrollBar.IsEmpty(); }
    [[nodiscard]] int FirstRow() const;
    [[nodiscard]] int ChosenIndex() const;
    [[nodiscard]] int HoveredRow() const { return *hovered_ ? **hovered_ : -1; }
    void SetHoveredRow(int row);
    [[nodiscard]] float ScrollOffset() const { return *scrollOffset_; }
    [[nodiscard]] bool IsThumbHeld() const { return *thumbHeld_; }
    void HoldThumb(bool held) { *thumbHeld_ = held; }
    [[nodiscard]] int ItemHeight() const { return itemHeight_; }
    [[nodiscard]] int VerticalMargin() const { return margins_.y; }
    [[nodiscard]] PixelRect ScrollBarOf(const PixelRect& area, int rows) const;
    virtual void RefreshItems(); ///< draws the rows again and shows them

private:
    struct Popup {
        PixelRect rect;
        Layout layout;
        CGraphicBuffer background; ///< what the window shows under it
        CGraphicBuffer picture;    ///< empty while closed
        float fade = 0.0f;
        const CGraphicBuffer* savedImage = nullptr;
        PixelPoint savedSource;
    };

    void TakeBackground(); ///< and draws the list upon it
    [[nodiscard]] int WidestText() const;
    [[nodiscard]] PixelRect Band(const PixelRect& row) const;
    void DrawItem(CGraphicBuffer& buffer, const MenuItem& item, int row, const PixelRect& rect);
    void DrawChoice(CGraphicBuffer& buffer, const MenuItem& item, int row, const PixelRect& rect);
    void DrawScrollBar(CGraphicBuffer& buffer, const Layout& layout, PixelPoint origin);
    void DrawPointer(CGraphicBuffer& picture);
    void MoveHover(int step);
    [[nodiscard]] Color PaletteColor(EMenuColor color) const
    {
        return palette_[static_cast<std::size_t>(color)];
    }

    bool boldItems_ = false;
    int itemHeight_ = 18;
    int bandHeight_ = 14;
    int textIndent_ = 15;
    PixelPoint margins_{10, 10};
    MenuPalette palette_ = kMenuPalette;
    const CGraphicBuffer* alternateImage_ = nullptr;
    PixelPoint alternateSource_;
    std::deque<MenuItem> items_;
    CTransient<std::optional<int>> hovered_; ///< row
    CTransient<bool> thumbHeld_;
    CTransient<float> scrollOffset_; ///< index of the first row shown
    CTransient<float> wheelRest_;
    int scrollBarWidth_ = 12;
    int pointerSize_ = 6;
    CTransient<Popup> popup_;
};

} // namespace keldra
