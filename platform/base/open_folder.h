// A folder open for reading its entries, closed when its owner goes.
#pragma once

#include <dirent.h>
#include <memory>

namespace zevo {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

// What opendir(3) or fdopendir(3) gave, or none.
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

}  // namespace zevo
