#include "kvx/platform/Resources.h"

#include <unordered_set>

#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Text.h"

namespace kvx::platform {

namespace {
// The two exports every resource library carries.
using StringFn = const char* (*)(int id);
using PictureFn = const unsigned char* (*)(int id, unsigned long* size, const char** format);

const ResourceLibrary* g_current = nullptr;

// Libraries alive right now, so that a scope never restores one that was released meanwhile. Never
// destroyed: libraries held by other static objects may be released after this file's statics.
std::unordered_set<const ResourceLibrary*>& LiveLibraries() {
  static auto* live = new std::unordered_set<const ResourceLibrary*>();
  return *live;
}
}  // namespace

struct ResourceLibrary::Impl {
  std::unique_ptr<DynamicLibrary> library;
  StringFn string = nullptr;
  PictureFn picture = nullptr;
};

ResourceLibrary::ResourceLibrary(std::unique_ptr<Impl> impl, std::wstring path)
    : impl_(std::move(impl)), path_(std::move(path)) {
  LiveLibraries().insert(this);
}

ResourceLibrary::~ResourceLibrary() {
  LiveLibraries().erase(this);
  if (g_current == this) g_current = nullptr;
}

std::unique_ptr<ResourceLibrary> ResourceLibrary::Load(const std::wstring& path) {
  auto impl = std::make_unique<Impl>();
  impl->library = DynamicLibrary::Load(path);
  if (!impl->library) return nullptr;
  impl->string = impl->library->Function<StringFn>("KvxResString");
  impl->picture = impl->library->Function<PictureFn>("KvxResPicture");
  if (!impl->string || !impl->picture) return nullptr;
  return std::unique_ptr<ResourceLibrary>(new ResourceLibrary(std::move(impl), path));
}

std::optional<std::wstring> ResourceLibrary::String(int id) const {
  const char* text = impl_->string(id);
  if (!text) return std::nullopt;
  return Widen(text);
}

Picture ResourceLibrary::PictureById(int id) const {
  unsigned long size = 0;
  const char* format = nullptr;
  const unsigned char* data = impl_->picture(id, &size, &format);
  if (!data || size == 0) return {};
  return Picture{format ? format : "", std::vector<std::uint8_t>(data, data + size)};
}

const ResourceLibrary* CurrentResourceLibrary() { return g_current; }

const ResourceLibrary* SetCurrentResourceLibrary(const ResourceLibrary* library) {
  const ResourceLibrary* previous = g_current;
  g_current = library;
  return previous;
}

ResourceScope::ResourceScope(const ResourceLibrary* library) : saved_(g_current) {
  if (library) g_current = library;
}

ResourceScope::~ResourceScope() { g_current = saved_ && LiveLibraries().count(saved_) ? saved_ : nullptr; }

std::wstring LoadResString(int id) {
  if (!g_current) return {};
  return g_current->String(id).value_or(std::wstring());
}

Picture LoadResPicture(int id) {
  if (!g_current) return {};
  return g_current->PictureById(id);
}

}  // namespace kvx::platform
