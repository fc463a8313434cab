// A directory open for reading its entries, closed by its destructor.
#pragma once

#include <dirent.h>
#include <memory>

namespace zevo {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

// The result of opendir(3) or fdopendir(3), or none.
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

}  // namespace zevo
