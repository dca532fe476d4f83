#include "CompoundFile.h"

#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-input-stdio.h>

#include <algorithm>
#include <memory>

namespace kvx::params::detail {

namespace {

struct ObjectUnref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using Ref = std::unique_ptr<T, ObjectUnref>;

// Streams are copied out this much at a time, so that memory grows with the data actually read.
constexpr gsf_off_t kChunkBytes = 64 * 1024;

Ref<GsfInput> WorkbookChild(GsfInfile* storage) {
  const int count = gsf_infile_num_children(storage);
  for (int index = 0; index < count; ++index) {
    const char* name = gsf_infile_name_by_index(storage, index);
    if (name && g_ascii_strcasecmp(name, "Workbook") == 0)
      return Ref<GsfInput>(gsf_infile_child_by_index(storage, index));
  }
  return nullptr;
}

std::optional<std::string> WorkbookStream(GsfInput* file) {
  GError* error = nullptr;
  const Ref<GsfInfile> storage(gsf_infile_msole_new(file, &error));
  if (error) g_error_free(error);
  if (!storage) return std::nullopt;
  const Ref<GsfInput> stream = WorkbookChild(storage.get());
  if (!stream) return std::nullopt;
  // Each sector of a sound file belongs to one stream: a stream longer than its file is damaged.
  const gsf_off_t size = gsf_input_size(stream.get());
  if (size < 0 || size > gsf_input_size(file)) return std::nullopt;
  std::string bytes;
  while (static_cast<gsf_off_t>(bytes.size()) < size) {
    const gsf_off_t chunk = std::min(kChunkBytes, size - static_cast<gsf_off_t>(bytes.size()));
    const guint8* data = gsf_input_read(stream.get(), static_cast<size_t>(chunk), nullptr);
    if (!data) return std::nullopt;
    bytes.append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(chunk));
  }
  return bytes;
}

}  // namespace

std::optional<std::string> WorkbookStreamOfFile(const std::string& path) {
  GError* error = nullptr;
  const Ref<GsfInput> file(gsf_input_stdio_new(path.c_str(), &error));
  if (error) g_error_free(error);
  if (!file) return std::nullopt;
  return WorkbookStream(file.get());
}

std::optional<std::string> WorkbookStreamOfBytes(std::string_view file) {
  const Ref<GsfInput> input(
      gsf_input_memory_new(reinterpret_cast<const guint8*>(file.data()), static_cast<gsf_off_t>(file.size()), FALSE));
  if (!input) return std::nullopt;
  return WorkbookStream(input.get());
}

}  // namespace kvx::params::detail
