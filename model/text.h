#pragma once
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace model {

/// A text of a record: absent, or present (possibly empty). It behaves as
/// std::optional<std::string> does, but is one pointer wide: most texts of a
/// big document's records are absent, and at 40 bytes each the absent ones
/// made up a third of the model. A present text lives on the heap.
class Text {
public:
    using value_type = std::string;

    Text() noexcept = default;
    Text(std::nullopt_t) noexcept {}
    /// From anything a std::string is made of (a template, so that `= {}`
    /// empties the text instead of picking a pointer conversion).
    template <class S, class = std::enable_if_t<std::is_constructible_v<std::string, S&&> &&
                                                !std::is_same_v<std::decay_t<S>, Text> &&
                                                !std::is_same_v<std::decay_t<S>, std::nullopt_t> &&
                                                !std::is_same_v<std::decay_t<S>, std::nullptr_t>>>
    Text(S&& value) : value_(std::make_unique<std::string>(std::forward<S>(value))) {}
    Text(const std::optional<std::string>& value)
        : value_(value ? std::make_unique<std::string>(*value) : nullptr) {}

    Text(const Text& other) : value_(other.value_ ? std::make_unique<std::string>(*other.value_) : nullptr) {}
    Text(Text&&) noexcept = default;
    Text& operator=(const Text& other) {
        if (this != &other) value_ = other.value_ ? std::make_unique<std::string>(*other.value_) : nullptr;
        return *this;
    }
    Text& operator=(Text&&) noexcept = default;
    Text& operator=(std::nullopt_t) noexcept {
        value_.reset();
        return *this;
    }
    template <class S, class = std::enable_if_t<std::is_constructible_v<std::string, S&&> &&
                                                !std::is_same_v<std::decay_t<S>, Text> &&
                                                !std::is_same_v<std::decay_t<S>, std::nullopt_t> &&
                                                !std::is_same_v<std::decay_t<S>, std::nullptr_t>>>
    Text& operator=(S&& value) {
        if (value_) {
            *value_ = std::forward<S>(value);
        } else {
            value_ = std::make_unique<std::string>(std::forward<S>(value));
        }
        return *this;
    }

    bool has_value() const noexcept { return value_ != nullptr; }
    explicit operator bool() const noexcept { return value_ != nullptr; }
    std::string& operator*() noexcept { return *value_; }
    const std::string& operator*() const noexcept { return *value_; }
    std::string* operator->() noexcept { return value_.get(); }
    const std::string* operator->() const noexcept { return value_.get(); }
    std::string& value() {
        if (!value_) throw std::bad_optional_access();
        return *value_;
    }
    const std::string& value() const {
        if (!value_) throw std::bad_optional_access();
        return *value_;
    }
    std::string value_or(std::string fallback) const { return value_ ? *value_ : std::move(fallback); }
    void reset() noexcept { value_.reset(); }
    template <class... A>
    std::string& emplace(A&&... args) {
        value_ = std::make_unique<std::string>(std::forward<A>(args)...);
        return *value_;
    }
    operator std::optional<std::string>() const {
        return value_ ? std::optional<std::string>(*value_) : std::nullopt;
    }

    friend bool operator==(const Text& a, const Text& b) noexcept {
        return a.has_value() == b.has_value() && (!a.value_ || *a.value_ == *b.value_);
    }
    friend bool operator==(const Text& a, std::nullopt_t) noexcept { return !a.value_; }
    friend bool operator==(const Text& a, const std::string& b) noexcept { return a.value_ && *a.value_ == b; }
    friend bool operator==(const Text& a, const char* b) noexcept { return a.value_ && *a.value_ == b; }
    friend bool operator==(const Text& a, const std::optional<std::string>& b) noexcept {
        return a.has_value() == b.has_value() && (!a.value_ || *a.value_ == *b);
    }

private:
    std::unique_ptr<std::string> value_;
};

}  // namespace model
