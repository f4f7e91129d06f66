#include "skin/Pictures.h"

namespace keldra::skin {

Picture DrawImage(ESkinImage image, const CType& type)
{
    switch (image) {
    case ESkinImage::Background:
        return DrawBackground(type);
    case ESkinImage::About:
        return DrawAbout(type);
    case ESkinImage::Knob:
        return DrawKnob();
    case ESkinImage::Wheel:
        return DrawWheel();
    case ESkinImage::FaderHandle:
        return DrawFaderHandle();
    case ESkinImage::BigButton:
        return DrawBigButton();
    case ESkinImage::GateWhite:
    case ESkinImage::GateBlue:
        return DrawGateStep(image);
    case ESkinImage::Link:
    case ESkinImage::Unlink:
        return DrawLinkButton(image);
    case ESkinImage::PreviousProgram:
    case ESkinImage::NextProgram:
        return DrawProgramStep(image);
    case ESkinImage::LfoShape:
    case ESkinImage::ArpMode:
    case ESkinImage::ArpRange:
    case ESkinImage::ModWheelDestination:
    case ESkinImage::EgDestination:
    case ESkinImage::LfoDestination:
    case ESkinImage::FilterMode:
        return DrawSelector(image, type);
    case ESkinImage::WhiteKey:
        return DrawWhiteKey();
    case ESkinImage::BlackKey:
        return DrawBlackKey();
    }
    return {};
}

} // namespace keldra::skin
