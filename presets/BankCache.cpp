#include "presets/BankCache.h"

#include <utility>

namespace keldra {

CBankCache::CBankCache(std::string extension) : extension_(std::move(extension)) {}

std::shared_ptr<CBankCache> CBankCache::Shared(const std::string& extension)
{
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<CBankCache>> caches;
    const std::lock_guard lock(mutex);
    std::weak_ptr<CBankCache>& place = caches[extension];
    std::shared_ptr<CBankCache> cache = place.lock();
    if (cache == nullptr)
        place = cache = std::make_shared<CBankCache>(extension);
    return cache;
}

std::shared_ptr<const CBank> CBankCache::Get(const CFileList::Entry& folder, CBank::ECheck check)
{
    const std::lock_guard lock(mutex_);
    std::shared_ptr<const CBank>& bank = banks_[folder.path];
    bank = CBank::Read(folder, extension_, check, bank);
    return bank;
}

void CBankCache::Trim()
{
    const std::lock_guard lock(mutex_);
    std::erase_if(banks_, [](const auto& entry) { return entry.second.use_count() == 1; });
}

std::size_t CBankCache::MemoryBytes()
{
    const std::lock_guard lock(mutex_);
    std::size_t bytes = 0;
    for (const auto& [path, bank] : banks_)
        bytes += path.capacity() + bank->MemoryBytes();
    return bytes;
}

} // namespace keldra
