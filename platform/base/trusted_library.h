// Code that root runs.
#pragma once

#include <string>

namespace zevo {

// Loads the shared library at `path` for the life of the process (dlopen's handle), where nobody
// but root, or the account that the process runs as, could have put it there: file and folder
// belong to one of them, and neither group nor others may write to them. Otherwise null, with
// *reason a sentence without a full stop that names what is wrong and the remedy. What was checked
// is what is loaded, whatever is done to the name meanwhile.
[[nodiscard]] void* loadTrustedLibrary(const std::string& path, std::string* reason);

}  // namespace zevo
