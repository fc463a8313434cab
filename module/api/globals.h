// The globals of the module: built when it is loaded, only read afterwards.
#pragma once

#include <cstddef>

#include "zevo/export.h"
#include "zevo/string_bundle.h"

extern ZEVO_EXPORT StringBundle strbundle;

// Titles and alignments of the report's columns, by index. The titles belong to strbundle, except
// the fourth, which is a literal and never translated.
inline constexpr std::size_t kLogColumns = 5;
extern const char* gLogColumnTitles[kLogColumns];
extern const char* gLogColumnAligns[kLogColumns];
