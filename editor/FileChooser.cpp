#include "editor/FileChooser.h"

#include <algorithm>
#include <utility>

#include "editor/ChooserList.h"
#include "gui/ControlTextField.h"
#include "gui/Fonts.h"
#include "gui/WindowPort.h"
#include "platform/UiThread.h"

namespace keldra {

namespace {

using EState = CFileDialog::EState;

constexpr PixelSize kGreatestSize{444, 540}; // of the list sixteen lines
constexpr Color kWarning = Rgb(240, 150, 110);
constexpr int kMargin = 20;
constexpr int kLine = 22; // height of buttons and fields
constexpr int kButtonWidth = 70;
constexpr int kCaptionWidth = 50; // of "Name"

PixelRect ChooserRect(PixelSize window)
{
    const int width = std::min(window.width, kGreatestSize.width);
    const int height = std::min(window.height, kGreatestSize.height);
    return {(window.width - width) / 2, (window.height - height) / 2, width, height};
}

/// The end of a path, with dots for what doesn't fit.
std::string EndOfPath(CGraphicBuffer& buffer, const std::string& path, int width)
{
    std::string shown = Drawable(path);
    buffer.SelectRegularFont();
    const auto fits = [&](const std::string& text) {
        return buffer.DrawText(text, {}, ETextPass::MeasureOnly).width <= width;
    };
    if (fits(shown))
        return shown;
    while (!shown.empty() && !fits("..." + shown))
        shown.erase(0, 1);
    return "..." + shown;
}

bool BeginsWith(std::string_view text, std::string_view beginning)
{
    const auto small = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    };
    return text.size() >= beginning.size() &&
           std::equal(beginning.begin(), beginning.end(), text.begin(),
                      [small](char a, char b) { return small(a) == small(b); });
}

} // namespace

CFileChooser::CFileChooser(const FileDialogRequest& request, PixelSize window, Later later,
                           std::shared_ptr<Answer> answer)
    : kind_(request.kind),
      title_(Drawable(request.title)),
      filters_(request.filters),
      later_(std::move(later)),
      answer_(std::move(answer)),
      firstFolder_(request.folder.empty() ? HomeFolder() : request.folder),
      firstName_(request.name)
{
    SetRect(ChooserRect(window));
    BuildControls(request);
    answer_->chooser = this;
}

CFileChooser::~CFileChooser()
{
    answer_->chooser = nullptr;
    if (answer_->state == EState::Open)
        answer_->state = EState::Cancelled;
}

void CFileChooser::BuildControls(const FileDialogRequest& request)
{
    const PixelRect rect = GetRect();
    const int left = rect.x + kMargin;
    const int right = rect.x + rect.width - kMargin;
    const int top = rect.y + 34;
    const int bottom = rect.y + rect.height - kMargin - kLine;
    const int nameLine = bottom - kLine - 8;

    const auto display = [](const PixelRect& place, Color color) {
        auto made = std::make_unique<CControlDisplay>();
        made->SetRect(place);
        made->SetTextColor(color);
        made->AlignLeft();
        return made;
    };
    parent_ = &Add(MakeModalButton("Up", {left, top, 44, kLine}));
    home_ = &Add(MakeModalButton("Home", {left + 48, top, 54, kLine}));
    path_ = &Add(display({left + 112, top, right - left - 112, kLine}, kModalText));

    auto list = std::make_unique<CChooserList>([this] { OpenSelected(); });
    list->SetRect({left, top + kLine + 8, right - left, nameLine - top - kLine - 16});
    list->SetMargins(6, 6);
    list->SetTextIndent(18);
    list_ = &Add(std::move(list));

    auto name = std::make_unique<CControlTextField>();
    name->SetRect({left + kCaptionWidth, nameLine, right - left - kCaptionWidth, kLine});
    name->SetTextColor(kModalText);
    if (IsSaving())
        name->SetText(request.name);
    name_ = &Add(std::move(name));
    question_ = &Add(display({left, nameLine, right - left, kLine}, kWarning));
    question_->SetBold();
    question_->SetHidden(true);

    const int buttons = right - 2 * kButtonWidth - 6;
    if (filters_.size() > 1) {
        auto menu = std::make_unique<CControlMenu>();
        menu->SetRect({left, bottom, 200, kLine});
        menu->SetFramed();
        menu->SetTextColor(kModalText);
        for (const FileDialogRequest::Filter& filter : filters_) {
            std::string patterns;
            for (const std::string& pattern : SplitPatterns(filter.patterns))
                patterns += (patterns.empty() ? "" : " ") + pattern;
            menu->AddItem(Drawable(filter.description) + " (" + patterns + ")");
        }
        menu->SetValue(0.0f);
        filter_ = &Add(std::move(menu));
    }
    message_ = &Add(display({left, bottom, buttons - left - 6, kLine}, kWarning));
    message_->SetHidden(true);
    cancel_ = &Add(MakeModalButton("Cancel", {buttons, bottom, kButtonWidth, kLine}));
    accept_ = &Add(MakeModalButton(IsSaving() ? "Save" : "Open",
                                   {right - kButtonWidth, bottom, kButtonWidth, kLine}));
}

