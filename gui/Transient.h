#pragma once

namespace keldra {

/// A member that belongs to one object's life: a copy of the object begins with a fresh one. So a
/// control that was set up once can serve as a template for many (see the panel's builder).
template <typename T>
class CTransient {
public:
    CTransient() = default;
    CTransient(const CTransient&) {}
    CTransient& operator=(const CTransient&) { return *this; }
    ~CTransient() = default;

    T& operator*() { return value_; }
    const T& operator*() const { return value_; }
    T* operator->() { return &value_; }
    const T* operator->() const { return &value_; }

private:
    T value_{};
};

} // namespace keldra
