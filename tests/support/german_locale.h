#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

#include "tests/support/temp_directory.h"

namespace depth_io::test {

/// A locale with a decimal comma for as long as it lives. Where none is installed it is built into
/// a temporary directory; where that is not possible either, `active` is false.
class GermanLocale {
 public:
  GermanLocale() : before_(std::setlocale(LC_ALL, nullptr)) {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE"}) {
      if (try_locale(name)) return;
    }
    const std::string build =
        "localedef -i de_DE -f UTF-8 '" + directory_.file("de_DE.UTF-8") + "' >/dev/null 2>&1";
    if (std::system(build.c_str()) != 0) return;
    setenv("LOCPATH", directory_.path().c_str(), 1);
    try_locale("de_DE.UTF-8");
  }
  ~GermanLocale() {
    std::setlocale(LC_ALL, before_.c_str());
    unsetenv("LOCPATH");
  }
  GermanLocale(const GermanLocale&) = delete;
  GermanLocale& operator=(const GermanLocale&) = delete;

  bool active() const { return active_; }
  /// What a program is given as LC_ALL to have the same.
  const std::string& name() const { return name_; }

 private:
  bool try_locale(const char* name) {
    active_ = std::setlocale(LC_ALL, name) != nullptr &&
              std::string(std::localeconv()->decimal_point) == ",";
    name_ = name;
    return active_;
  }

  TempDirectory directory_;
  std::string before_;
  std::string name_;
  bool active_ = false;
};

}  // namespace depth_io::test
