#include "kvx/platform/Settings.h"

#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "kvx/platform/Environment.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace kvx::platform {

namespace {
using nlohmann::json;

std::wstring SettingsDirectory(SettingsHive hive) {
  if (auto dir = GetEnvWide(L"KVX_SETTINGS_DIR")) return *dir;
  if (hive == SettingsHive::LocalMachine) return L"/etc/korvex";
  if (auto config = GetEnvWide(L"XDG_CONFIG_HOME"); config && !config->empty()) return *config + L"/korvex";
  if (auto home = GetEnvWide(L"HOME"); home && !home->empty()) return *home + L"/.config/korvex";
  return L"/tmp/korvex";
}

// JSON pointer escaping of one reference token.
std::string Escape(const std::string& token) {
  std::string out;
  for (char c : token) {
    if (c == '~') out += "~0";
    else if (c == '/') out += "~1";
    else out.push_back(c);
  }
  return out;
}

// Key paths are stored with "/" between levels and compared as written.
std::string KeyPointer(const std::wstring& key) {
  std::string pointer;
  std::string part;
  for (char c : Narrow(key) + "\\") {
    if (c != '\\') { part.push_back(c); continue; }
    if (part.empty()) continue;
    pointer += "/" + Escape(part);
    part.clear();
  }
  return pointer;
}

std::optional<json> ReadStore(SettingsHive hive) {
  std::ifstream in(Narrow(SettingsFilePath(hive)));
  if (!in) return std::nullopt;
  json doc = json::parse(in, nullptr, /*allow_exceptions=*/false);
  if (doc.is_discarded() || !doc.is_object()) return std::nullopt;
  return doc;
}
}  // namespace

std::wstring SettingsFilePath(SettingsHive hive) {
  const wchar_t* file = hive == SettingsHive::CurrentUser ? L"user-settings.json" : L"machine-settings.json";
  return JoinPath(SettingsDirectory(hive), file);
}

std::optional<std::int64_t> ReadSettingNumber(SettingsHive hive, const std::wstring& key,
                                              const std::wstring& value) {
  auto store = ReadStore(hive);
  if (!store) return std::nullopt;
  const json::json_pointer pointer(KeyPointer(key) + "/" + Escape(Narrow(value)));
  if (!store->contains(pointer)) return std::nullopt;
  const json& number = (*store)[pointer];
  if (!number.is_number_integer()) return std::nullopt;
  return number.get<std::int64_t>();
}

bool WriteSettingNumber(SettingsHive hive, const std::wstring& key, const std::wstring& value,
                        std::int64_t number) {
  json store = ReadStore(hive).value_or(json::object());
  const json::json_pointer pointer(KeyPointer(key) + "/" + Escape(Narrow(value)));
  store[pointer] = number;
  CreateDirectories(SettingsDirectory(hive));
  return WriteFileAtomically(SettingsFilePath(hive), store.dump(2) + "\n");
}

bool CanOpenSettingsKeyForWriting(SettingsHive hive, const std::wstring& /*key*/) {
  const std::wstring dir = SettingsDirectory(hive);
  const std::wstring file = SettingsFilePath(hive);
  if (FileExists(file)) return HasReadWriteAccess(file);
  return DirectoryExists(dir) && HasReadWriteAccess(dir);
}

}  // namespace kvx::platform
