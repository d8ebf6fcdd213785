#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace vellumix {

/// An immutable UTF-8 string with value semantics; copies share one allocation, on any thread.
///
/// `==` compares bytes. Whether two texts read the same is `canonicallyEqual` of Unicode.h.
class String {
public:
    String() = default;
    String(std::string text)
        : text(text.empty() ? nullptr : std::make_shared<const std::string>(std::move(text))) {}
    String(std::string_view text) : String(std::string(text)) {}
    String(const char* text) : String(std::string(text)) {}

    std::string_view view() const { return text ? std::string_view(*text) : std::string_view(); }
    operator std::string_view() const { return view(); }
    std::string string() const { return std::string(view()); }
    std::size_t size() const { return view().size(); }
    bool empty() const { return !text; }

    friend bool operator==(const String& a, const String& b) {
        return a.text == b.text || a.view() == b.view();
    }
    friend bool operator==(const String& a, const char* b) { return a.view() == b; }

private:
    std::shared_ptr<const std::string> text;
};

}  // namespace vellumix
