#pragma once
// Per-language resource libraries: string tables and rule pictures loaded by number,
// and the process-wide current resource library that text loading uses.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kvx/platform/Export.h"

namespace kvx::platform {

// A picture carried by a resource library (SVG today; the format text names it).
struct Picture {
  std::string format;                // "svg"
  std::vector<std::uint8_t> bytes;
  bool empty() const { return bytes.empty(); }
};

// A loaded resource library. The library is a shared object built from a language's string
// table; it exports "KvxResString" and "KvxResPicture" (see resources/README.md).
class KVX_PLATFORM_API ResourceLibrary {
 public:
  // Loads the resource library at `path`; null when the file is missing or lacks the exports.
  static std::unique_ptr<ResourceLibrary> Load(const std::wstring& path);
  ~ResourceLibrary();

  // String `id`, or nothing when the table has no such id.
  std::optional<std::wstring> String(int id) const;
  // Picture `id`, or an empty picture when there is none.
  Picture PictureById(int id) const;
  const std::wstring& Path() const { return path_; }

 private:
  struct Impl;
  explicit ResourceLibrary(std::unique_ptr<Impl> impl, std::wstring path);
  std::unique_ptr<Impl> impl_;
  std::wstring path_;
};

// The process-wide current resource library (null when none is set).
KVX_PLATFORM_API const ResourceLibrary* CurrentResourceLibrary();
// Makes `library` current and returns the one that was current before.
KVX_PLATFORM_API const ResourceLibrary* SetCurrentResourceLibrary(const ResourceLibrary* library);

// Saves the current resource library, makes `library` current, and restores the saved one when
// the scope ends. A null `library` leaves the current one in place for the scope.
class KVX_PLATFORM_API ResourceScope {
 public:
  explicit ResourceScope(const ResourceLibrary* library);
  ~ResourceScope();
  ResourceScope(const ResourceScope&) = delete;
  ResourceScope& operator=(const ResourceScope&) = delete;

 private:
  const ResourceLibrary* saved_;
};

// String `id` of the current resource library; the empty text when there is no current
// library or no such string.
KVX_PLATFORM_API std::wstring LoadResString(int id);
// Picture `id` of the current resource library; empty when missing.
KVX_PLATFORM_API Picture LoadResPicture(int id);

}  // namespace kvx::platform
