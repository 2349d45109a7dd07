// VELSmrPtr<T>: shared ownership with an atomic reference count (over
// std::shared_ptr). Dereferencing a null pointer throws the platform's
// null-pointer exception (a VelaBaseException of type "NullPointer") instead
// of crashing, so a missing object in hostile input becomes a clear error.
#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <typeinfo>
#include <utility>

namespace vela_detail {
// Out of line so that this header does not depend on the exception header.
[[noreturn]] void throwNullPointer(const std::type_info& type);
[[noreturn]] void throwBadCast(const std::type_info& from, const std::type_info& to);
}  // namespace vela_detail

template <class T>
class VELSmrPtr {
  public:
    using element_type = T;

    VELSmrPtr() noexcept = default;
    VELSmrPtr(std::nullptr_t) noexcept {}
    // Takes ownership of a freshly allocated object.
    template <class U>
    requires std::convertible_to<U*, T*>
    explicit VELSmrPtr(U* raw) : _p(raw) {}
    VELSmrPtr(std::shared_ptr<T> p) noexcept : _p(std::move(p)) {}
    template <class U>
    requires std::convertible_to<U*, T*> VELSmrPtr(const VELSmrPtr<U>& other)
    noexcept : _p(other.shared()) {}
    template <class U>
    requires std::convertible_to<U*, T*> VELSmrPtr(VELSmrPtr<U>&& other)
    noexcept : _p(std::move(other).releaseShared()) {}
    template <class U>
    requires std::convertible_to<U*, T*> VELSmrPtr(std::shared_ptr<U> p)
    noexcept : _p(std::move(p)) {}

    T* operator->() const {
        if (!_p) {
            vela_detail::throwNullPointer(typeid(T));
        }
        return _p.get();
    }
    T& operator*() const {
        if (!_p) {
            vela_detail::throwNullPointer(typeid(T));
        }
        return *_p;
    }
    T* get() const noexcept { return _p.get(); }
    bool isNull() const noexcept { return !_p; }
    explicit operator bool() const noexcept { return static_cast<bool>(_p); }
    long useCount() const noexcept { return _p.use_count(); }
    void reset() noexcept { _p.reset(); }

    const std::shared_ptr<T>& shared() const& noexcept { return _p; }
    std::shared_ptr<T> releaseShared() && noexcept { return std::move(_p); }

    // Down-cast that yields a null pointer when the object is of another type.
    template <class U>
    VELSmrPtr<U> dynamicCast() const noexcept {
        return VELSmrPtr<U>(std::dynamic_pointer_cast<U>(_p));
    }
    // Down-cast that throws when the object is of another type; null stays null.
    template <class U>
    VELSmrPtr<U> checkedCast() const {
        if (!_p) {
            return VELSmrPtr<U>();
        }
        auto q = std::dynamic_pointer_cast<U>(_p);
        if (!q) {
            vela_detail::throwBadCast(typeid(*_p), typeid(U));
        }
        return VELSmrPtr<U>(std::move(q));
    }

    template <class U>
    bool operator==(const VELSmrPtr<U>& o) const noexcept {
        return _p == o.shared();
    }
    bool operator==(std::nullptr_t) const noexcept { return !_p; }

  private:
    std::shared_ptr<T> _p;
};

template <class T, class... Args>
VELSmrPtr<T> makeVELSmrPtr(Args&&... args) {
    return VELSmrPtr<T>(std::make_shared<T>(std::forward<Args>(args)...));
}