void CFileChooser::Show()
{
    SetFocusGroup();
    SetModal(true);
    TakeKeyboard();
    GetOwner()->RedrawAll();
    GetOwner()->PresentAll();
    GoTo(firstFolder_, firstName_);
}

void CFileChooser::TakeOff()
{
    CWindowPort* const port = GetOwner();
    if (IsHidden())
        return;
    CloseModalGroup(*this);
    port->RemoveGroupLater(this);
}

void CFileChooser::Finish(EState state, std::string path)
{
    if (answer_->state != EState::Open)
        return;
    answer_->state = state;
    answer_->path = std::move(path);
    TakeOff();
}

void CFileChooser::Refresh()
{
    if (IsHidden())
        return;
    GetOwner()->RedrawAll();
    GetOwner()->PresentRegion(GetRect());
}

// --- Folders ---

const std::string& CFileChooser::Patterns() const
{
    static const std::string every;
    const std::size_t chosen =
        filter_ != nullptr ? static_cast<std::size_t>(std::max(filter_->GetValue(), 0.0f)) : 0;
    return chosen < filters_.size() ? filters_[chosen].patterns : every;
}

/// @param selected  the entry that is chosen there, with or without its extension
void CFileChooser::GoTo(std::string folder, std::string selected)
{
    later_([answer = answer_, folder = std::move(folder), selected = std::move(selected),
            patterns = Patterns()]() mutable {
        ChooserFolder read = ReadChooserFolder(std::move(folder), patterns);
        const CUiLock lock;
        if (CFileChooser* const chooser = answer->chooser)
            chooser->ShowFolder(std::move(read), selected);
    });
}

void CFileChooser::ShowFolder(ChooserFolder folder, const std::string& selected)
{
    folder_ = std::move(folder);
    path_->SetText(GetBuffer() != nullptr
                       ? EndOfPath(*GetBuffer(), folder_.path, path_->GetRect().width)
                       : folder_.path);
    list_->Fill(folder_);
    list_->SetValue(-1.0f);
    if (!IsSaving()) {
        name_->SetText("");
        list_->SetFocus();
    }
    const auto& entries = folder_.entries;
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const FolderEntry& entry) {
        return entry.name == selected ||
               (!entry.isFolder && WithoutExtension(entry.name) == selected);
    });
    if (found != entries.end() && !selected.empty())
        Select(static_cast<int>(found - entries.begin()));
    Refresh();
}

const FolderEntry* CFileChooser::SelectedEntry() const
{
    const auto row = static_cast<std::size_t>(list_->Chosen());
    return row < folder_.entries.size() ? &folder_.entries[row] : nullptr;
}

void CFileChooser::Select(int row)
{
    list_->SetValue(static_cast<float>(row));
    list_->ShowItem(row);
    // Who saves keeps the name that was typed, unless another file's is wanted.
    if (const FolderEntry* const entry = SelectedEntry();
        entry != nullptr && !(IsSaving() && entry->isFolder))
        name_->SetText(entry->name);
}

/// While a name is typed the first one that begins like it is chosen.
void CFileChooser::SelectByName(std::string_view beginning)
{
    const auto& entries = folder_.entries;
    const auto found =
        std::find_if(entries.begin(), entries.end(), [beginning](const FolderEntry& entry) {
            return BeginsWith(entry.name, beginning);
        });
    const bool any = found != entries.end() && !beginning.empty();
    list_->SetValue(any ? static_cast<float>(found - entries.begin()) : -1.0f);
    if (any)
        list_->ShowItem(static_cast<int>(found - entries.begin()));
}

// --- Answers ---

