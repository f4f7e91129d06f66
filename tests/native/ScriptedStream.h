#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace keldra::test {

/// A stream of the host's: a table of five functions, of which the fourth reads and the fifth
/// writes. Anything else that is called ends the test.
class CScriptedStream {
public:
    explicit CScriptedStream(std::string content = {}) : bytes(std::move(content))
    {
        table_[3] = reinterpret_cast<void*>(&Read);
        table_[4] = reinterpret_cast<void*>(&Write);
    }
    /// What the plug-in gets.
    void* Get() { return &object_; }

    std::string bytes;             ///< to be read, or written
    std::uint32_t pieceSize = ~0u; ///< most that one call moves
    std::size_t failsAt = ~0u;     ///< calls from there on fail
    std::uint32_t liesBy = 0;      ///< how much more it claims to have moved
    std::uint64_t asked = 0;       ///< bytes that it was asked for
    bool endless = false;          ///< goes on with zeros

private:
    struct Object {
        void* const* table;
        CScriptedStream* self;
    };

    std::uint32_t Limit(std::uint32_t count)
    {
        asked += count;
        return std::min(count, pieceSize);
    }
    static std::int32_t Read(Object* object, void* buffer, std::uint32_t count, std::uint32_t* done)
    {
        CScriptedStream& stream = *object->self;
        if (stream.position_ >= stream.failsAt)
            return -1;
        std::size_t size = stream.Limit(count);
        const std::size_t left =
            stream.bytes.size() - std::min(stream.position_, stream.bytes.size());
        if (!stream.endless)
            size = std::min(size, left);
        std::memset(buffer, 0, size);
        std::memcpy(buffer, stream.bytes.data() + (stream.bytes.size() - left),
                    std::min(size, left));
        stream.position_ += size;
        *done = static_cast<std::uint32_t>(size) + stream.liesBy;
        return size < count ? 1 : 0;
    }
    static std::int32_t Write(Object* object, const void* buffer, std::uint32_t count,
                              std::uint32_t* done)
    {
        CScriptedStream& stream = *object->self;
        if (stream.bytes.size() >= stream.failsAt)
            return -1;
        const std::uint32_t size = stream.Limit(count);
        stream.bytes.append(static_cast<const char*>(buffer), size);
        *done = size + stream.liesBy;
        return 0;
    }

    std::array<void*, 5> table_{};
    Object object_{table_.data(), this};
    std::size_t position_ = 0;
};

} // namespace keldra::test
