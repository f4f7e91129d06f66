#include "presets/LibraryView.h"

#include <utility>

#include "platform/Folders.h"

namespace keldra {

namespace {

// The word: slot in the upper 4 bits, then four indices of 15 bits, each plus 1.
constexpr int kIndexBits = 15;
constexpr std::uint64_t kIndexMask = (1u << kIndexBits) - 1;

std::uint64_t Packed(int slot, const LibrarySelection& selection)
{
    std::uint64_t word = static_cast<std::uint64_t>(slot);
    for (const int index :
         {selection.bank, selection.program, selection.namedBank, selection.namedProgram})
        word = word << kIndexBits | (static_cast<std::uint64_t>(index + 1) & kIndexMask);
    return word;
}

int SlotOf(std::uint64_t word)
{
    return static_cast<int>(word >> (4 * kIndexBits));
}

LibrarySelection SelectionOf(std::uint64_t word)
{
    const auto index = [word](int place) {
        return static_cast<int>(word >> (place * kIndexBits) & kIndexMask) - 1;
    };
    return {index(3), index(2), index(1), index(0)};
}

static_assert(kMaxFolderEntries < kIndexMask, "an index of a list fits its bits");

} // namespace

// All orders are sequentially consistent: that of storing one and then reading the other counts.

CLibraryView::CLibraryView() : word_(Packed(0, {}))
{
    slots_[0] = std::make_shared<const LibraryBanks>();
}

CLibraryView::CReading::CReading(CLibraryView& view) : view_(view), word_(view.word_.load())
{
    // Goes round again only when a library was published between these two lines: once for a click.
    for (std::uint64_t before = ~word_; SlotOf(before) != SlotOf(word_);) {
        before = word_;
        view_.readSlot_.store(SlotOf(before));
        word_ = view_.word_.load();
    }
    banks_ = view_.slots_[static_cast<std::size_t>(SlotOf(word_))].get();
}

CLibraryView::CReading::~CReading()
{
    view_.readSlot_.store(kNoSlot);
}

LibrarySelection CLibraryView::CReading::Selection() const
{
    return SelectionOf(word_);
}

bool CLibraryView::CReading::TrySelect(const LibrarySelection& selection)
{
    std::uint64_t expected = word_;
    return view_.word_.compare_exchange_strong(expected, Packed(SlotOf(word_), selection));
}

CLibraryView::Moment CLibraryView::Now() const
{
    const std::uint64_t word = word_.load();
    return {slots_[static_cast<std::size_t>(SlotOf(word))], SelectionOf(word), word};
}

bool CLibraryView::TrySelect(const Moment& seen, const LibrarySelection& selection)
{
    std::uint64_t expected = seen.word;
    return word_.compare_exchange_strong(expected, Packed(SlotOf(expected), selection));
}

bool CLibraryView::TryPublish(const Moment& seen, std::shared_ptr<const LibraryBanks> banks,
                              const LibrarySelection& selection)
{
    const int old = SlotOf(seen.word);
    const auto mayFill = [this, old](int slot) { return slot != old && slot != readSlot_.load(); };
    int slot = 0;
    while (!mayFill(slot))
        slot = (slot + 1) % kSlotCount;
    slots_[static_cast<std::size_t>(slot)] = std::move(banks);
    std::uint64_t expected = seen.word;
    const bool published = word_.compare_exchange_strong(expected, Packed(slot, selection));

    // Frees what nobody looks at any more: the old library, or what wasn't published.
    const int current = published ? slot : old;
    for (int other = 0; other < kSlotCount; ++other)
        if (other != current && other != readSlot_.load())
            slots_[static_cast<std::size_t>(other)].reset();
    return published;
}

} // namespace keldra