void CFileChooser::OpenSelected()
{
    const FolderEntry* const entry = SelectedEntry();
    if (entry == nullptr)
        return;
    if (entry->isFolder)
        GoTo(JoinPath(folder_.path, entry->name));
    else
        TakeName();
}

void CFileChooser::TakeName()
{
    later_([answer = answer_, folder = folder_.path, text = name_->GetText(),
            patterns = IsSaving() ? std::string() : Patterns()] {
        const ChooserTarget target = FindChooserTarget(folder, text, patterns);
        const CUiLock lock;
        if (answer->chooser != nullptr)
            answer->chooser->TakeTarget(target);
    });
}

void CFileChooser::TakeTarget(const ChooserTarget& target)
{
    using EKind = ChooserTarget::EKind;
    switch (target.kind) {
    case EKind::Folder:
        if (IsSaving())
            name_->SetText("");
        GoTo(target.path);
        break;
    case EKind::File:
        if (IsSaving())
            Ask(target.path);
        else
            Finish(EState::Chosen, target.path);
        break;
    case EKind::NewFile:
        if (IsSaving()) {
            Finish(EState::Chosen, target.path);
        } else if (const FolderEntry* const entry = SelectedEntry(); // named by its beginning
                   entry != nullptr && BeginsWith(entry->name, name_->GetText())) {
            if (entry->isFolder)
                GoTo(JoinPath(folder_.path, entry->name));
            else
                Finish(EState::Chosen, JoinPath(folder_.path, entry->name));
        } else {
            ShowMessage("There is no such file");
        }
        break;
    case EKind::MissingFolder:
        ShowMessage("There is no such folder");
        break;
    case EKind::Nothing:
        ShowMessage(IsSaving() ? "Please type a name" : "Please choose a file");
        break;
    }
}

void CFileChooser::Accept()
{
    if (IsAsking())
        Finish(EState::Chosen, replaced_);
    else
        TakeName();
}

void CFileChooser::Cancel()
{
    if (IsAsking())
        ShowQuestion(false);
    else
        Finish(EState::Cancelled);
}

void CFileChooser::Ask(std::string path)
{
    replaced_ = std::move(path);
    question_->SetText("Replace \"" + Drawable(FileNameOf(replaced_)) + "\"? It exists already.");
    ShowQuestion(true);
}

void CFileChooser::ShowQuestion(bool shown)
{
    if (!shown)
        replaced_.clear();
    question_->SetHidden(!shown);
    name_->SetHidden(shown);
    accept_->SetText(shown ? "Replace" : IsSaving() ? "Save" : "Open");
    cancel_->SetText(shown ? "Keep" : "Cancel");
    if (shown)
        list_->SetFocus();
    else
        name_->SetFocus();
    Refresh();
}

/// In the place of the filter, until something else is done.
void CFileChooser::ShowMessage(std::string_view text)
{
    const bool changes = message_->SetText(text);
    const bool shows = message_->SetHidden(text.empty());
    if (filter_ != nullptr)
        filter_->SetHidden(!text.empty());
    if (changes || shows)
        Refresh();
}

// --- What the user does ---

void CFileChooser::OnControlReleased(CControl* control)
{
    if (!control->IsUnderMouse())
        return; // not meant
    if (control == parent_)
        GoToParent();
    else if (control == home_)
        GoTo(HomeFolder());
    else if (control == cancel_)
        Cancel();
    else if (control == accept_)
        Accept();
}

bool CFileChooser::OnControlChanged(CControl* control, float value)
{
    if (control == list_) {
        Select(static_cast<int>(value));
        name_->Draw();
        name_->Present();
    } else if (control == name_) {
        if (!IsSaving())
            SelectByName(name_->GetText());
        list_->Draw();
        list_->Present();
    } else if (control == filter_) {
        filter_->SetValue(value); // it is read at once
        GoTo(folder_.path);
    }
    return true;
}

/// The keyboard is the chooser's again: the window may have lost it meanwhile.
void CFileChooser::TakeKeyboard()
{
    SetFocusGroup();
    if (GetFocusControl() == nullptr || GetFocusControl()->IsHidden()) {
        if (IsSaving() && !IsAsking())
            name_->SetFocus();
        else
            list_->SetFocus();
    }
}

bool CFileChooser::OnMouseDown()
{
    const PixelPoint at = GetOwner()->GetMousePosition();
    if (GetActiveControl() == nullptr) {
        TakeKeyboard();
        ShowMessage({});
        if (IsAsking() && !accept_->GetRect().Contains(at) && !cancel_->GetRect().Contains(at)) {
            ShowQuestion(false);
            return true;
        }
    }
    CControlGroup::OnMouseDown();
    return true; // nothing for what lies under it
}

