#pragma once

#include <unistd.h>
#include <utility>

namespace keldra {

/// Owns a file descriptor.
class CFileDescriptor {
public:
    CFileDescriptor() = default;
    explicit CFileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~CFileDescriptor() { Close(); }
    CFileDescriptor(CFileDescriptor&& other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1))
    {
    }
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept
    {
        if (this != &other) {
            Close();
            descriptor_ = std::exchange(other.descriptor_, -1);
        }
        return *this;
    }

    [[nodiscard]] bool IsOpen() const { return descriptor_ >= 0; }
    [[nodiscard]] int Get() const { return descriptor_; }
    [[nodiscard]] int Release() { return std::exchange(descriptor_, -1); } ///< no longer ours

    /// @return false when the system reports a late error, as network file systems do for a write
    bool Close() { return descriptor_ < 0 || ::close(std::exchange(descriptor_, -1)) == 0; }

private:
    int descriptor_ = -1;
};

} // namespace keldra
