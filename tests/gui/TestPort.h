#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "gui/WindowPort.h"
#include "platform/headless/HeadlessWindow.h"

namespace keldra {

/// A window port on a window in memory that writes down what its controls tell it.
class CTestPort : public CWindowPort {
public:
    explicit CTestPort(PixelSize size = {200, 300}) { SetSize(size); }
    ~CTestPort() override { Close(); }

    CHeadlessWindow& Show()
    {
        EXPECT_TRUE(Open(7));
        return *CHeadlessWindow::Newest();
    }

    /// "P3 C3=0.500 R3": pressed, changed and released, with the parameter's index.
    std::string TakeLog() { return std::exchange(log_, {}); }
    void Refuse(bool pressed, bool changed)
    {
        refusesPressed_ = pressed;
        refusesChanged_ = changed;
    }

    bool OnControlPressed(CControl* control) override
    {
        Add({"P", std::to_string(control->GetParamIndex())});
        return !refusesPressed_;
    }
    void OnControlReleased(CControl* control) override
    {
        Add({"R", std::to_string(control->GetParamIndex())});
    }
    bool OnControlChanged(CControl* control, float value) override
    {
        char text[32];
        std::snprintf(text, sizeof text, "%.4f", static_cast<double>(value));
        std::string shortened = text;
        while (shortened.back() == '0')
            shortened.pop_back();
        if (shortened.back() == '.')
            shortened.pop_back();
        Add({"C", std::to_string(control->GetParamIndex()), "=", shortened});
        return !refusesChanged_;
    }
    std::string GetValueText(const CControl* control) const override
    {
        return std::to_string(std::lround(control->GetValue() * 100.0f)).append(" %");
    }
    bool SetValueFromText(CControl* control, std::string_view text) override
    {
        char* end = nullptr;
        const std::string copy(text);
        const float percent = std::strtof(copy.c_str(), &end);
        return end != copy.c_str() && control->EditValue(percent / 100.0f);
    }
    void OnFileDropped(std::string_view path) override { Add({"D", path}); }
    void OnSetFocus() override { Add({"F"}); }

    void Add(std::initializer_list<std::string_view> parts)
    {
        if (!log_.empty())
            log_ += ' ';
        for (const std::string_view part : parts)
            log_ += part;
    }

private:
    std::string log_;
    bool refusesPressed_ = false;
    bool refusesChanged_ = false;
};

/// A control on a window that has the focus, and the user's hand.
template <typename Control>
class CControlTest : public testing::Test {
protected:
    CControlTest(int index, const PixelRect& rect, PixelSize window = {200, 300})
        : port_(window),
          control_(port_.GetRootGroup()->Add(std::make_unique<Control>(index))),
          window_(port_.Show())
    {
        control_.SetRect(rect);
        window_.Focus(true);
        port_.TakeLog();
    }
    void Click(PixelPoint at) const
    {
        window_.MoveTo(at);
        window_.Press();
        window_.Release();
    }

    CTestPort port_;
    Control& control_;
    CHeadlessWindow& window_;
};

/// A picture whose every pixel says where it is: blue is the column, green the row, red as given.
inline void FillWithPlaces(CGraphicBuffer& picture, PixelSize size, unsigned red = 0)
{
    EXPECT_TRUE(picture.Create(size));
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x)
            picture.SetPixel(
                x, y, Rgba(red, static_cast<unsigned>(y & 255), static_cast<unsigned>(x & 255), 0));
}

} // namespace keldra
