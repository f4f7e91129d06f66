#pragma once

#include <string>

#include "gui/GraphicBuffer.h"

namespace keldra {

/// A picture from a file: uncompressed true-colour TGA of 24 or 32 bits, origin at the lower left.
class CImage : public CGraphicBuffer {
public:
    /// Reads a file. 24 bits give a picture without alpha (alpha bytes 0), 32 bits one with alpha.
    /// Of a file that ends too early the rows that are there are shown and the rest is black,
    /// unless the missing part is too large to be an accident: what a header promises costs memory
    /// only as far as the file's length bears it out.
    /// @param path  absolute; kept as the image's own on success
    /// @return false for a file that can't be read, isn't such a picture or promises too much
    [[nodiscard]] bool Load(const std::string& path);

    [[nodiscard]] const std::string& Path() const { return path_; }

private:
    std::string path_;
};

} // namespace keldra
