#pragma once

#include <memory>
#include <string>

#include "gui/Control.h"

namespace keldra {

/// A rectangle with a chain of controls: hands events to them, draws them, and can become modal,
/// which shuts every other group out. Window pixels, y down. UI lock held.
/// Slots as in CControl: a fixed order, new ones last.
class CControlGroup {
public:
    CControlGroup() = default;
    CControlGroup(const CControlGroup&) = delete;
    CControlGroup& operator=(const CControlGroup&) = delete;
    virtual ~CControlGroup();

    [[nodiscard]] virtual PixelRect GetRect() const { return rect_; }
    virtual bool SetRect(const PixelRect& rect); ///< true when anything changed
    [[nodiscard]] virtual CWindowPort* GetOwner() const { return owner_; }
    [[nodiscard]] virtual CGraphicBuffer* GetBuffer() const;
    /// Backdrop, controls in chain order, the active one over them.
    virtual void Draw();
    virtual bool
    SetHidden(bool hidden); ///< hiding ends what the user is doing with a control of it
    [[nodiscard]] virtual bool IsHidden() const { return hidden_; }
    virtual void SetBackgroundImage(const CGraphicBuffer* image) { background_ = image; }

    /// Requests nest: the group is modal until each has been taken back.
    virtual void SetModal(bool modal);
    [[nodiscard]] virtual bool IsModal() const;
    [[nodiscard]] virtual CControl* GetActiveControl() const { return active_; }
    [[nodiscard]] virtual int GetId() const { return id_; }
    virtual void SetId(int id) { id_ = id; }

    // The chain. The group owns its controls
    virtual CControl* AddControl(std::unique_ptr<CControl> control); ///< at the end
    /// Ends what the user is doing with it and destroys it. @return the next one; null for a
    /// stranger
    virtual CControl* RemoveControl(CControl* control);
    virtual void RemoveAllControls();
    [[nodiscard]] virtual CControl* GetFirstControl() const { return first_.get(); }

    // Handed on to the window
    virtual void RefreshControlById(int id, bool redraw);
    virtual void RefreshControl(CControl* control, bool redraw);
    virtual bool OnControlPressed(CControl* control);
    virtual void OnControlReleased(CControl* control);
    virtual bool OnControlChanged(CControl* control, float value);

    virtual void SetFocusGroup(); ///< not when hidden, nor over an open pop-up of its own
    [[nodiscard]] virtual bool IsFocusGroup() const;
    [[nodiscard]] virtual std::string GetValueText(const CControl* control) const;

    virtual void BeginControlDrag(CControl* control, bool hideCursor);
    virtual void EndControlDrag();
    [[nodiscard]] virtual bool IsControlDragging(const CControl* control) const;

    // Events. Pointer: to the control that drags, else the active one, else the first one under the
    // pointer. Wheel and keys: to the active one, else to every visible one
    virtual bool OnDoubleClick();
    virtual bool OnMouseDown();
    virtual bool OnMouseUp();
    virtual bool OnMouseMove();
    virtual bool OnWheel(int axis, float steps);
    virtual bool OnKeyDown(int key);
    virtual bool OnKeyUp(int key);

    virtual void SetMouseOwner(CControl* control) { mouseOwner_ = control; }
    [[nodiscard]] virtual CControl* GetMouseOwner() const { return mouseOwner_; }
    /// Paints the group's own backdrop inside a region; leaves the clip there.
    virtual void DrawBackground(const PixelRect& region);
    virtual bool OnTimer();
    virtual void OnFocus() {}
    virtual void OnKillFocus(); ///< the focus control is told and has it no longer

    // No slots
    [[nodiscard]] CControlGroup* GetNext() const { return next_.get(); }
    [[nodiscard]] CControl* FindControl(int paramIndex) const; ///< null below 0
    [[nodiscard]] CControl* GetFocusControl() const { return focus_; }
    void SetFocusControl(CControl* control); ///< the former one gets OnKillFocus
    void SetActiveControl(CControl* control) { active_ = control; }
    /// AddControl for callers that go on with the control.
    template <typename Control>
    Control& Add(std::unique_ptr<Control> control)
    {
        Control& added = *control;
        AddControl(std::move(control));
        return added;
    }

private:
    friend class CWindowPort;

    [[nodiscard]] bool TakesEvents() const;
    [[nodiscard]] CControl* PointerTarget() const;
    void LetGoOf(CControl* control);
    template <typename Event>
    bool TellControls(const Event& event);

    std::unique_ptr<CControlGroup> next_;
    CWindowPort* owner_ = nullptr;
    std::unique_ptr<CControl> first_;
    CControl* mouseOwner_ = nullptr;
    CControl* active_ = nullptr;
    CControl* focus_ = nullptr;
    int id_ = -1;
    PixelRect rect_{0, 0, 1, 1};
    bool hidden_ = false;
    const CGraphicBuffer* background_ = nullptr;
    int modalCount_ = 0;
};

} // namespace keldra
