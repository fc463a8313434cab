#include "zevo/string_list.h"

#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "zevo/error.h"

namespace zevo {
namespace {

// The buffer of a list: its strings one after the other, each with its NUL.
struct StringList : VLIBCSzList {
  std::vector<char> texts;
  std::vector<std::size_t> starts;
  std::vector<char*> items;  // one more than strings: a null ends them
};

// All memory is allocated before anything changes.
void append(StringList& list, const char* text) {
  const std::size_t length = std::strlen(text) + 1;
  if (list.starts.capacity() == list.starts.size()) {
    list.starts.reserve(2 * list.starts.size() + 8);
    list.items.reserve(list.starts.capacity() + 1);
  }
  if (list.texts.capacity() < list.texts.size() + length) {
    list.texts.reserve(2 * (list.texts.size() + length));
    for (std::size_t i = 0; i < list.starts.size(); ++i) {
      list.items[i] = list.texts.data() + list.starts[i];
    }
  }
  list.starts.push_back(list.texts.size());
  list.items.back() = list.texts.data() + list.texts.size();
  list.items.push_back(nullptr);
  list.texts.insert(list.texts.end(), text, text + length);
}

void publish(StringList& list) {
  list.size = static_cast<int>(list.texts.capacity());
  list.nItem = static_cast<int>(list.starts.size());
  list.pszItem = list.items.data();
}

}  // namespace
}  // namespace zevo

extern "C" {

VLIBCSzList* VLIBCSzListAlloc(int size) {
  if (size < 0) {
    ZEVO_ERR_SET(ZEVO_ERR_OUT_OF_MEMORY);
    return nullptr;
  }
  try {
    auto list = std::make_unique<zevo::StringList>();
    list->texts.reserve(static_cast<std::size_t>(size));
    list->items.push_back(nullptr);
    zevo::publish(*list);
    return list.release();
  } catch (const std::bad_alloc&) {
    ZEVO_ERR_SET(ZEVO_ERR_OUT_OF_MEMORY);
    return nullptr;
  }
}

int VLIBCSzListPush(VLIBCSzList** list, const char* text) {
  if (list == nullptr || *list == nullptr || text == nullptr) {
    ZEVO_ERR_SET(ZEVO_ERR_BAD_TEXT);
    return -1;
  }
  auto& strings = static_cast<zevo::StringList&>(**list);
  try {
    zevo::append(strings, text);
  } catch (const std::bad_alloc&) {
    ZEVO_ERR_SET(ZEVO_ERR_OUT_OF_MEMORY);
    return -1;
  }
  zevo::publish(strings);
  return strings.nItem - 1;
}

void VLIBCSzListFree(VLIBCSzList* list) {
  const std::unique_ptr<zevo::StringList> owned(static_cast<zevo::StringList*>(list));
}

}  // extern "C"
