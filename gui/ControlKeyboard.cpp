#include "gui/ControlKeyboard.h"

#include <algorithm>

#include "gui/Numbers.h"
#include "gui/WindowPort.h"

namespace keldra {

namespace {

constexpr int kWhiteSteps[] = {2, 2, 1, 2, 2, 2, 1}; // semitones from C on
constexpr int kBlackSteps[] = {2, 3, 2, 2, 3};       // from C sharp on
constexpr std::uint8_t kPlayedWithMouse = 100;
constexpr int kShadowWidth = 5;

} // namespace

void CControlKeyboard::SetKeyImages(const CGraphicBuffer* white, const CGraphicBuffer* black)
{
    white_ = white;
    black_ = black;
}

void CControlKeyboard::SetRange(int firstOctave, int semitones)
{
    firstOctave_ = std::clamp(firstOctave, 0, 10);
    semitones_ = std::clamp(semitones, 0, kNotes);
}

PixelSize CControlKeyboard::WhiteSize() const
{
    return white_ != nullptr ? PixelSize{white_->GetSize().height, white_->GetSize().width / 2}
                             : PixelSize{};
}

PixelSize CControlKeyboard::BlackSize() const
{
    return black_ != nullptr ? PixelSize{black_->GetSize().height, black_->GetSize().width / 2}
                             : PixelSize{};
}

template <typename Visit>
bool CControlKeyboard::VisitWhiteKeys(const Visit& visit) const
{
    const auto [height, width] = WhiteSize();
    const auto [x, y] = GetPosition();
    const int end = std::min(12 * firstOctave_ + semitones_, kNotes);
    int number = 0;
    for (int note = 12 * firstOctave_; note < end; ++number) {
        if (visit(Key{note, {x + number * width, y, width, height}}))
            return true;
        note += kWhiteSteps[number % 7];
    }
    return false;
}

template <typename Visit>
bool CControlKeyboard::VisitBlackKeys(const Visit& visit) const
{
    const auto [height, width] = BlackSize();
    const int whiteWidth = WhiteSize().width;
    const auto [x, y] = GetPosition();
    const int end = std::min(12 * firstOctave_ + semitones_, kNotes);
    int white = 0; // the key that it follows
    int number = 0;
    for (int note = 12 * firstOctave_ + 1; note < end; ++number) {
        const int left = x + white * whiteWidth + whiteWidth - width / 2 - 1;
        if (visit(Key{note, {left, y, width, height}}))
            return true;
        const int step = kBlackSteps[number % 5];
        note += step;
        white += step == 3 ? 2 : 1;
    }
    return false;
}

bool CControlKeyboard::IsSounding(int note) const
{
    return note >= 0 && note < kNotes && states_[static_cast<std::size_t>(note)] != 0;
}

void CControlKeyboard::Draw()
{
    CGraphicBuffer* buffer = GetBuffer();
    if (buffer == nullptr || white_ == nullptr || black_ == nullptr || !buffer->SetClip(GetRect()))
        return;
    const auto drawKey = [this, buffer](const CGraphicBuffer* image, const Key& key) {
        image->CopyTo(*buffer, key.rect, {IsSounding(key.note) ? key.rect.width : 0, 0});
        return false;
    };
    VisitWhiteKeys([&](const Key& key) { return drawKey(white_, key); });
    bool leftIsPressed = false;
    VisitWhiteKeys([&](const Key& key) {
        const bool pressed = IsSounding(key.note);
        if (pressed && !leftIsPressed)
            buffer->FillGradient({key.rect.x, key.rect.y, kShadowWidth, key.rect.height},
                                 Rgba(0, 0, 0, 80), Rgba(0, 0, 0, 0), Rgba(0, 0, 0, 60),
                                 Rgba(0, 0, 0, 200));
        leftIsPressed = pressed;
        return false;
    });
    VisitBlackKeys([&](const Key& key) { return drawKey(black_, key); });
}

bool CControlKeyboard::SetKeyStates(std::span<const std::uint8_t, kNotes> states)
{
    if (std::equal(states.begin(), states.end(), states_.begin()))
        return false;
    std::copy(states.begin(), states.end(), states_.begin());
    return true;
}

bool CControlKeyboard::Press(const Key& key, PixelPoint at)
{
    if (!key.rect.Contains(at))
        return false;
    *currentKey_ = key.note;
    *velocity_ =
        ClampedToUnit(static_cast<float>(at.y - key.rect.y) / static_cast<float>(key.rect.height));
    return true;
}

bool CControlKeyboard::OnMouseDown()
{
    const CWindowPort* port = GetWindowPort();
    if (port == nullptr || port->GetMouseButton() != EMouseButton::Left || IsDragging())
        return false;
    const PixelPoint at = port->GetMousePosition();
    const auto press = [&](const Key& key) { return Press(key, at); };
    if (!VisitBlackKeys(press) && !VisitWhiteKeys(press))
        return false;
    auto states = states_;
    states[static_cast<std::size_t>(**currentKey_)] = kPlayedWithMouse;
    SetKeyStates(states);
    BeginDrag(false);
    const bool accepted = NotifyPressed();
    if (!accepted) {
        EndDrag();
        ShowReleased();
        ForgetKey();
    }
    DrawAndPresent();
    return accepted;
}

bool CControlKeyboard::OnMouseUp()
{
    const CWindowPort* port = GetWindowPort();
    if (!IsDragging() || port->GetMouseButton() != EMouseButton::Left)
        return false;
    OnDragLost();
    return true;
}

void CControlKeyboard::OnDragLost()
{
    if (!IsDragging())
        return;
    EndDrag();
    ShowReleased();
    NotifyReleased(); // the editor still reads which key it was
    ForgetKey();
    DrawAndPresent();
}

void CControlKeyboard::ShowReleased()
{
    if (!currentKey_->has_value())
        return;
    auto states = states_;
    states[static_cast<std::size_t>(**currentKey_)] = 0;
    SetKeyStates(states);
}

void CControlKeyboard::ForgetKey()
{
    currentKey_->reset();
    *velocity_ = 0.0f;
}

} // namespace keldra
