// Characters as UTF-8, whatever the user's settings say.
#pragma once

#include <clocale>

/// What the C library takes characters for, in one thread and for a while; the program's own locale is left alone.
class UTF8Locale {
 public:
  UTF8Locale() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}
  ~UTF8Locale() {
    if (isThere()) freelocale(locale_);
  }
  UTF8Locale(const UTF8Locale&) = delete;
  UTF8Locale& operator=(const UTF8Locale&) = delete;

  /// Whether the system has it; else nothing changes.
  bool isThere() const { return locale_ != nullptr; }

  /// This thread's characters are UTF-8's while it lives.
  class Use {
   public:
    explicit Use(const UTF8Locale& locale) : earlier_(uselocale(locale.locale_)) {}
    ~Use() { uselocale(earlier_); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    locale_t earlier_;
  };

 private:
  locale_t locale_;
};
