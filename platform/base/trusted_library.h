// Loads code that root runs.
#pragma once

#include <string>

namespace zevo {

// Loads the shared library at `path` for the lifetime of the process (dlopen's handle) if only
// root, or the account of the process, could have written it: the file and its directory belong to
// one of them, and neither group nor others may write to them. Otherwise null, with the reason and
// the remedy in *reason, a sentence without a full stop. The file that was checked is the one that
// is loaded, even if the name is changed in between.
[[nodiscard]] void* loadTrustedLibrary(const std::string& path, std::string* reason);

}  // namespace zevo
