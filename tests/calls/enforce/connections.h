// Connections and snapshots for tests.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "calls/enforce/snapshot.h"
#include "platform/base/temporary_folder.h"

namespace calls::enforce {

inline Connection connection(std::uint32_t pid, const std::string& who,
                             const std::string& type = "SSH", const std::string& from = "10.20.0.2",
                             const std::string& descr = "pts/3") {
  return {"2026-11-20 21:26:24", who, from, type, descr, pid, type != "NFS", type != "NFS"};
}

// A directory like /proc.
class ProcessTree {
 public:
  void add(std::uint32_t pid, std::uint32_t parent, const std::string& state = "S (sleeping)") {
    std::filesystem::create_directories(folder_.file("proc/" + std::to_string(pid)));
    folder_.write("proc/" + std::to_string(pid) + "/status",
                  "Name:\tPPid:\t9\nState:\t" + state + "\nPid:\t" + std::to_string(pid) +
                      "\nPPid:\t" + std::to_string(parent) + "\nTracerPid:\t0\n");
  }
  [[nodiscard]] std::string path() const { return folder_.file("proc"); }

 private:
  zevo::testing_support::TemporaryFolder folder_;
};

}  // namespace calls::enforce
