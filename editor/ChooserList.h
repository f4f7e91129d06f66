#pragma once

#include <functional>
#include <string_view>

#include "editor/FileChooserFolder.h"
#include "gui/ControlList.h"

namespace keldra {

/// The file chooser's list: folders have a sign of their own, and a second press opens what the
/// first one chose.
class CChooserList final : public CControlList {
public:
    explicit CChooserList(std::function<void()> open) : open_(std::move(open)) {}

    void DrawItems() override;
    bool OnDoubleClick() override;

    void Fill(const ChooserFolder& folder);                    ///< from the top; doesn't draw
    [[nodiscard]] int Chosen() const { return ChosenIndex(); } ///< -1: none

private:
    const std::function<void()> open_;
    int folders_ = 0; ///< at the list's beginning
    std::string_view whenEmpty_;
};

} // namespace keldra
