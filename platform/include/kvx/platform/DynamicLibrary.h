#pragma once
// Loading shared libraries and finding their exports.
#include <memory>
#include <string>

#include "kvx/platform/Export.h"

namespace kvx::platform {

// An open shared library; closed when the object dies.
class KVX_PLATFORM_API DynamicLibrary {
 public:
  // Opens the library at `path` (or by bare file name through the system search path).
  // Returns null on failure and, when `error` is given, fills it with the loader's reason.
  static std::unique_ptr<DynamicLibrary> Load(const std::wstring& path, std::wstring* error = nullptr);
  // The library at `path` only if the process has it loaded already; never loads it. Null otherwise.
  static std::unique_ptr<DynamicLibrary> FindLoaded(const std::wstring& path);

  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  // Address of the exported symbol, or null when the library has no such export.
  void* Symbol(const char* name) const;
  template <typename Fn>
  Fn Function(const char* name) const { return reinterpret_cast<Fn>(Symbol(name)); }

 private:
  explicit DynamicLibrary(void* handle);
  void* handle_;
};

// The platform's file name of a library called `baseName` ("KVXIMRulesResu" -> "libKVXIMRulesResu.so").
KVX_PLATFORM_API std::wstring LibraryFileName(const std::wstring& baseName);
// Full path of the loaded binary that contains `address`; empty if it cannot be told.
KVX_PLATFORM_API std::wstring PathOfBinaryContaining(const void* address);

}  // namespace kvx::platform
