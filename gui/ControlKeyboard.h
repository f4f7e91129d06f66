#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "gui/Control.h"

namespace keldra {

/// A piano keyboard that shows which notes sound and plays one with the mouse: the lower on the key
/// the click, the louder. Not bound to a parameter: the editor plays the note when told that the
/// keyboard is pressed, and stops it when told that it is released.
class CControlKeyboard : public CControl {
public:
    using CControl::CControl;
    static constexpr int kNotes = 128;

    void Draw() override;
    bool OnMouseDown() override;
    bool OnMouseUp() override;
    void OnDragLost() override;

    /// Which notes to show as sounding: non-zero. Doesn't draw. @return whether any changed
    virtual bool SetKeyStates(std::span<const std::uint8_t, kNotes> states);

    /// Two frames each, side by side: released and pressed. Not owned.
    void SetKeyImages(const CGraphicBuffer* white, const CGraphicBuffer* black);
    void SetRange(int firstOctave, int semitones);

    [[nodiscard]] int GetCurrentKey() const { return *currentKey_ ? **currentKey_ : -1; }
    [[nodiscard]] float GetVelocity() const { return *velocity_; } ///< of the current key, 0 .. 1

private:
    struct Key {
        int note;
        PixelRect rect;
    };
    [[nodiscard]] PixelSize WhiteSize() const;
    [[nodiscard]] PixelSize BlackSize() const;
    /// Calls visit(key) in order until it answers true.
    template <typename Visit>
    bool VisitWhiteKeys(const Visit& visit) const;
    template <typename Visit>
    bool VisitBlackKeys(const Visit& visit) const;
    [[nodiscard]] bool IsSounding(int note) const;
    bool Press(const Key& key, PixelPoint at);
    void ShowReleased();
    void ForgetKey();

    const CGraphicBuffer* white_ = nullptr;
    const CGraphicBuffer* black_ = nullptr;
    std::array<std::uint8_t, kNotes> states_{};
    int semitones_ = 60;
    int firstOctave_ = 3;
    CTransient<std::optional<int>> currentKey_;
    CTransient<float> velocity_;
};

} // namespace keldra
