// Composes the panel as the editor would show it, from the images of a skin folder and the panel's
// table, and writes it as a PNG: to look at while drawing.
//
//   keldra_skin_preview SKIN-FOLDER defaults|random|on OUTPUT.png

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "editor/PanelTable.h"
#include "gui/GraphicBuffer.h"
#include "gui/Image.h"
#include "skin/Canvas.h"

namespace keldra::skin {
namespace {

class CPreview {
public:
    explicit CPreview(std::string folder, std::string state)
        : folder_(std::move(folder)), state_(std::move(state))
    {
    }

    /// @return false when an image can't be read
    bool Draw()
    {
        for (const SkinImageRow& row : kSkinImages)
            if (!images_[row.image].Load(folder_ + "/" + std::string(row.file)))
                return false;
        if (!panel_.Create({kPanelHeight, kPanelWidth}))
            return false;
        CopyFrame(ESkinImage::Background, {0, 0, kPanelWidth, kPanelHeight}, 0, 0);
        for (const PanelControl& control : kPanelControls)
            DrawControl(control);
        return true;
    }

    bool WritePng(const std::string& path) const
    {
        cairo_surface_t* surface =
            cairo_image_surface_create(CAIRO_FORMAT_RGB24, kPanelWidth, kPanelHeight);
        unsigned char* bytes = cairo_image_surface_get_data(surface);
        const std::ptrdiff_t stride = cairo_image_surface_get_stride(surface);
        for (int y = 0; y < kPanelHeight; ++y)
            std::memcpy(bytes + y * stride,
                        panel_.View().pixels +
                            static_cast<std::ptrdiff_t>(kPanelHeight - 1 - y) * kPanelWidth,
                        static_cast<std::size_t>(kPanelWidth) * 4);
        cairo_surface_mark_dirty(surface);
        const bool written =
            cairo_surface_write_to_png(surface, path.c_str()) == CAIRO_STATUS_SUCCESS;
        cairo_surface_destroy(surface);
        return written;
    }

private:
    void CopyFrame(ESkinImage image, const PixelRect& to, int x, int y)
    {
        images_[image].CopyTo(panel_, to, {x, y});
    }

    static PixelRect RectOf(const PanelControl& control)
    {
        return {control.rect.x, control.rect.y, control.rect.width, control.rect.height};
    }

    float Random()
    {
        random_ = random_ * 196314165u + 907633515u;
        return static_cast<float>(random_ >> 8) / 16777216.0f;
    }

    float ValueOf(const PanelControl& control)
    {
        const bool whole = control.kind == EPanelControl::Menu;
        if (state_ == "random")
            return whole ? std::floor(Random() * static_cast<float>(control.items)) : Random();
        if (state_ == "on" && !whole)
            return 1.0f;
        if (control.parameter == kPitchBendValue)
            return 0.5f;
        return TableDefault(control.parameter);
    }

    void DrawControl(const PanelControl& control)
    {
        panel_.ResetClip();
        switch (control.kind) {
        case EPanelControl::Knob:
            DrawKnob(control);
            break;
        case EPanelControl::Button:
            DrawButton(control);
            break;
        case EPanelControl::Fader:
            DrawFader(control);
            break;
        case EPanelControl::Selector:
            DrawSelector(control);
            break;
        case EPanelControl::Menu:
            if (control.role == EPanelRole::None)
                DrawText(control, MenuItemText(control, static_cast<int>(ValueOf(control))));
            break;
        case EPanelControl::Display:
            DrawText(control, control.role == EPanelRole::ProgramName     ? "Brass Parade"
                              : control.role == EPanelRole::ParameterText ? "Flt. Cutoff [74]"
                                                                          : "CC: 74");
            break;
        case EPanelControl::Keyboard:
            DrawKeyboard(control);
            break;
        }
    }

    void DrawText(const PanelControl& control, const std::string& text)
    {
        panel_.ResetPen();
        panel_.AlignTextCenter();
        panel_.DrawText(text, RectOf(control));
    }

