// A stand-in for Samba's pdbedit, over a directory with one file of flags for each entry.
#pragma once

#include <filesystem>
#include <string>

#include "platform/base/temporary_folder.h"
#include "sdk/samba_entry.h"

namespace zevo::testing_support {

class SambaToolStandIn {
 public:
  SambaToolStandIn() {
    std::filesystem::create_directory(folder_.file("entries"));
    folder_.write("pdbedit", kScript);
    std::filesystem::permissions(folder_.file("pdbedit"), std::filesystem::perms(0755));
  }

  [[nodiscard]] SambaTool tool() const { return {folder_.file("pdbedit"), {}}; }
  void addEntry(const std::string& name, const std::string& flags) const {
    folder_.write("entries/" + name, flags);
  }
  void removeEntry(const std::string& name) const {
    std::filesystem::remove(folder_.file("entries/" + name));
  }
  [[nodiscard]] std::string flagsOf(const std::string& name) const {
    return contentOf(folder_.file("entries/" + name));
  }
  // Shell code that runs before the rest, with the arguments in "$@".
  void begin(const std::string& code) const { folder_.write("begin", code); }
  // Its argument vectors so far, a line each.
  [[nodiscard]] std::string calls() const { return contentOf(folder_.file("calls")); }

 private:
  static constexpr const char* kScript = R"sh(#!/bin/sh
cd "$(dirname "$0")" || exit 9
echo "$@" >> calls
[ ! -e begin ] || . ./begin
case $1 in
  --list)
    [ $# -gt 1 ] || { for name in $(ls -A entries); do echo "$name:1000:"; done; exit 0; }
    user=${3#--user=} ;;
  --user=*)
    user=${1#--user=}
    [ -e "entries/$user" ] || exit 255
    flags=${2#--account-control=[}
    printf %s "U${flags%]}" > "entries/$user" ;;
esac
[ -e "entries/$user" ] || exit 255
printf 'Unix username:        %s\nNT username:          \n' "$user"
printf 'Account Flags:        [%-11s]\nFull Name:            x\n' "$(cat "entries/$user")"
)sh";

  TemporaryFolder folder_;
};

}  // namespace zevo::testing_support
