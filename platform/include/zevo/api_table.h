// The table in which a web-API module offers its methods to a host.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ZEVO {
class APIRequest;
class APIResponse;
}  // namespace ZEVO

// A handler runs to completion on the caller's thread, one call at a time in a process. It records
// exactly one outcome in the response, unless it has turned the host's output off, and throws
// nothing but std::bad_alloc.
using ApiHandler = void (*)(ZEVO::APIRequest* request, ZEVO::APIResponse* response);

// One method of one API. A table ends with a row whose fields are all zero.
struct ApiMethodRow {
  const char* api;
  std::int64_t version;
  const char* method;
  ApiHandler handler;
};

static_assert(sizeof(ApiMethodRow) == 32, "hosts walk the table in steps of 32 bytes");
static_assert(offsetof(ApiMethodRow, version) == 8);
static_assert(offsetof(ApiMethodRow, method) == 16);
static_assert(offsetof(ApiMethodRow, handler) == 24);

// Exported by every module under this name; returns the first row of its table, valid until the
// module is unloaded.
using GetAPITableFunction = ApiMethodRow* (*)();
inline constexpr const char* kGetAPITableName = "GetAPITable";
