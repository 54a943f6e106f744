#pragma once

#include <cmath>
#include <concepts>

/// A pair of coordinates as it lies in memory.
template <class T>
struct ilXYstruct {
    T x, y;
};

/// The same with arithmetic: a point or a vector of `T`, laid out exactly as its base `S`. Zero by default.
template <class S, class T>
struct ilXYobj : S {
    constexpr ilXYobj() noexcept : ilXYobj(T(0), T(0)) {}
    constexpr ilXYobj(T x_, T y_) noexcept
    {
        this->x = x_;
        this->y = y_;
    }
    constexpr ilXYobj(const S& pair) noexcept : S(pair) {}

    constexpr ilXYobj& operator+=(const ilXYobj& other) noexcept { return *this = *this + other; }
    constexpr ilXYobj& operator-=(const ilXYobj& other) noexcept { return *this = *this - other; }
    constexpr ilXYobj& operator*=(T factor) noexcept { return *this = *this * factor; }
    constexpr ilXYobj& operator/=(T divisor) noexcept { return *this = *this / divisor; }

    constexpr ilXYobj operator-() const noexcept { return {static_cast<T>(-this->x), static_cast<T>(-this->y)}; }

    friend constexpr ilXYobj operator+(const ilXYobj& left, const ilXYobj& right) noexcept
    {
        return {static_cast<T>(left.x + right.x), static_cast<T>(left.y + right.y)};
    }
    friend constexpr ilXYobj operator-(const ilXYobj& left, const ilXYobj& right) noexcept
    {
        return {static_cast<T>(left.x - right.x), static_cast<T>(left.y - right.y)};
    }
    friend constexpr ilXYobj operator*(const ilXYobj& left, T factor) noexcept
    {
        return {static_cast<T>(left.x * factor), static_cast<T>(left.y * factor)};
    }
    friend constexpr ilXYobj operator*(T factor, const ilXYobj& right) noexcept { return right * factor; }
    friend constexpr ilXYobj operator/(const ilXYobj& left, T divisor) noexcept
    {
        return {static_cast<T>(left.x / divisor), static_cast<T>(left.y / divisor)};
    }
    friend constexpr bool operator==(const ilXYobj& left, const ilXYobj& right) noexcept
    {
        return left.x == right.x && left.y == right.y;
    }

    /// Scalar product.
    constexpr T Dot(const ilXYobj& other) const noexcept
    {
        return static_cast<T>(this->x * other.x + this->y * other.y);
    }

    /// A plain square root rather than hypot(), whose last bit differs between maths libraries.
    T Length() const noexcept requires std::floating_point<T> { return std::sqrt(Dot(*this)); }
};

using ilXYfloat = ilXYobj<ilXYstruct<float>, float>;
using ilXYdouble = ilXYobj<ilXYstruct<double>, double>;
using ilXYint = ilXYobj<ilXYstruct<int>, int>;