bool CFileChooser::OnDoubleClick()
{
    if (IsAsking() || GetActiveControl() != nullptr)
        return OnMouseDown();
    ShowMessage({});
    CControlGroup::OnDoubleClick();
    return true;
}

bool CFileChooser::OnKeyDown(int key)
{
    if (GetActiveControl() != nullptr) {
        CControlGroup::OnKeyDown(key);
        return true;
    }
    TakeKeyboard();
    ShowMessage({});
    if (!IsAsking())
        return PressKey(key);
    if (key == kKeyEnter)
        Accept();
    else if (key == kKeyEscape)
        Cancel();
    return true;
}

bool CFileChooser::PressKey(int key)
{
    const bool alt = GetOwner()->GetHeldKey() == EHeldKey::Alt;
    const bool inList = list_->HasFocus();
    if (key == kKeyEscape) {
        Cancel();
    } else if (key == kKeyEnter) {
        const FolderEntry* const entry = SelectedEntry();
        if (inList && entry != nullptr && entry->isFolder)
            OpenSelected();
        else
            Accept();
    } else if (key == kKeyTab) {
        if (inList)
            name_->SetFocus();
        else
            list_->SetFocus();
        Refresh();
    } else if ((alt && key == kKeyUp) || (inList && key == kKeyBackspace)) {
        GoToParent();
    } else if (alt && key == kKeyHome) {
        GoTo(HomeFolder());
    } else {
        const bool moves =
            key == kKeyUp || key == kKeyDown || key == kKeyPageUp || key == kKeyPageDown;
        if (moves)
            list_->SetFocus();
        else if (key < kKeyEnter) // a character
            name_->SetFocus();
        CControlGroup::OnKeyDown(key);
    }
    return true;
}

// --- Backdrop ---

void CFileChooser::DrawBackground(const PixelRect& region)
{
    CGraphicBuffer* const buffer = GetBuffer();
    if (buffer == nullptr || !buffer->SetClip(region))
        return;
    const PixelRect rect = GetRect();
    DrawModalPanel(*buffer, rect);
    buffer->SetTextColor(kModalText);
    buffer->AlignTextCenter();
    buffer->SelectBoldFont();
    buffer->DrawText(title_, {rect.x + 6, rect.y + 6, rect.width - 12, 22});
    if (name_->IsHidden())
        return;
    buffer->AlignTextLeft();
    buffer->SelectRegularFont();
    buffer->DrawText("Name", {rect.x + kMargin + 2, name_->GetRect().y, kCaptionWidth, kLine});
}

// --- As a dialog ---

namespace {

class CChooserDialog final : public CFileDialog {
public:
    CChooserDialog(CWindowPort& port, const FileDialogRequest& request, Later later)
        : port_(port), request_(request), later_(std::move(later))
    {
    }
    ~CChooserDialog() override
    {
        const CUiLock lock;
        CFileChooser* const chooser = answer_->chooser;
        if (chooser == nullptr)
            return;
        chooser->TakeOff();
        port_.RemoveGroup(chooser);
    }
    CChooserDialog(const CChooserDialog&) = delete;
    CChooserDialog& operator=(const CChooserDialog&) = delete;

    EState Poll() override
    {
        const CUiLock lock;
        // Not into somebody's hand: a drag or an open list would be torn from it.
        if (!shown_ && port_.IsOpen() && !port_.IsCapturing() && port_.GetModalChild() == nullptr) {
            shown_ = true;
            auto chooser =
                std::make_unique<CFileChooser>(request_, port_.GetSize(), later_, answer_);
            CFileChooser& added = *chooser;
            port_.AddGroup(std::move(chooser));
            added.Show();
        }
        return answer_->state;
    }
    const std::string& Path() const override { return answer_->path; }

private:
    CWindowPort& port_;
    const FileDialogRequest request_;
    const Later later_;
    const std::shared_ptr<CFileChooser::Answer> answer_ = std::make_shared<CFileChooser::Answer>();
    bool shown_ = false;
};

} // namespace

std::unique_ptr<CFileDialog> OpenFileChooser(CWindowPort& port, const FileDialogRequest& request,
                                             Later later)
{
    return std::make_unique<CChooserDialog>(port, request, std::move(later));
}

} // namespace keldra
