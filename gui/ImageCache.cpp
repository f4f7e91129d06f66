#include "gui/ImageCache.h"

#include <list>
#include <mutex>

#include "platform/Forever.h"

namespace keldra {

namespace {

struct CacheState {
    std::mutex mutex;
    int users = 0;
    std::list<CImage> images; // in load order; their places never change
};

CacheState& Cache()
{
    static CForever<CacheState> state;
    return *state;
}

} // namespace

CImageCache::CUser::CUser()
{
    CacheState& cache = Cache();
    const std::lock_guard lock(cache.mutex);
    ++cache.users;
}

CImageCache::CUser::~CUser()
{
    CacheState& cache = Cache();
    const std::lock_guard lock(cache.mutex);
    if (--cache.users == 0)
        cache.images.clear();
}

const CImage* CImageCache::GetImage(std::string_view folder, std::string_view name)
{
    if (name.empty())
        return nullptr;
    const std::string path = std::string(folder).append(name);
    CacheState& cache = Cache();
    const std::lock_guard lock(cache.mutex); // also while loading: the second editor waits
    for (const CImage& image : cache.images)
        if (image.Path() == path)
            return &image;
    std::list<CImage> loaded(1); // not in the cache while it may fail, or throw
    if (!loaded.front().Load(path))
        return nullptr;
    cache.images.splice(cache.images.end(), loaded);
    return &cache.images.back();
}

std::size_t CImageCache::ImageCount()
{
    CacheState& cache = Cache();
    const std::lock_guard lock(cache.mutex);
    return cache.images.size();
}

} // namespace keldra
