#include "calls/modules.h"

#include <algorithm>
#include <dlfcn.h>
#include <vector>

#include "base/trusted_library.h"

namespace calls {
namespace {

std::vector<std::filesystem::path> librariesIn(const std::filesystem::path& folder,
                                               std::error_code& failure) {
  std::vector<std::filesystem::path> libraries;
  std::filesystem::directory_iterator entry(folder, failure);
  for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
    if (entry->path().extension() == ".so") libraries.push_back(entry->path());
  }
  std::sort(libraries.begin(), libraries.end());
  return libraries;
}

bool fail(std::string* error, const std::string& source, const std::string& reason) {
  *error = "cannot load the module " + source + ": " + reason;
  return false;
}

const ApiMethodRow* tableOf(const std::filesystem::path& library, std::string* reason) {
  void* handle = zevo::loadTrustedLibrary(library.string(), reason);
  if (handle == nullptr) return nullptr;
  const auto getTable = reinterpret_cast<GetAPITableFunction>(::dlsym(handle, kGetAPITableName));
  if (getTable == nullptr) {
    *reason = std::string("it does not export ") + kGetAPITableName;
    return nullptr;
  }
  const ApiMethodRow* table = getTable();
  if (table == nullptr) *reason = "it has no table";
  return table;
}

}  // namespace

bool Modules::load(const std::filesystem::path& folder, std::string* error) {
  std::error_code failure;
  const auto libraries = librariesIn(folder, failure);
  if (failure || libraries.empty()) {
    *error = "cannot find a module in " + folder.string() + ": " +
             (failure ? failure.message() : "there is no *.so");
    return false;
  }
  for (const auto& library : libraries) {
    std::string reason;
    const ApiMethodRow* table = tableOf(library, &reason);
    if (table == nullptr) return fail(error, library.string(), reason);
    if (!add(table, library.string(), error)) return false;
  }
  return true;
}

bool Modules::add(const ApiMethodRow* table, const std::string& source, std::string* error) {
  for (const ApiMethodRow* row = table; row->api != nullptr; ++row) {
    if (row->method == nullptr || row->handler == nullptr) {
      return fail(error, source, "a row of its table is incomplete");
    }
    const bool added =
        methods_.try_emplace({row->api, row->version, row->method}, row->handler).second;
    if (!added) {
      return fail(error, source,
                  std::string("another module already serves ") + row->api + " " + row->method);
    }
  }
  return true;
}

ApiHandler Modules::find(std::string_view api, std::int64_t version,
                         std::string_view method) const {
  const auto found = methods_.find({std::string(api), version, std::string(method)});
  return found == methods_.end() ? nullptr : found->second;
}

}  // namespace calls
