#pragma once

#include <cstddef>
#include <memory>
#include <new>

namespace keldra {

/// An object that stays usable until the process or the module has gone: for what the module's
/// objects share. Hosts may destroy their plug-ins among the last things that a process does, when
/// the module's own static objects are destroyed already. Memory that it still holds when the
/// module is unloaded is lost, so its users give back what they took.
template <typename Object>
class CForever {
public:
    CForever() { ::new (static_cast<void*>(storage_)) Object; }
    CForever(const CForever&) = delete;
    CForever& operator=(const CForever&) = delete;

    [[nodiscard]] Object& operator*() { return *std::launder(reinterpret_cast<Object*>(storage_)); }
    [[nodiscard]] Object* operator->() { return &**this; }
    void Destroy() { std::destroy_at(&**this); } ///< after all: nobody is left who might use it

private:
    alignas(Object) std::byte storage_[sizeof(Object)];
};

} // namespace keldra
