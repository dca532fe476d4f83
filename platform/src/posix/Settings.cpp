#include "kvx/platform/Settings.h"

#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

#include "kvx/platform/Environment.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace kvx::platform {

namespace {
using nlohmann::json;

std::wstring SettingsDirectory(SettingsHive hive) {
  if (auto dir = GetEnvWide(L"KVX_SETTINGS_DIR"); dir && !dir->empty()) return *dir;
  if (hive == SettingsHive::LocalMachine) return L"/etc/korvex";
  if (auto config = GetEnvWide(L"XDG_CONFIG_HOME"); config && !config->empty()) return *config + L"/korvex";
  if (auto home = GetEnvWide(L"HOME"); home && !home->empty()) return *home + L"/.config/korvex";
  return L"/tmp/korvex";
}

// The levels of a backslash-separated key path; empty levels ("a\\\\b", a trailing "\\") do not count.
std::vector<std::string> KeyLevels(const std::wstring& key) {
  std::vector<std::string> levels;
  std::wstring level;
  for (wchar_t c : key + L"\\") {
    if (c != L'\\') {
      level.push_back(c);
      continue;
    }
    if (!level.empty()) levels.push_back(Narrow(level));
    level.clear();
  }
  return levels;
}

// A store file that exists but cannot be read or understood is left alone: it may hold values that
// a person will want back.
enum class StoreState { Missing, Usable, Unusable };

struct Store {
  StoreState state = StoreState::Missing;
  json document = json::object();
};

Store ReadStore(SettingsHive hive) {
  const std::wstring path = SettingsFilePath(hive);
  std::ifstream in(Narrow(path), std::ios::binary);
  if (!in) return {FileExists(path) ? StoreState::Unusable : StoreState::Missing, json::object()};
  json document = json::parse(in, nullptr, /*allow_exceptions=*/false);
  if (document.is_discarded() || !document.is_object()) return {StoreState::Unusable, json::object()};
  return {StoreState::Usable, std::move(document)};
}

// The member of `object` called `name`, ignoring case as the registry does; null when there is none.
json* FindMember(json& object, const std::string& name) {
  if (!object.is_object()) return nullptr;
  const std::wstring wanted = Widen(name);
  for (auto it = object.begin(); it != object.end(); ++it) {
    if (EqualsNoCase(Widen(it.key()), wanted)) return &it.value();
  }
  return nullptr;
}

// The object that holds the values of `key`; null when some level is missing or is no key.
json* FindKey(json& document, const std::wstring& key) {
  json* node = &document;
  for (const std::string& level : KeyLevels(key)) {
    node = FindMember(*node, level);
    if (!node || !node->is_object()) return nullptr;
  }
  return node;
}

// Like FindKey, creating the missing levels; null when a level is taken by a value.
json* FindOrCreateKey(json& document, const std::wstring& key) {
  json* node = &document;
  for (const std::string& level : KeyLevels(key)) {
    json* member = FindMember(*node, level);
    if (!member) member = &((*node)[level] = json::object());
    if (!member->is_object()) return nullptr;
    node = member;
  }
  return node;
}

std::optional<std::int64_t> AsNumber(const json& value) {
  if (value.is_number_unsigned()) {
    const auto number = value.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
    return static_cast<std::int64_t>(number);
  }
  if (value.is_number_integer()) return value.get<std::int64_t>();
  return std::nullopt;
}

bool StoreNumber(SettingsHive hive, const std::wstring& key, const std::wstring& value, std::int64_t number) {
  Store store = ReadStore(hive);
  if (store.state == StoreState::Unusable) return false;
  json* values = FindOrCreateKey(store.document, key);
  if (!values) return false;
  const std::string name = Narrow(value);
  json* member = FindMember(*values, name);
  if (member && member->is_object()) return false;  // a key of that name is there
  if (member) *member = number;
  else (*values)[name] = number;
  CreateDirectories(SettingsDirectory(hive));
  return static_cast<bool>(WriteFileAtomically(SettingsFilePath(hive), store.document.dump(2) + "\n"));
}
}  // namespace

std::wstring SettingsFilePath(SettingsHive hive) {
  const wchar_t* file = hive == SettingsHive::CurrentUser ? L"user-settings.json" : L"machine-settings.json";
  return JoinPath(SettingsDirectory(hive), file);
}

std::optional<std::int64_t> ReadSettingNumber(SettingsHive hive, const std::wstring& key,
                                              const std::wstring& value) {
  Store store = ReadStore(hive);
  if (store.state != StoreState::Usable) return std::nullopt;
  json* values = FindKey(store.document, key);
  if (!values) return std::nullopt;
  const json* member = FindMember(*values, Narrow(value));
  return member ? AsNumber(*member) : std::nullopt;
}

bool WriteSettingNumber(SettingsHive hive, const std::wstring& key, const std::wstring& value,
                        std::int64_t number) {
  try {
    return StoreNumber(hive, key, value, number);
  } catch (...) {
    return false;  // nothing may escape to a caller in another library
  }
}

bool CanOpenSettingsKeyForWriting(SettingsHive hive, const std::wstring& /*key*/) {
  // The file is replaced through a new file beside it, so the folder must take writes as well.
  const std::wstring dir = SettingsDirectory(hive);
  const std::wstring file = SettingsFilePath(hive);
  if (!DirectoryExists(dir) || !HasReadWriteAccess(dir)) return false;
  return !FileExists(file) || HasReadWriteAccess(file);
}

}  // namespace kvx::platform
