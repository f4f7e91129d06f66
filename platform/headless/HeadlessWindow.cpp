#include "platform/headless/HeadlessWindow.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace keldra {

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<CHeadlessWindow*> open;
    bool refuses = false;
};

Registry& TheRegistry()
{
    static Registry registry;
    return registry;
}

} // namespace

std::unique_ptr<CNativeWindow> CNativeWindow::Open(NativeHandle parent, PixelSize size,
                                                   CWindowClient& client)
{
    {
        const std::lock_guard lock(TheRegistry().mutex);
        if (TheRegistry().refuses)
            return nullptr;
    }
    return std::make_unique<CHeadlessWindow>(parent, size, client);
}

CHeadlessWindow::CHeadlessWindow(NativeHandle parent, PixelSize size, CWindowClient& client)
    : client_(client), parent_(parent)
{
    CHeadlessWindow::Resize(size);
    const std::lock_guard lock(TheRegistry().mutex);
    TheRegistry().open.push_back(this);
}

CHeadlessWindow::~CHeadlessWindow()
{
    const std::lock_guard lock(TheRegistry().mutex);
    std::erase(TheRegistry().open, this);
}

CHeadlessWindow* CHeadlessWindow::Newest()
{
    const std::lock_guard lock(TheRegistry().mutex);
    return TheRegistry().open.empty() ? nullptr : TheRegistry().open.back();
}

int CHeadlessWindow::OpenCount()
{
    const std::lock_guard lock(TheRegistry().mutex);
    return static_cast<int>(TheRegistry().open.size());
}

void CHeadlessWindow::RefuseToOpen(bool refuse)
{
    const std::lock_guard lock(TheRegistry().mutex);
    TheRegistry().refuses = refuse;
}

std::uint32_t CHeadlessWindow::PixelAt(int x, int y) const
{
    return screen_[static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
                   static_cast<std::size_t>(x)];
}

std::vector<PixelRect> CHeadlessWindow::TakePresented()
{
    return std::exchange(presented_, {});
}

void CHeadlessWindow::Point(PointerEvent::EKind kind, EMouseButton button, unsigned modifiers)
{
    const CUiLock lock;
    if (!lost_)
        client_.OnPointer({kind, button, modifiers, pointer_});
}

void CHeadlessWindow::MoveTo(PixelPoint at)
{
    pointer_ = at;
    if (!hidden_)
        cursor_ = at;
    Point(PointerEvent::EKind::Move, EMouseButton::Left, held_);
}

void CHeadlessWindow::MoveBy(int dx, int dy)
{
    MoveTo({pointer_.x + dx, pointer_.y + dy});
}

void CHeadlessWindow::Press(EMouseButton button, unsigned modifiers)
{
    Point(PointerEvent::EKind::Down, button, modifiers);
}

void CHeadlessWindow::PressAgain(EMouseButton button, unsigned modifiers)
{
    Point(PointerEvent::EKind::DoubleClick, button, modifiers);
}

void CHeadlessWindow::Release(EMouseButton button)
{
    Point(PointerEvent::EKind::Up, button, held_);
}

void CHeadlessWindow::Wheel(float steps, unsigned modifiers, bool horizontal)
{
    const CUiLock lock;
    client_.OnWheelTurn({pointer_, modifiers, horizontal, steps});
}

bool CHeadlessWindow::Key(int key, bool down)
{
    const CUiLock lock;
    return client_.OnKey({key, held_, down});
}

void CHeadlessWindow::Tick(int count)
{
    for (int i = 0; i < count; ++i) {
        const CUiLock lock;
        client_.OnTick();
    }
}

void CHeadlessWindow::Focus(bool focused)
{
    const CUiLock lock;
    focused_ = focused;
    client_.OnFocus(focused);
}

void CHeadlessWindow::Expose(const PixelRect& area)
{
    const CUiLock lock;
    client_.OnExpose(area);
}

void CHeadlessWindow::Drop(std::string_view utf8Path, PixelPoint at)
{
    const CUiLock lock;
    client_.OnFileDrop(utf8Path, at);
}

void CHeadlessWindow::LoseCapture()
{
    const CUiLock lock;
    EndCapture();
    client_.OnCaptureLost();
}

void CHeadlessWindow::Lose()
{
    const CUiLock lock;
    lost_ = true;
    client_.OnWindowLost();
}

void CHeadlessWindow::Present(const PixelView& pixels, const PixelRect& area)
{
    const PixelRect rect = Intersection(Intersection(area, {0, 0, size_.width, size_.height}),
                                        {0, 0, pixels.size.width, pixels.size.height});
    if (lost_ || rect.IsEmpty())
        return;
    presented_.push_back(rect);
    for (int y = rect.y; y < rect.y + rect.height; ++y) {
        const auto fromRow = static_cast<std::size_t>(pixels.size.height - 1 - y) *
                             static_cast<std::size_t>(pixels.size.width);
        const auto toRow = static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width);
        std::copy_n(pixels.pixels + fromRow + static_cast<std::size_t>(rect.x),
                    static_cast<std::size_t>(rect.width),
                    screen_.begin() + static_cast<std::ptrdiff_t>(toRow) + rect.x);
    }
}

void CHeadlessWindow::Resize(PixelSize size)
{
    size_ = size;
    screen_.assign(static_cast<std::size_t>(size.height) * static_cast<std::size_t>(size.width), 0);
}

void CHeadlessWindow::BeginCapture(ECaptureCursor cursor)
{
    captured_ = !lost_;
    hidden_ = captured_ && cursor == ECaptureCursor::Hidden;
}

void CHeadlessWindow::EndCapture()
{
    captured_ = false;
    if (!std::exchange(hidden_, false))
        return;
    pointer_ = cursor_; // the next event tells the window
}

void CHeadlessWindow::TakeFocus()
{
    if (!focused_)
        Focus(true);
}

} // namespace keldra
