#include "services/container_name.h"

#include <string>

#include <gtest/gtest.h>

namespace zevo::connections {
namespace {

constexpr const char* kId = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

std::string nameOf(const std::string& path) {
  return containerName("0::" + path + "\n").value_or("none");
}

struct Engine {
  std::string path;
  std::string name;
};

class EngineTest : public ::testing::TestWithParam<Engine> {};

TEST_P(EngineTest, NamesItsContainers) {
  EXPECT_EQ(nameOf(GetParam().path), GetParam().name);
}

const std::string kShown = "0123456789ab";

INSTANTIATE_TEST_SUITE_P(
    Engines, EngineTest,
    ::testing::Values(
        Engine{std::string("/system.slice/docker-") + kId + ".scope", kShown},
        Engine{std::string("/docker/") + kId, kShown},
        Engine{std::string("/machine.slice/libpod-") + kId + ".scope/container", kShown},
        Engine{std::string("/libpod_parent/libpod-") + kId, kShown},
        Engine{std::string("/kubepods.slice/kubepods-burstable.slice/kubepods-pod1.slice/"
                           "cri-containerd-") +
                   kId + ".scope",
               kShown},
        Engine{std::string("/system.slice/containerd.service/kubepods-pod1.slice:cri-containerd:") +
                   kId,
               kShown},
        Engine{std::string("/kubepods.slice/crio-") + kId + ".scope", kShown},
        Engine{std::string("/kubepods/burstable/pod1/") + kId, kShown},
        Engine{std::string("/system.slice/nerdctl-") + kId + ".scope", kShown},
        Engine{"/lxc.payload.web/system.slice/ssh.service", "web"}, Engine{"/lxc/101/ns", "101"},
        Engine{"/lxc.payload/web", "web"},
        Engine{"/machine.slice/machine-web.scope/payload", "web"},
        Engine{"/machine.slice/machine-my\\x2dweb.scope", "my-web"},
        Engine{"/machine.slice/systemd-nspawn@web.service/payload/system.slice", "web"},
        Engine{"/../lxc.payload.web", "web"}));

TEST(ContainerNameTest, OfContainersInContainersTheInnermostCounts) {
  EXPECT_EQ(nameOf(std::string("/lxc.payload.outer/system.slice/docker-") + kId + ".scope"),
            kShown);
  EXPECT_EQ(nameOf("/lxc/outer/ns/lxc/inner/ns"), "inner");
}

TEST(ContainerNameTest, WithSeveralHierarchiesTheFirstThatTellsCounts) {
  const std::string text = "9:name=systemd:/lxc/web\n8:pids:/other\n0::/\n";
  EXPECT_EQ(containerName(text), "web");
  EXPECT_EQ(containerName("9:name=systemd:/\n8:pids:/lxc/web\n0::/\n"), "web");
}

TEST(ContainerNameTest, WhatIsOfNoEngineHasNone) {
  for (const char* path : {"/", "", "/system.slice/ssh.service", "/user.slice/session-3.scope",
                           "/lxc", "/lxc.monitor.web", "/docker/0123", "/libpod_parent",
                           "/machine.slice/libpod-conmon-0123.scope"}) {
    EXPECT_EQ(nameOf(path), "none") << path;
  }
  EXPECT_EQ(nameOf(std::string("/docker-") + kId + "0.scope"), "none");
  EXPECT_EQ(containerName(""), std::nullopt);
}

TEST(ContainerNameTest, ANameThatCouldReadAsSomethingElseIsNone) {
  for (const char* name :
       {"a@b", "DOMAIN\\bob", "a b", "a,b", "\x1b[31m", "\xC3\xBC", "a\\x40b", "\xFF"}) {
    EXPECT_EQ(nameOf(std::string("/lxc.payload.") + name), "none") << name;
  }
  EXPECT_EQ(nameOf("/machine.slice/machine-a\\x40b.scope"), "none");
  EXPECT_EQ(nameOf("/machine.slice/machine-a\\x0ab.scope"), "none");
  EXPECT_EQ(nameOf("/machine.slice/machine-a\\xzzb.scope"), "none");
  EXPECT_EQ(nameOf("/machine.slice/machine-a\\x.scope"), "none");
}

TEST(ContainerNameTest, ALongNameIsNone) {
  EXPECT_EQ(nameOf("/lxc.payload." + std::string(64, 'a')), std::string(64, 'a'));
  EXPECT_EQ(nameOf("/lxc.payload." + std::string(65, 'a')), "none");
}

TEST(ContainerNameTest, ALineThatIsCutOffTellsNothing) {
  EXPECT_EQ(containerName("0::/lxc.payload.we"), std::nullopt);
}

}  // namespace
}  // namespace zevo::connections
