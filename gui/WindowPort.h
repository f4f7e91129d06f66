#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "gui/ControlGroup.h"
#include "gui/GraphicBuffer.h"
#include "gui/ImageCache.h"
#include "platform/PopupMenu.h"
#include "platform/Window.h"

namespace keldra {

enum class EHeldKey : std::uint8_t { None, Ctrl, Shift, Alt }; ///< of several, the last one named

/// What a host gives to open an editor in.
struct OpenInfo {
    NativeHandle parent = 0; ///< 0: on the desktop
};

/// An editor's window: a native child window, the picture in memory that it shows, and the groups
/// of controls that draw into that picture and get its events. UI lock held, except that
/// constructing, opening, closing and destroying take it themselves. Slots as in CControl: a fixed
/// order, new ones last. Who overrides the control hooks calls Close in its own destructor: closing
/// tells controls to let go, and by this class's destructor the overrides are gone.
class CWindowPort : private CWindowClient {
public:
    CWindowPort();
    CWindowPort(const CWindowPort&) = delete;
    CWindowPort& operator=(const CWindowPort&) = delete;
    virtual ~CWindowPort();

    // Open and closed, any number of times. The groups stay
    /// @return false when the size isn't positive or the system refuses; true at once when open
    virtual bool Open(NativeHandle parent);
    virtual bool OpenWith(const OpenInfo* info); ///< kept for Reopen; null: on the desktop
    virtual bool Reopen();
    virtual void Close();
    [[nodiscard]] virtual bool IsOpen() const { return window_ != nullptr; }

    virtual bool SetSizeWH(int width, int height) { return SetSize({height, width}); }
    /// @return false for a size that isn't positive or is the present one
    virtual bool SetSize(PixelSize size);
    [[nodiscard]] virtual PixelSize GetSize() const { return size_; }
    virtual void SetPositionXY(int x, int y) { SetPosition({x, y}); }
    virtual bool SetPosition(PixelPoint at);
    [[nodiscard]] virtual PixelPoint GetPosition() const { return position_; }

    // Groups, owned. The first one, the root group, is always there
    virtual bool AddGroup(std::unique_ptr<CControlGroup> group); ///< at the end of the chain
    virtual bool RemoveGroup(CControlGroup* group); ///< destroys it; never the root group
    [[nodiscard]] virtual CControlGroup* FindGroup(int id) const;
    [[nodiscard]] virtual CControlGroup* GetGroup(int index) const; ///< 0: the first after the root
    [[nodiscard]] virtual CControlGroup* GetRootGroup() const { return root_.get(); }

    // Controls. An id is a parameter index
    virtual bool SetControlHidden(int id, bool hidden);
    virtual CControl* AddControl(std::unique_ptr<CControl> control); ///< to the root group
    virtual void RemoveControl(CControl* control);                   ///< of the root group
    [[nodiscard]] virtual CControl* FindControl(int id) const;
    virtual bool SetControlValue(int id, float value); ///< true when the value changed
    virtual void SetControlValueRedraw(int id, float value);
    virtual void RefreshControlById(int id, bool redraw);
    /// Draws a control, unless it is hidden or lies under something modal. @param redraw  and
    /// presents it
    virtual void RefreshControl(CControl* control, bool redraw);
    [[nodiscard]] virtual CControlGroup* GetFocusGroup() const { return focusGroup_; }
    [[nodiscard]] virtual CControlGroup* GetModalGroup() const { return modalGroup_; }
    [[nodiscard]] virtual bool IsRootModal() const { return modalGroup_ == root_.get(); }
    [[nodiscard]] virtual CControl* GetModalChild() const;

    // Picture
    virtual void RedrawAll(); ///< draws background and groups, the modal one last; presents nothing
    virtual void PresentAll();
    virtual void PresentRegion(const PixelRect& area);
    [[nodiscard]] virtual CGraphicBuffer* GetBackBuffer() const { return backBuffer_.get(); }

    // Hooks of the editor
    virtual bool OnControlPressed(CControl*) { return true; }
    virtual void OnControlReleased(CControl*) {}
    virtual bool OnControlChanged(CControl*, float) { return true; }

    virtual bool OnTimer();

    // Mouse capture
    virtual void SetCaptureControl(CControl* control) { captureControl_ = control; }
    [[nodiscard]] virtual CControl* GetCaptureControl() const { return captureControl_; }
    virtual void BeginMouseCapture(bool hideCursor);
    virtual void EndMouseCapture();
    [[nodiscard]] virtual bool IsCapturing() const { return capturing_; }

