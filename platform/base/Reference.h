#pragma once

#include "platform/base/Export.h"

#include <cassert>
#include <concepts>
#include <cstddef>
#include <utility>

namespace qs {

/// Base of objects that are shared by counting. A new object has count 0 and belongs to whoever made it;
/// the Release() that brings the count back to 0 deletes it. The count is not atomic: one thread only.
class PAINTLAYER_EXPORT ReferenceCount {
public:
    ReferenceCount() = default;
    /// The count says who holds this very object, so it is neither copied nor assigned.
    ReferenceCount(const ReferenceCount&) noexcept {}
    ReferenceCount& operator=(const ReferenceCount&) noexcept { return *this; }
    virtual ~ReferenceCount() = default;

    void AddRef() const noexcept { ++count_; }

    void Release() const noexcept
    {
        assert(count_ > 0);
        if (--count_ == 0)
            Destroy();
    }

    int GetRefCount() const noexcept { return count_; }

private:
    void Destroy() const noexcept;

    mutable int count_ = 0;
};

/// Owning pointer to a counted object; null by default. Assigning stores the new object before the old one is
/// released, so a destructor that looks back at this reference never sees a dying object.
template <class T>
class Reference {
public:
    using element_type = T;

    constexpr Reference() noexcept = default;
    constexpr Reference(std::nullptr_t) noexcept {}

    Reference(T* object) noexcept : object_(object) { Hold(); }

    Reference(const Reference& other) noexcept : object_(other.object_) { Hold(); }

    Reference(Reference&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}

    template <class U>
    requires std::convertible_to<U*, T*> Reference(const Reference<U>& other)
    noexcept : object_(other.get()) { Hold(); }

    template <class U>
    requires std::convertible_to<U*, T*> Reference(Reference<U>&& other)
    noexcept : object_(other.Detach()) {}

    ~Reference()
    {
        if (object_ != nullptr)
            object_->Release();
    }

    Reference& operator=(Reference other) noexcept
    {
        swap(other);
        return *this;
    }

    T* get() const noexcept { return object_; }
    T* operator->() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    void reset(T* object = nullptr) noexcept { *this = Reference(object); }
    void swap(Reference& other) noexcept { std::swap(object_, other.object_); }

    /// Gives up the object together with its counted reference, which the caller then owes a Release().
    [[nodiscard]] T* Detach() noexcept { return std::exchange(object_, nullptr); }

    template <class U>
    bool operator==(const Reference<U>& other) const noexcept
    {
        return object_ == other.get();
    }

    template <class U>
    bool operator==(const U* other) const noexcept
    {
        return object_ == other;
    }

    bool operator==(std::nullptr_t) const noexcept { return object_ == nullptr; }

private:
    void Hold() const noexcept
    {
        if (object_ != nullptr)
            object_->AddRef();
    }

    T* object_ = nullptr;
};

template <class T>
using TempReference = Reference<T>;

template <class T, class... Args>
Reference<T> MakeReference(Args&&... args)
{
    return Reference<T>(new T(std::forward<Args>(args)...));
}

/// For an object whose class the caller knows; nothing is checked.
template <class T, class U>
Reference<T> StaticCast(const Reference<U>& reference) noexcept
{
    return Reference<T>(static_cast<T*>(reference.get()));
}

template <class T>
void swap(Reference<T>& left, Reference<T>& right) noexcept
{
    left.swap(right);
}

}  // namespace qs
