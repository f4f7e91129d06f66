#pragma once

#include <vector>

#include "platform/UiThread.h"
#include "platform/Window.h"

namespace keldra {

/// A window that exists in memory only: remembers what it was asked for and plays input back. Each
/// played event takes the UI lock, as a real back end's thread does.
class CHeadlessWindow : public CNativeWindow {
public:
    CHeadlessWindow(NativeHandle parent, PixelSize size, CWindowClient& client);
    ~CHeadlessWindow() override;

    [[nodiscard]] static CHeadlessWindow* Newest(); ///< of those that are open; null for none
    [[nodiscard]] static int OpenCount();
    static void RefuseToOpen(bool refuse);

    // What was asked
    [[nodiscard]] NativeHandle Parent() const { return parent_; }
    [[nodiscard]] PixelSize Size() const { return size_; }
    [[nodiscard]] PixelPoint Place() const { return place_; }
    [[nodiscard]] bool IsCaptured() const { return captured_; }
    [[nodiscard]] bool CursorIsHidden() const { return hidden_; }
    [[nodiscard]] bool HasFocus() const { return focused_; }
    [[nodiscard]] PixelPoint Cursor() const { return cursor_; } ///< where the user sees it
    [[nodiscard]] std::uint32_t PixelAt(int x, int y) const;    ///< as presented
    /// The rectangles presented since the last call.
    [[nodiscard]] std::vector<PixelRect> TakePresented();

    // Input
    void MoveTo(PixelPoint at);
    void MoveBy(int dx, int dy); ///< also beyond the screen's edges
    void Press(EMouseButton button = EMouseButton::Left, unsigned modifiers = 0);
    void PressAgain(EMouseButton button = EMouseButton::Left, unsigned modifiers = 0); ///< double
    void Release(EMouseButton button = EMouseButton::Left);
    void Wheel(float steps, unsigned modifiers = 0, bool horizontal = false);
    bool Key(int key, bool down = true);                 ///< @return whether the window wanted it
    void Hold(unsigned modifiers) { held_ = modifiers; } ///< during the moves to come
    void Tick(int count = 1);
    void Focus(bool focused);
    void Expose(const PixelRect& area);
    void Drop(std::string_view utf8Path, PixelPoint at);
    void LoseCapture();
    void Lose(); ///< the parent is destroyed

    // CNativeWindow
    void Present(const PixelView& pixels, const PixelRect& area) override;
    void Resize(PixelSize size) override;
    void Move(PixelPoint at) override { place_ = at; }
    void BeginCapture(ECaptureCursor cursor) override;
    void EndCapture() override;
    void TakeFocus() override;
    [[nodiscard]] NativeHandle Handle() const override { return lost_ ? 0 : 1; }

private:
    void Point(PointerEvent::EKind kind, EMouseButton button, unsigned modifiers);

    CWindowClient& client_;
    NativeHandle parent_;
    PixelSize size_;
    PixelPoint place_;
    std::vector<std::uint32_t> screen_;
    std::vector<PixelRect> presented_;
    PixelPoint cursor_{-1, -1};
    PixelPoint pointer_{-1, -1}; ///< the cursor, except that it runs on while hidden
    unsigned held_ = 0;
    bool captured_ = false;
    bool hidden_ = false;
    bool focused_ = false;
    bool lost_ = false;
};

} // namespace keldra
