// A list of connections to store and to read again.
#pragma once

#include <string>

#include "services/connection_list.h"

namespace zevo::connections::test {

inline ConnectionList sampleList(const std::string& user = "alice") {
  return {
      .connections = {{87, "2026-11-21 03:08:35", "10.20.0.2", user, "photos", ZEVO_CURCONN_CIFS},
                      {0, "", "fd20::2", "", "NFS", ZEVO_CURCONN_NFS}},
      .notes = {{"details_missing", "CIFS", "the tool is too old"}}};
}

}  // namespace zevo::connections::test
