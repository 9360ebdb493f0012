#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace model {

/// A text's characters as a view; a NUL follows them, so it also has c_str().
class TextView : public std::string_view {
public:
    constexpr TextView(std::string_view text) noexcept : std::string_view(text) {}
    const char* c_str() const noexcept { return data(); }
    operator std::string() const { return std::string(data(), size()); }

    friend std::string operator+(const std::string& a, TextView b) { return std::string(a).append(b); }
    friend std::string operator+(TextView a, std::string_view b) { return std::string(a).append(b); }
    friend std::string operator+(TextView a, const char* b) { return std::string(a).append(b); }
};

/// A text of a record: absent, or present (possibly empty). It behaves as a
/// std::optional<std::string> that is not changed in place (a new value is
/// assigned), and is one pointer wide: most texts of a big document's records
/// are absent. A present text is one block holding its length, its bytes and
/// a NUL: one allocation per text, where a string on the heap took two for
/// most identifiers.
class Text {
public:
    using value_type = std::string;

    Text() noexcept = default;
    Text(std::nullopt_t) noexcept {}
    /// From anything a std::string_view is made of (a template, so that
    /// `= {}` empties the text instead of picking a conversion).
    template <class S, class = std::enable_if_t<std::is_convertible_v<S&&, std::string_view> &&
                                                !std::is_same_v<std::decay_t<S>, Text> &&
                                                !std::is_same_v<std::decay_t<S>, std::nullptr_t>>>
    Text(S&& value) : block_(make(std::string_view(value))) {}
    Text(const std::optional<std::string>& value) : block_(value ? make(*value) : nullptr) {}

    Text(const Text& other) : block_(other.block_ ? make(*other) : nullptr) {}
    Text(Text&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    ~Text() { release(block_); }
    Text& operator=(const Text& other) {
        if (this != &other) replace(other.block_ ? make(*other) : nullptr);
        return *this;
    }
    Text& operator=(Text&& other) noexcept {
        if (this != &other) replace(std::exchange(other.block_, nullptr));
        return *this;
    }
    Text& operator=(std::nullopt_t) noexcept {
        reset();
        return *this;
    }
    template <class S, class = std::enable_if_t<std::is_convertible_v<S&&, std::string_view> &&
                                                !std::is_same_v<std::decay_t<S>, Text> &&
                                                !std::is_same_v<std::decay_t<S>, std::nullptr_t>>>
    Text& operator=(S&& value) {
        replace(make(std::string_view(value)));
        return *this;
    }

    bool has_value() const noexcept { return block_ != nullptr; }
    explicit operator bool() const noexcept { return block_ != nullptr; }
    /// The characters; the text must be present.
    TextView operator*() const noexcept {
        std::uint32_t size;
        std::memcpy(&size, block_, sizeof size);
        return std::string_view(block_ + sizeof size, size);
    }
    struct Arrow {
        TextView view;
        const TextView* operator->() const noexcept { return &view; }
    };
    Arrow operator->() const noexcept { return Arrow{**this}; }
    std::string value() const {
        if (!block_) throw std::bad_optional_access();
        return **this;
    }
    std::string value_or(std::string fallback) const { return block_ ? std::string(**this) : std::move(fallback); }
    void reset() noexcept { replace(nullptr); }
    template <class... A>
    TextView emplace(A&&... args) {
        replace(make(std::string(std::forward<A>(args)...)));
        return **this;
    }
    operator std::optional<std::string>() const {
        return block_ ? std::optional<std::string>(**this) : std::nullopt;
    }

    friend bool operator==(const Text& a, const Text& b) noexcept {
        return a.has_value() == b.has_value() && (!a.block_ || *a == *b);
    }
    friend bool operator==(const Text& a, std::nullopt_t) noexcept { return !a.block_; }
    friend bool operator==(const Text& a, std::string_view b) noexcept { return a.block_ && *a == b; }
    friend bool operator==(const Text& a, const std::string& b) noexcept { return a.block_ && *a == b; }
    friend bool operator==(const Text& a, const char* b) noexcept { return a.block_ && *a == std::string_view(b); }
    friend bool operator==(const Text& a, const std::optional<std::string>& b) noexcept {
        return a.has_value() == b.has_value() && (!a.block_ || *a == *b);
    }

private:
    // Through operator new, as every other allocation of the model, so that
    // running out of memory surfaces as std::bad_alloc.
    static char* make(std::string_view text) {
        const auto size = static_cast<std::uint32_t>(text.size());
        char* block = static_cast<char*>(::operator new(sizeof size + text.size() + 1));
        std::memcpy(block, &size, sizeof size);
        if (!text.empty()) std::memcpy(block + sizeof size, text.data(), text.size());
        block[sizeof size + text.size()] = '\0';
        return block;
    }
    // Most texts are absent: no call for them.
    static void release(char* block) noexcept {
        if (block != nullptr) ::operator delete(block);
    }
    void replace(char* block) noexcept { release(std::exchange(block_, block)); }

    char* block_ = nullptr;
};

}  // namespace model
