// A string that leaves no copy behind.
#pragma once

#include <cstring>
#include <string>
#include <utility>

namespace calls {

inline void wipe(std::string& text) {
  ::explicit_bzero(text.data(), text.capacity());
  text.clear();
}

// A password. Move-only; its memory is overwritten on destruction.
class Secret {
 public:
  Secret() = default;
  // Takes `text` over and wipes it.
  explicit Secret(std::string& text) : text_(text) { wipe(text); }
  ~Secret() { wipe(text_); }
  // Copied, since a moved string may leave its characters behind.
  // NOLINTNEXTLINE(performance-move-constructor-init)
  Secret(Secret&& other) noexcept : text_(other.text_) { wipe(other.text_); }
  Secret& operator=(Secret&& other) noexcept {
    if (this == &other) return *this;
    wipe(text_);
    text_ = other.text_;
    wipe(other.text_);
    return *this;
  }
  Secret(const Secret&) = delete;
  Secret& operator=(const Secret&) = delete;

  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace calls
