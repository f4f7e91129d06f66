#pragma once

#include <string>
#include <string_view>

namespace keldra {

/// Path of the first file in a list of URIs (text/uri-list), as another program drops it or the
/// desktop's dialog answers it.
/// @return absolute, in the file system's own bytes; empty when the first URI is none of a local
/// file, or when its path is longer than 1024 bytes or holds a zero byte
[[nodiscard]] std::string FirstPathOf(std::string_view uriList);

} // namespace keldra