    // Dispatch: to the modal group alone; else to the control that captures; else along the chain
    virtual bool OnDoubleClick();
    virtual bool OnMouseDown();
    virtual bool OnMouseUp();
    virtual bool OnMouseMove();
    virtual bool OnKeyDown(int key);
    virtual bool OnKeyUp(int key);
    virtual bool OnWheel(int axis, float steps);
    virtual void OnSetFocus() {}
    virtual void OnKillFocus();

    /// Paints what lies behind all controls; moves the clip.
    virtual void DrawBackgroundRegion(const PixelRect& region);
    [[nodiscard]] virtual std::string GetValueText(const CControl*) const { return {}; }
    virtual void OnFileDropped(std::string_view) {} ///< absolute path in UTF-8

    /// Gives a control the value that a typed text means for it, by CControl::EditValue.
    /// @return false when the text can't be understood; then nothing has happened
    virtual bool SetValueFromText(CControl*, std::string_view) { return false; }

    // No slots
    void SetBackground(const CGraphicBuffer* image) { background_ = image; } ///< tiled, not owned
    void SetFocusGroup(CControlGroup* group) { focusGroup_ = group; }
    void SetModalGroup(CControlGroup* group) { modalGroup_ = group; }
    [[nodiscard]] PixelPoint GetMousePosition() const { return mouse_; }
    [[nodiscard]] PixelPoint GetMouseMovement() const
    {
        return movement_;
    } ///< since the last event
    [[nodiscard]] EMouseButton GetMouseButton() const { return button_; }
    [[nodiscard]] EHeldKey GetHeldKey() const { return heldKey_; } ///< during a pointer event
    [[nodiscard]] NativeHandle Handle() const;

    /// Lets the user type a control's value, in a field at the place of its value pop-up.
    /// @return false when it can't be opened now, or the value has no text
    bool OpenValueField(CControl& control);
    /// A menu at the pointer. @param chosen  told once, with the id of the chosen item, or
    /// CPopupMenuClient::kNothing when the menu went without a choice. @return false, and nothing
    /// told, when it can't be shown now
    bool ShowPopupMenu(std::span<const PopupMenuItem> items, std::function<void(int)> chosen);
    void DismissPopupMenu(); ///< if there is one
    /// The open window of that handle, among all of the process; null when there is none.
    [[nodiscard]] static CWindowPort* FindOpen(NativeHandle handle);

    /// Removes a group with the present event done: its own control may ask for it.
    void RemoveGroupLater(CControlGroup* group);

private:
    // CWindowClient
    void OnPointer(const PointerEvent& event) final;
    void OnWheelTurn(const WheelEvent& event) final;
    bool OnKey(const KeyEvent& event) final;
    void OnFocus(bool focused) final;
    void OnTick() final;
    void OnExpose(const PixelRect& area) final { PresentRegion(area); }
    void OnFileDrop(std::string_view utf8Path, PixelPoint at) final;
    void OnCaptureLost() final { LetGo(); }
    void OnWindowLost() final;

    void LetGo();
    void Place(PixelPoint at, unsigned modifiers);
    void RemoveGroupsNow();
    template <typename Event>
    bool DispatchPointer(bool (CControlGroup::*groupEvent)(), const Event& controlEvent);
    template <typename Event>
    bool DispatchToAll(const Event& event);

    const CImageCache::CUser imageCacheUser_;
    OpenInfo openInfo_;
    std::unique_ptr<CGraphicBuffer> backBuffer_;
    PixelSize size_;
    PixelPoint position_;
    std::unique_ptr<CNativeWindow> window_;
    bool lost_ = false; ///< the window is gone, but nobody has closed it
    bool capturing_ = false;
    bool hiddenCursor_ = false;
    bool focused_ = false;
    const CGraphicBuffer* background_ = nullptr;
    std::unique_ptr<CControlGroup> root_;
    CControl* captureControl_ = nullptr;
    CControlGroup* modalGroup_ = nullptr;
    CControlGroup* focusGroup_ = nullptr;
    std::vector<CControlGroup*> toRemove_;
    EMouseButton button_ = EMouseButton::Left;
    EHeldKey heldKey_ = EHeldKey::None;
    PixelPoint mouse_{-1, -1};
    PixelPoint movement_;
};

} // namespace keldra
