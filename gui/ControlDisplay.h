#pragma once

#include <string>
#include <string_view>

#include "gui/Control.h"

namespace keldra {

/// A text or a picture, framed or not; the base of most controls.
class CControlDisplay : public CControl {
public:
    using CControl::CControl;

    void Draw() override;
    void Erase() override { DrawFrame(); }
    bool OnMouseDown() override;

    virtual void SetImage(const CGraphicBuffer* image)
    {
        image_ = image;
    }                                            ///< not owned; may be null
    virtual bool SetText(std::string_view text); ///< cut at 255 bytes; true when that changed it
    [[nodiscard]] virtual const std::string& GetText() const { return text_; }
    virtual void SetTextColor(Color color) { textColor_ = color; }
    virtual void SetBold() { bold_ = true; }
    virtual void SetRegular() { bold_ = false; }
    virtual void SetUnframed() { framed_ = false; }
    virtual void SetFramed() { framed_ = true; }
    virtual void AlignLeft() { align_ = ETextAlign::Left; }
    virtual void AlignCenter() { align_ = ETextAlign::Center; }
    virtual void AlignRight() { align_ = ETextAlign::Right; }
    /// What lies under the text: the frame, or else what is behind the control.
    virtual void DrawFrame();

    [[nodiscard]] const CGraphicBuffer* GetImage() const { return image_; }
    [[nodiscard]] Color GetTextColor() const { return textColor_; }
    /// Shows a part of the image only. @param to  in the window; an empty one shows the whole image
    void SetImagePlacement(const PixelRect& to, PixelPoint from);
    [[nodiscard]] PixelPoint GetImageSource() const { return imageSource_; }
    void SetImageSource(PixelPoint from) { imageSource_ = from; }
    /// The text's outline in its own colour. @param strength  0 (none) .. 1
    void SetHalo(float strength) { haloStrength_ = strength; }

private:
    void DrawImage(CGraphicBuffer& buffer) const;
    void DrawLabel(CGraphicBuffer& buffer) const;

    std::string text_;
    Color textColor_ = Rgb(200, 200, 200);
    float haloStrength_ = 0.0f;
    PixelRect imagePlace_;
    PixelPoint imageSource_;
    bool bold_ = false;
    ETextAlign align_ = ETextAlign::Center;
    bool framed_ = false;
    const CGraphicBuffer* image_ = nullptr;
};

} // namespace keldra
