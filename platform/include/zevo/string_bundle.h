// Localised texts, by key.
#pragma once

#include <memory>

#include "zevo/export.h"

// The texts of up to six named sections of one language, read once when the bundle is created. The
// language is the configured one, or the locale's, or English; a key that the language lacks falls
// back to English.
class ZEVO_EXPORT StringBundle {
 public:
  // Names of sections; null ends the list early. If the text file is missing or unreadable, the
  // bundle has no texts and the system log gets one line: a module still loads.
  StringBundle(const char* section1, const char* section2, const char* section3,
               const char* section4, const char* section5, const char* section6);
  ~StringBundle();
  StringBundle(const StringBundle&) = delete;
  StringBundle& operator=(const StringBundle&) = delete;

  // The text of `key` in the first section that has it, or `fallback`. The text belongs to the
  // bundle and remains valid as long as the bundle exists.
  const char* Text(const char* key, const char* fallback) const;

 private:
  struct Texts;
  std::unique_ptr<Texts> texts_;
};
