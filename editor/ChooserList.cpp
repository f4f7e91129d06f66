#include "editor/ChooserList.h"

#include "gui/Fonts.h"

namespace keldra {

namespace {

constexpr Color kFolderSign = Rgb(190, 172, 139);
constexpr Color kChosenFolderSign = Rgb(70, 58, 32);
constexpr Color kFaintText = Rgb(150, 143, 130);
constexpr int kSignHeight = 8;

} // namespace

void CChooserList::DrawItems()
{
    CControlList::DrawItems();
    CGraphicBuffer* const buffer = GetBuffer();
    if (buffer == nullptr)
        return;
    if (GetItemCount() == 0) {
        buffer->SelectRegularFont();
        buffer->AlignTextCenter();
        buffer->SetTextColor(kFaintText);
        buffer->DrawText(whenEmpty_, {GetRect().x, GetRect().y, GetRect().width, 40});
        return;
    }
    const int rows = CurrentLayout().visibleRows;
    for (int row = 0; row < rows && FirstRow() + row < folders_; ++row) {
        const PixelRect place = ItemRect(row);
        const PixelPoint at{place.x + 4, place.y + (place.height - kSignHeight) / 2};
        const bool isChosen = FirstRow() + row == ChosenIndex();
        buffer->SetFillColor(isChosen ? kChosenFolderSign : kFolderSign);
        buffer->FillRect({at.x, at.y, 4, 2}); // its tab
        buffer->FillRect({at.x, at.y + 2, 10, kSignHeight - 2});
    }
}

/// The first press may have scrolled or filled the list anew: then the second chose something else.
bool CChooserList::OnDoubleClick()
{
    const int before = ChosenIndex();
    CControlList::OnDoubleClick();
    if (!IsThumbHeld() && HoveredRow() >= 0 && ChosenIndex() == before)
        open_();
    return true;
}

void CChooserList::Fill(const ChooserFolder& folder)
{
    ClearItems();
    folders_ = 0;
    for (const FolderEntry& entry : folder.entries) {
        AddItem(Drawable(entry.name));
        folders_ += entry.isFolder ? 1 : 0;
    }
    whenEmpty_ = folder.isReadable ? "Nothing here to choose from" : "This folder can't be read";
    SetScrollOffset(0.0f);
}

} // namespace keldra
