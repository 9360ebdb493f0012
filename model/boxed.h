#pragma once
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace model {

/// An optional sub-record kept on the heap: it behaves as std::optional<T>
/// does but is one pointer wide. For the large and mostly absent policies of a
/// virtual device, which held half of its bytes inline.
template <class T>
class Boxed {
public:
    using value_type = T;

    Boxed() noexcept = default;
    Boxed(std::nullopt_t) noexcept {}
    /// From a T (a template, so that `= {}` empties it, as it does an optional).
    template <class U, class = std::enable_if_t<std::is_same_v<std::decay_t<U>, T>>>
    Boxed(U&& value) : value_(std::make_unique<T>(std::forward<U>(value))) {}
    Boxed(const std::optional<T>& value) : value_(value ? std::make_unique<T>(*value) : nullptr) {}

    Boxed(const Boxed& other) : value_(other.value_ ? std::make_unique<T>(*other.value_) : nullptr) {}
    Boxed(Boxed&&) noexcept = default;
    Boxed& operator=(const Boxed& other) {
        if (this != &other) value_ = other.value_ ? std::make_unique<T>(*other.value_) : nullptr;
        return *this;
    }
    Boxed& operator=(Boxed&&) noexcept = default;
    Boxed& operator=(std::nullopt_t) noexcept {
        value_.reset();
        return *this;
    }
    template <class U, class = std::enable_if_t<std::is_same_v<std::decay_t<U>, T>>>
    Boxed& operator=(U&& value) {
        if (value_) {
            *value_ = std::forward<U>(value);
        } else {
            value_ = std::make_unique<T>(std::forward<U>(value));
        }
        return *this;
    }

    bool has_value() const noexcept { return value_ != nullptr; }
    explicit operator bool() const noexcept { return value_ != nullptr; }
    T& operator*() noexcept { return *value_; }
    const T& operator*() const noexcept { return *value_; }
    T* operator->() noexcept { return value_.get(); }
    const T* operator->() const noexcept { return value_.get(); }
    T& value() {
        if (!value_) throw std::bad_optional_access();
        return *value_;
    }
    const T& value() const {
        if (!value_) throw std::bad_optional_access();
        return *value_;
    }
    void reset() noexcept { value_.reset(); }
    template <class... A>
    T& emplace(A&&... args) {
        value_ = std::make_unique<T>(T{std::forward<A>(args)...});
        return *value_;
    }
    operator std::optional<T>() const { return value_ ? std::optional<T>(*value_) : std::nullopt; }

    friend bool operator==(const Boxed& a, std::nullopt_t) noexcept { return !a.value_; }

private:
    std::unique_ptr<T> value_;
};

}  // namespace model
