#pragma once

#include <string_view>

#include "gui/Image.h"

namespace keldra {

/// The pictures of the skin, loaded once a process and shared by every editor. Any thread: editors
/// are made and destroyed on the hosts' threads. An image never changes once it is here, so all may
/// read it at the same time.
class CImageCache {
public:
    /// Keeps the cache alive: each window port has one. The last one to go frees every image.
    class CUser {
    public:
        CUser();
        ~CUser();
        CUser(const CUser&) = delete;
        CUser& operator=(const CUser&) = delete;
    };

    /// The image of folder + name (the name alone when the folder is empty), loaded on first use.
    /// Valid as long as any user lives.
    /// @return null for an empty name or a file that can't be loaded, which is tried again next
    /// time
    [[nodiscard]] static const CImage* GetImage(std::string_view folder, std::string_view name);

    [[nodiscard]] static std::size_t ImageCount();
};

} // namespace keldra
