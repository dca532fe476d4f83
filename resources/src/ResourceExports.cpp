// The two exports of a resource library (KVXIMRulesResu). Their names and signatures are what
// kvx::platform::ResourceLibrary looks up; keep them as they are, every language's library and
// every loader depend on them. Lookups are binary searches over constant sorted arrays: nothing is
// allocated, nothing throws.
#include <algorithm>

#include "ResourceData.h"

#define KVX_RES_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

using kvx::res::data::PictureEntry;
using kvx::res::data::StringEntry;

template <typename Entry>
const Entry* FindById(const Entry* entries, std::size_t count, int id) noexcept {
  const Entry* end = entries + count;
  const Entry* found =
      std::lower_bound(entries, end, id, [](const Entry& entry, int key) { return entry.id < key; });
  return found != end && found->id == id ? found : nullptr;
}

}  // namespace

// UTF-8 text of string `id`; null when the table has no such id.
KVX_RES_EXPORT const char* KvxResString(int id) noexcept {
  const StringEntry* entry = FindById(kvx::res::data::kStrings, kvx::res::data::kStringCount, id);
  return entry ? entry->text : nullptr;
}

// Bytes of picture `id`, with their count in `*size` and their format ("svg") in `*format`; null
// (size 0, format null) when there is no such picture. Either out-parameter may be null.
KVX_RES_EXPORT const unsigned char* KvxResPicture(int id, unsigned long* size, const char** format) noexcept {
  const PictureEntry* entry = FindById(kvx::res::data::kPictures, kvx::res::data::kPictureCount, id);
  if (size) *size = entry ? entry->size : 0;
  if (format) *format = entry ? entry->format : nullptr;
  return entry ? entry->bytes : nullptr;
}
