#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "presets/Bank.h"

namespace keldra {

/// The banks of a library in the order of its list.
using LibraryBanks = std::vector<std::shared_ptr<const CBank>>;

/// What is selected in a library. Indices, -1 for none.
struct LibrarySelection {
    int bank = -1;
    int program = -1;
    /// The program whose name and path are the current ones: the selected one, unless the current
    /// file isn't one of the library's.
    int namedBank = -1;
    int namedProgram = -1;
};

/// One instance's library and what is selected in it, for two kinds of threads: control threads,
/// one at a time, which bring new libraries and select; and the thread that has the engine, which
/// selects by MIDI and must neither wait nor take or free memory.
///
/// A selection is meaningless without the list it points into, so both have to change as one. A
/// library is put into one of a few slots, and one atomic word holds the slot's number and the
/// indices. Whoever wants to change something reads the word, decides, and exchanges it for the new
/// one if it is still the same; otherwise decides anew.
///
/// Only control threads fill and empty slots. The engine's thread stores the number of the slot
/// that it is going to look into (readSlot_), then reads the word once more, and looks only if the
/// word still names that slot. What holds, and suffices:
///
///     A slot's library is let go or replaced only when neither the word nor, asked after it,
///     readSlot_ names the slot.
///
/// An example. The word names slot 0; the engine's thread reads it and is held up. A control thread
/// fills slot 1, exchanges the word, finds nothing in readSlot_ and empties slot 0. The engine's
/// thread goes on: it stores 0, reads the word, finds 1 and goes round without having looked; it
/// stores 1, finds 1, and looks into slot 1. Had it stored its 0 before the control thread asked,
/// slot 0 would have stayed until the next library comes, though nobody looks into it. There is no
/// gap between the two: one stores the slot and then reads the word, the other stores the word and
/// then reads the slot, and of these four in any order one thread sees the other's.
///
/// Nor is a word mistaken for an earlier one of the same bits: while its slot is read it isn't
/// filled anew. And nobody waits: a control thread takes another slot instead. (A reference count
/// on the library would do for reading it, but the last to let go has to free it, and that may be
/// the engine's thread.)
class CLibraryView {
public:
    /// A moment of the view, for control threads.
    struct Moment {
        std::shared_ptr<const LibraryBanks> banks; ///< never null
        LibrarySelection selection;
        std::uint64_t word = 0;
    };

    /// For as long as it lives, the thread that has the engine may look at the library. One at a
    /// time, not for long: it holds on to a slot.
    class CReading {
    public:
        explicit CReading(CLibraryView& view);
        ~CReading();
        CReading(const CReading&) = delete;
        CReading& operator=(const CReading&) = delete;

        [[nodiscard]] const LibraryBanks& Banks() const { return *banks_; }
        [[nodiscard]] LibrarySelection Selection() const;
        /// @return false when a control thread has changed something since: read anew
        [[nodiscard]] bool TrySelect(const LibrarySelection& selection);

    private:
        CLibraryView& view_;
        std::uint64_t word_;
        const LibraryBanks* banks_;
    };

    CLibraryView();

    // Control threads, one at a time
    [[nodiscard]] Moment Now() const;
    /// @return false when the engine's thread has selected something since: take a new moment
    [[nodiscard]] bool TrySelect(const Moment& seen, const LibrarySelection& selection);
    [[nodiscard]] bool TryPublish(const Moment& seen, std::shared_ptr<const LibraryBanks> banks,
                                  const LibrarySelection& selection);

private:
    static constexpr int kSlotCount = 3; ///< the word's, the reader's, and one to fill
    static constexpr int kNoSlot = -1;

    std::array<std::shared_ptr<const LibraryBanks>, kSlotCount> slots_;
    std::atomic<std::uint64_t> word_;
    std::atomic<int> readSlot_{kNoSlot};
};

} // namespace keldra
