#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/FileDialog.h"
#include "platform/Folders.h"

namespace keldra {

/// A folder as the file chooser lists it. Waits for the disk, so it is read without the UI lock.
struct ChooserFolder {
    std::string path; ///< absolute
    bool isReadable = false;
    std::vector<FolderEntry> entries; ///< folders first, then the files that fit, in natural order
};
/// @param patterns  of a FileDialogRequest::Filter
[[nodiscard]] ChooserFolder ReadChooserFolder(std::string path, const std::string& patterns);

/// What a typed name leads to.
struct ChooserTarget {
    enum class EKind {
        Nothing,       ///< the text is empty
        Folder,        ///< an existing one
        File,          ///< an existing one
        NewFile,       ///< nothing is there yet, but its folder is
        MissingFolder, ///< not even that
    };
    EKind kind = EKind::Nothing;
    std::string path; ///< absolute
};
/// @param text      a name, a path from the folder ("../Basses") or an absolute one; ~ is home
/// @param patterns  an existing file is found without its extension too, when one of these has it.
///                  Waits for the disk.
[[nodiscard]] ChooserTarget FindChooserTarget(std::string_view folder, std::string_view text,
                                              const std::string& patterns);

/// The folder that a folder is in; the root's is the root itself.
[[nodiscard]] std::string ParentFolder(std::string_view folder);

} // namespace keldra
