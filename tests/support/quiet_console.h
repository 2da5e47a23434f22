#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "codec/console.h"

namespace depth_io::test {

/// Keeps what the library prints, without an allocation, and never waits for a key.
class QuietConsole {
 public:
  QuietConsole() {
    set_print_handler(&QuietConsole::take, this);
    set_key_wait_handler([](void*) {}, nullptr);
  }
  ~QuietConsole() {
    set_print_handler(nullptr, nullptr);
    set_key_wait_handler(nullptr, nullptr);
  }
  QuietConsole(const QuietConsole&) = delete;
  QuietConsole& operator=(const QuietConsole&) = delete;

  void clear() { length_ = 0; }
  std::string_view text() const { return {text_.data(), length_}; }
  /// Whether a failure was told.
  bool complains() const {
    for (const char* word : {"ERROR", "WARNING", "FAILED", "failed", "Can't", "Fatal", "faield",
                             "error opening", "Memory error"}) {
      if (text().find(word) != std::string_view::npos) return true;
    }
    return false;
  }

 private:
  static void take(void* context, const char* text, std::size_t length) {
    auto* const self = static_cast<QuietConsole*>(context);
    const std::size_t taken = std::min(length, self->text_.size() - self->length_);
    std::memcpy(self->text_.data() + self->length_, text, taken);
    self->length_ += taken;
  }

  std::array<char, 16384> text_;
  std::size_t length_ = 0;
};

}  // namespace depth_io::test
