#include "skin/PanelPrint.h"

namespace keldra::skin {

namespace {

constexpr TypeStyle kCaptionStyle{false, 10.0, 0};
constexpr TypeStyle kTitleStyle{true, 10.0, 1};
constexpr TypeStyle kSubtitleStyle{false, 10.0, 2};
constexpr int kTitleBaseline = 10; ///< below a plate's top
constexpr int kTitleIndent = 8;

constexpr double kGlassMargin = 2.0;

} // namespace

Box GlassOf(const PanelControl& menu)
{
    return {menu.rect.x - kGlassMargin, menu.rect.y - kGlassMargin,
            menu.rect.width + 2 * kGlassMargin, menu.rect.height + 2 * kGlassMargin};
}

Box DisplayGlass()
{
    const PanelRect& first = ControlOf(EPanelRole::ProgramName).rect;
    const PanelRect& last = ControlOf(EPanelRole::ControllerText).rect;
    const double left = first.x - 3, top = first.y - 4;
    return {left, top, last.Right() + 3 - left, last.Bottom() + 6 - top};
}

PrintLine SubtitleLine()
{
    return {"VIRTUAL ANALOGUE SYNTHESIZER", 845, 29, EAlign::Right, kSubtitleStyle, kBrass};
}

PrintLine TitleLine(const SectionRow& section)
{
    return {section.title,
            static_cast<double>(section.plate.x + kTitleIndent),
            section.plate.y + kTitleBaseline,
            EAlign::Left,
            kTitleStyle,
            kBrass};
}

PrintLine BracketLine(const BracketRow& bracket)
{
    return {bracket.text,     0.5 * (bracket.left + bracket.right),
            bracket.baseline, EAlign::Centre,
            kCaptionStyle,    kLabel};
}

std::vector<PrintLine> PanelPrint()
{
    std::vector<PrintLine> lines{SubtitleLine()};
    for (const SectionRow& section : kSections)
        if (!section.title.empty())
            lines.push_back(TitleLine(section));
    for (const BracketRow& bracket : kBrackets)
        lines.push_back(BracketLine(bracket));
    for (const LabelRow& label : kLabels)
        lines.push_back({label.text, static_cast<double>(label.x), label.baseline, EAlign::Left,
                         kCaptionStyle, kLabel});
    for (const PanelControl& control : kPanelControls) {
        const bool onGlass = control.kind == EPanelControl::Menu;
        const Box box = onGlass ? GlassOf(control)
                                : Box{static_cast<double>(control.rect.x), 0.0,
                                      static_cast<double>(control.rect.width), 0.0};
        if (!control.caption.text.empty())
            lines.push_back({control.caption.text, box.x + 0.5 * box.width,
                             control.caption.baseline, EAlign::Centre, kCaptionStyle, kCream});
    }
    return lines;
}

} // namespace keldra::skin
