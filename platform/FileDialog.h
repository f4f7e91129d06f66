#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace keldra {

/// What a file dialog is to show, and what its caller wants back with the answer.
struct FileDialogRequest {
    enum class EKind {
        Open, ///< an existing file
        Save, ///< any file; the dialog asks before an existing one is replaced
    };
    struct Filter {
        std::string description; ///< "Keldra Program"
        std::string patterns;    ///< each followed by a semicolon: "*.fxp;"; "*.*;" is every file
    };

    EKind kind = EKind::Open;
    std::string title;
    std::vector<Filter> filters;
    std::string folder;       ///< to begin in: absolute, or empty for the system's choice
    std::string name;         ///< file name to begin with; may be empty
    std::uintptr_t owner = 0; ///< the system's handle of the window it belongs to; 0: none
    std::uint64_t tag = 0;    ///< the caller's own, kept with the dialog
};

/// A file dialog on the screen, in another process where the system has it so: neither the host's
/// user interface nor ours stands still meanwhile. Whoever opened it asks for the answer, on every
/// tick, on one thread. Nothing here waits. Destroying it takes it off the screen.
class CFileDialog {
public:
    enum class EState {
        Open,        ///< no answer yet
        Chosen,      ///< Path() is the file
        Cancelled,   ///< by the user
        Unavailable, ///< no dialog could be shown
    };

    virtual ~CFileDialog() = default;

    /// Looks whether an answer has come. Once it isn't Open it stays what it is.
    [[nodiscard]] virtual EState Poll() = 0;

    /// Absolute path of the chosen file, in the file system's own bytes. Empty before.
    [[nodiscard]] virtual const std::string& Path() const = 0;
};

/// Where dialogs come from.
class CFileDialogs {
public:
    /// Never null: what can't be shown answers Unavailable.
    [[nodiscard]] virtual std::unique_ptr<CFileDialog> Open(const FileDialogRequest& request) = 0;

protected:
    ~CFileDialogs() = default;
};

/// The system's own dialogs: the back end that was linked.
[[nodiscard]] CFileDialogs& SystemFileDialogs();

/// The patterns of a filter one by one, "*" for "*.*".
[[nodiscard]] std::vector<std::string> SplitPatterns(const std::string& patterns);

/// Whether a file name fits one of the patterns, in which * stands for any characters and ? for one
/// byte; capitals and small letters of ASCII are alike. No pattern at all fits every name.
[[nodiscard]] bool FitsPatterns(std::string_view fileName, const std::string& patterns);

} // namespace keldra
