#pragma once

#include <memory>
#include <string>

#include "gui/GraphicBuffer.h"
#include "gui/Transient.h"

namespace keldra {

class CControlGroup;
class CWindowPort;

/// Anything on the panel: a rectangle with a value that draws itself and is told what the user
/// does. Window pixels, y down. UI lock held (platform/UiThread.h). The base answers every slot
/// harmlessly. A derived class overrides what it needs, in this order. New slots go last. A copy
/// has the same settings but belongs to no group.
class CControl {
public:
    explicit CControl(int paramIndex = -1) : paramIndex_(paramIndex) {}
    CControl(const CControl&) = default;
    CControl& operator=(const CControl&) = delete;
    virtual ~CControl() = default;

    // What it edits: a parameter's index, -1 for none, and its value, 0 .. 1 as a rule
    virtual void SetParamIndex(int index) { paramIndex_ = index; }
    [[nodiscard]] virtual int GetParamIndex() const { return paramIndex_; }
    virtual void SetValue(float value) { value_ = value; }
    /// Sets another value than the present one and shows it, unless something lies over it.
    virtual void SetValueRedraw(float value);
    [[nodiscard]] virtual float GetValue() const { return value_; }

    // Place and size. All go through StoreRect
    virtual void SetRectHW(int x, int y, int height, int width);
    virtual void SetRectHW(PixelPoint at, PixelSize size);
    virtual void SetRect(const PixelRect& rect) { StoreRect(rect); }
    virtual void StoreRect(const PixelRect& rect) { rect_ = rect; }
    [[nodiscard]] virtual PixelRect GetRect() const { return rect_; }
    virtual bool MoveTo(PixelPoint at); ///< true when that changed the place; so below
    virtual bool MoveToChecked(PixelPoint at) { return MoveTo(at); }
    virtual bool MoveBy(int dx, int dy) { return MoveTo({rect_.x + dx, rect_.y + dy}); }
    [[nodiscard]] virtual PixelPoint GetPosition() const { return {rect_.x, rect_.y}; }
    virtual bool SetSize(PixelSize size);
    virtual bool SetSizeWH(int width, int height) { return SetSize({height, width}); }
    [[nodiscard]] virtual PixelSize GetSize() const { return {rect_.height, rect_.width}; }

    // Where it belongs; null until it is added to a group, and to a window
    [[nodiscard]] virtual CControlGroup* GetGroup() const { return *group_; }
    [[nodiscard]] virtual CWindowPort* GetWindowPort() const;

    virtual void SetFocus(); ///< the keyboard's; the control that had it gets OnKillFocus
    [[nodiscard]] virtual bool HasFocus() const;
    /// Makes it the group's active control, which lies over the others and takes all the group's
    /// events, and the group modal; or ends that.
    virtual void SetActive(bool active);
    [[nodiscard]] virtual bool IsActive() const;
    virtual bool SetHidden(bool hidden);         ///< hiding ends what the user is doing with it
    [[nodiscard]] virtual bool IsHidden() const; ///< itself or its group

    // Drawing goes to the window's back buffer, presenting from there to the screen
    [[nodiscard]] virtual CGraphicBuffer*
    GetBuffer() const; ///< null when hidden or not on a window
    virtual void Draw() {}
    virtual void PresentRect(const PixelRect& rect);
    virtual void Present() { PresentRect(rect_); }
    virtual void EraseRect(const PixelRect& rect); ///< draws what lies behind; moves the clip
    virtual void Erase() { EraseRect(rect_); }

    // What it tells the editor, always in this order, Released once for every accepted Pressed
    virtual bool NotifyPressed(); ///< false forbids the change that was to come
    virtual void NotifyReleased();
    virtual bool NotifyChanged(float value); ///< false: the value stays what it is

    // Pointer and keys: true = handled, nobody else is asked. Where: the window's GetMousePosition
    virtual bool OnDoubleClick() { return OnMouseDown(); }
    virtual bool OnMouseDown() { return false; }
    virtual bool OnMouseUp() { return false; }
    virtual bool OnMouseMove() { return false; }
    /// Every control of the group is told: who cares looks where the pointer is.
    /// @param axis  0 vertical, 1 horizontal. @param steps  notches, positive away from the user
    virtual bool OnWheel([[maybe_unused]] int axis, [[maybe_unused]] float steps) { return false; }
    virtual bool OnKeyDown([[maybe_unused]] int key) { return false; } ///< EKey or a character
    virtual bool OnKeyUp([[maybe_unused]] int key) { return false; }

    // A drag: all pointer events come here until it ends
    virtual void BeginDrag(bool hideCursor);
    virtual void EndDrag();
    [[nodiscard]] virtual bool IsDragging() const;

    [[nodiscard]] virtual std::string GetValueText() const; ///< with unit, as the editor writes it
    virtual void OnTimer() {}                               ///< every 30 ms
    virtual void OnFocus() {}
    virtual void OnKillFocus() {}
    /// Its drag ends without a release of the button: lets go of everything, tells the editor so.
    virtual void OnDragLost() { EndDrag(); }
    /// As the active control: everything beneath has been drawn anew, and it is to draw next. What
    /// it lays over others takes its background again.
    virtual void OnRedrawnBeneath() {}

    // No slots
    [[nodiscard]] CControl* GetNext() const { return next_->get(); } ///< of its group
    [[nodiscard]] bool IsUnderMouse() const;
    /// A whole gesture: pressed, changed, released; draws and presents the new value.
    /// @return whether the value is now this one
    bool EditValue(float value);

protected:
    void DrawAndPresent();

private:
    friend class CControlGroup;

    int paramIndex_;
    float value_ = 0.0f;
    PixelRect rect_;
    bool hidden_ = false;
    CTransient<CControlGroup*> group_;
    CTransient<std::unique_ptr<CControl>> next_;
};

} // namespace keldra
