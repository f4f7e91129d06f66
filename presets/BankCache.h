#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "presets/Bank.h"

namespace keldra {

/// The banks that the instances of this process have read: each folder once, however many instances
/// show it. Lives as long as an instance does. Control threads; they may wait for each other's
/// disk.
class CBankCache {
public:
    /// @param extension  of programs, besides "fxp"
    explicit CBankCache(std::string extension);

    /// The cache that all who ask at the same time share.
    [[nodiscard]] static std::shared_ptr<CBankCache> Shared(const std::string& extension);

    /// A bank as it is now on the disk. Never null.
    [[nodiscard]] std::shared_ptr<const CBank> Get(const CFileList::Entry& folder,
                                                   CBank::ECheck check);

    /// Lets go of banks that nobody else holds any more.
    void Trim();

    [[nodiscard]] std::size_t MemoryBytes();

private:
    const std::string extension_;
    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const CBank>> banks_; ///< by path
};

} // namespace keldra
