#include "kvx/platform/DynamicLibrary.h"

#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "kvx/platform/Text.h"

namespace kvx::platform {

namespace {
// `path` against the working folder, without resolving links (the folder a library was installed in
// counts, not where a link points to); empty when the working folder is unknown.
std::string AbsolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? std::string() : absolute.lexically_normal().string();
}

// The loader names the main program by however it was started ("kvxim" from the search path, a
// relative path), so its path is taken from the kernel instead.
std::string MainProgramPath() {
  char buffer[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string();
}

// A relative path with a folder in it is made absolute while the working folder is the one the caller
// meant, so that the loader (and PathOfBinaryContaining) remember a path that stays valid. Bare names
// go to the loader's search as they are.
std::string LoaderName(const std::string& path) {
  if (path.empty() || path.front() == '/' || path.find('/') == std::string::npos) return path;
  const std::string absolute = AbsolutePath(path);
  return absolute.empty() ? path : absolute;
}
}  // namespace

DynamicLibrary::DynamicLibrary(void* handle) : handle_(handle) {}

DynamicLibrary::~DynamicLibrary() {
  if (handle_) dlclose(handle_);
}

std::unique_ptr<DynamicLibrary> DynamicLibrary::Load(const std::wstring& path, std::wstring* error) {
  // The loader takes an empty name for the running program itself, which is never what a caller means.
  if (path.empty()) {
    if (error) *error = L"no library path given";
    return nullptr;
  }
  dlerror();
  void* handle = dlopen(LoaderName(Narrow(path)).c_str(), RTLD_NOW | RTLD_LOCAL);
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
  if (path.empty()) return nullptr;
  void* handle = dlopen(LoaderName(Narrow(path)).c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (!handle) return nullptr;
  return std::unique_ptr<DynamicLibrary>(new DynamicLibrary(handle));
}

void* DynamicLibrary::Symbol(const char* name) const { return dlsym(handle_, name); }

std::wstring LibraryFileName(const std::wstring& baseName) { return L"lib" + baseName + L".so"; }

std::wstring PathOfBinaryContaining(const void* address) {
  Dl_info info{};
  link_map* map = nullptr;
  if (!address || dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0) return {};
  if (map && map->l_name && map->l_name[0] == '\0') return Widen(MainProgramPath());
  if (!info.dli_fname) return {};
  // Libraries opened through Load carry absolute names; one opened elsewhere by a relative path is
  // taken against the working folder, the best guess left.
  const std::string absolute = AbsolutePath(info.dli_fname);
  return Widen(absolute.empty() ? std::string(info.dli_fname) : absolute);
}

}  // namespace kvx::platform
