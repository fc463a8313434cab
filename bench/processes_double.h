// Server processes, in the place of real ones: nothing is signalled, nobody waits, and /proc is a
// directory of files. The linker sends the module's calls of kill, sleep and VLIBCFileGetLine here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace bench {

// Makes processes of Samba numbered `first` and up, in `folder`, which stands for /proc from now
// on. A process ends with its first signal: a probe finds none.
void makeProcesses(const std::string& folder, std::uint32_t first, std::size_t count);

// Signals sent since the last call, probes not counted.
std::size_t takeSignals();

}  // namespace bench