    /// As a knob between two frames shows both.
    void DrawKnob(const PanelControl& control)
    {
        const PixelRect rect = RectOf(control);
        const float position = ValueOf(control) * (kFilmstripFrames - 1);
        const int frame = static_cast<int>(position);
        const PixelRect whole{0, 0, rect.width, rect.height};
        CGraphicBuffer next;
        if (!next.Create({rect.height, rect.width}))
            return;
        CGraphicBuffer back;
        if (!back.Create({rect.height, rect.width}))
            return;
        panel_.CopyTo(back, whole, {rect.x, rect.y});
        CopyFrame(control.image, rect, 0, (frame + 1) * rect.height);
        panel_.CopyTo(next, whole, {rect.x, rect.y});
        back.CopyTo(panel_, rect, {0, 0});
        CopyFrame(control.image, rect, 0, frame * rect.height);
        next.DrawTo(panel_, rect, {0, 0},
                    static_cast<std::uint8_t>((position - static_cast<float>(frame)) * 255.0f));
    }

    void DrawButton(const PanelControl& control)
    {
        const float value = control.parameter == kNotBound ? 0.0f : ValueOf(control);
        const bool on = state_ == "random" ? value > 0.5f : value != 0.0f;
        const PixelRect rect = RectOf(control);
        CopyFrame(control.image, rect, 0, on ? 2 * rect.height : 0);
    }

    void DrawFader(const PanelControl& control)
    {
        const SkinImageRow& handle = RowOf(control.image);
        const int travel = control.rect.height - handle.frameHeight;
        const int y = static_cast<int>((1.0f - ValueOf(control)) * static_cast<float>(travel));
        CopyFrame(control.image,
                  {control.rect.x + (control.rect.width - handle.frameWidth) / 2,
                   control.rect.y + y, handle.frameWidth, handle.frameHeight},
                  0, 0);
    }

    void DrawSelector(const PanelControl& control)
    {
        const SkinImageRow& row = RowOf(control.image);
        const int chosen =
            static_cast<int>(ValueOf(control) * static_cast<float>(control.items - 1));
        for (int i = 0; i < control.items; ++i)
            CopyFrame(control.image,
                      {control.rect.x, control.rect.y + i * row.frameHeight, row.frameWidth,
                       row.frameHeight},
                      i * row.frameWidth, i == chosen ? row.frameHeight : 0);
    }

    void DrawKeyboard(const PanelControl& control)
    {
        const SkinImageRow& white = RowOf(ESkinImage::WhiteKey);
        const SkinImageRow& black = RowOf(ESkinImage::BlackKey);
        const auto isBlack = [](int key) {
            constexpr int kBlack[] = {1, 3, 6, 8, 10};
            for (const int tone : kBlack)
                if (key % 12 == tone)
                    return true;
            return false;
        };
        const auto isPressed = [this](int key) {
            return state_ != "defaults" && (key == 60 || key == 63 || key == 67 || key == 74);
        };
        panel_.SetClip(RectOf(control));
        for (const bool drawBlack : {false, true}) {
            int whites = 0;
            for (int key = kLowestKey; key < kLowestKey + kPanelKeyCount; ++key) {
                const int pressed = isPressed(key) ? 1 : 0;
                if (!isBlack(key)) {
                    const int x = control.rect.x + whites++ * white.frameWidth;
                    if (!drawBlack) {
                        CopyFrame(ESkinImage::WhiteKey,
                                  {x, control.rect.y, white.frameWidth, white.frameHeight},
                                  pressed * white.frameWidth, 0);
                        if (pressed)
                            panel_.FillGradient({x, control.rect.y, 5, white.frameHeight},
                                                Rgba(0, 0, 0, 80), Rgba(0, 0, 0, 0),
                                                Rgba(0, 0, 0, 60), Rgba(0, 0, 0, 200));
                    }
                } else if (drawBlack) {
                    CopyFrame(
                        ESkinImage::BlackKey,
                        {control.rect.x + whites * white.frameWidth - black.frameWidth / 2 - 1,
                         control.rect.y, black.frameWidth, black.frameHeight},
                        pressed * black.frameWidth, 0);
                }
            }
        }
    }

    std::string folder_, state_;
    std::map<ESkinImage, CImage> images_;
    CGraphicBuffer panel_;
    std::uint32_t random_ = 4711;
};

} // namespace
} // namespace keldra::skin

int main(int count, char** arguments)
{
    if (count != 4) {
        std::fprintf(stderr, "usage: %s SKIN-FOLDER defaults|random|on OUTPUT.png\n", arguments[0]);
        return 2;
    }
    keldra::skin::CPreview preview(arguments[1], arguments[2]);
    if (!preview.Draw()) {
        std::fprintf(stderr, "can't read the images in %s\n", arguments[1]);
        return 1;
    }
    if (!preview.WritePng(arguments[3])) {
        std::fprintf(stderr, "can't write %s\n", arguments[3]);
        return 1;
    }
    return 0;
}
