#include "services/empty_root.h"

#include <gtest/gtest.h>

namespace zevo::connections {
namespace {

constexpr std::string_view kMounts =
    "36 35 98:0 / / rw,noatime shared:1 master:2 - ext4 /dev/root rw\n"
    "37 36 0:24 / /run rw - tmpfs tmpfs rw\n"
    "136 36 0:50 / /home/bob/- rw - fuse.sshfs - ext4 rw\n"
    "137 36 0:51 / /home/bob/x rw shared:3 - fuse ext4 rw\n"
    "138 36 8:17 / /media rw - fuseblk /dev/sdb1 rw\n"
    "139 36 0:52 / /torn rw";

TEST(KernelsMountTest, DisksAndMemoryAreTheKernels) {
  EXPECT_TRUE(isKernelsMount(kMounts, 36));
  EXPECT_TRUE(isKernelsMount(kMounts, 37));
}

TEST(KernelsMountTest, FileSystemsInUserSpaceAreNot) {
  for (const std::uint64_t id : {136U, 137U, 138U}) EXPECT_FALSE(isKernelsMount(kMounts, id)) << id;
}

TEST(KernelsMountTest, NorAreThoseOfWhichNothingIsTold) {
  for (const std::uint64_t id : {0U, 3U, 6U, 139U, 140U})
    EXPECT_FALSE(isKernelsMount(kMounts, id)) << id;
  EXPECT_FALSE(isKernelsMount("", 36));
}

}  // namespace
}  // namespace zevo::connections
