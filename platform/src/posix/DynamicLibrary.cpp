#include "kvx/platform/DynamicLibrary.h"

#include <dlfcn.h>

#include "kvx/platform/Text.h"

namespace kvx::platform {

DynamicLibrary::DynamicLibrary(void* handle) : handle_(handle) {}

DynamicLibrary::~DynamicLibrary() {
  if (handle_) dlclose(handle_);
}

std::unique_ptr<DynamicLibrary> DynamicLibrary::Load(const std::wstring& path, std::wstring* error) {
  dlerror();
  void* handle = dlopen(Narrow(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    if (error) {
      const char* reason = dlerror();
      *error = reason ? Widen(reason) : L"cannot load " + path;
    }
    return nullptr;
  }
  return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(handle));
}

std::unique_ptr<DynamicLibrary> DynamicLibrary::FindLoaded(const std::wstring& path) {
  void* handle = dlopen(Narrow(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (!handle) return nullptr;
  return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(handle));
}

void* DynamicLibrary::Symbol(const char* name) const { return dlsym(handle_, name); }

std::wstring LibraryFileName(const std::wstring& baseName) { return L"lib" + baseName + L".so"; }

std::wstring PathOfBinaryContaining(const void* address) {
  Dl_info info{};
  if (dladdr(address, &info) == 0 || !info.dli_fname) return {};
  return Widen(info.dli_fname);
}

}  // namespace kvx::platform
