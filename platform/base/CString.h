#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace qsString {

/// A text by value, ordered byte by byte. A null pointer counts as the empty text.
class CString {
public:
    CString() = default;
    CString(const char* text) : text_(text != nullptr ? text : "") {}
    CString(std::string text) : text_(std::move(text)) {}

    /// NUL-terminated, valid until the text changes.
    const char* c_str() const noexcept { return text_.c_str(); }
    std::string_view view() const noexcept { return text_; }
    std::size_t length() const noexcept { return text_.length(); }  // bytes
    bool empty() const noexcept { return text_.empty(); }

    CString& operator+=(const CString& other)
    {
        text_ += other.text_;
        return *this;
    }

    bool operator==(const CString&) const = default;
    std::strong_ordering operator<=>(const CString&) const = default;

private:
    std::string text_;
};

}  // namespace qsString
