#pragma once

#include <string>
#include <string_view>

namespace keldra {

/// Path of the first local file in a list of URIs (text/uri-list), as another program drops it
/// or the desktop's dialog answers it.
/// @return absolute, in the file system's own bytes; empty when there is none, or when it is longer
/// than 1024 bytes or holds a zero byte
[[nodiscard]] std::string FirstPathOf(std::string_view uriList);

} // namespace keldra
