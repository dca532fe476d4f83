#pragma once
// A small per-user and per-machine settings store that plays the role of the registry:
// keys are backslash-separated paths ("SOFTWARE\\Tarvell\\..."), values are named numbers or texts.
// On POSIX each hive is a JSON file; KVX_SETTINGS_DIR moves both files (used by tests).
#include <cstdint>
#include <optional>
#include <string>

#include "kvx/platform/Export.h"

namespace kvx::platform {

enum class SettingsHive { CurrentUser, LocalMachine };

// The number stored under `key`/`value`, or nothing when the key, the value or the file is
// missing, unreadable, or holds no number there.
KVX_PLATFORM_API std::optional<std::int64_t> ReadSettingNumber(SettingsHive hive, const std::wstring& key,
                                                               const std::wstring& value);
// Stores a number; creates the file and key as needed. False when the file cannot be written
// (the previous file is then left as it was).
KVX_PLATFORM_API bool WriteSettingNumber(SettingsHive hive, const std::wstring& key, const std::wstring& value,
                                         std::int64_t number);
// True when `key` of `hive` could be opened with full (read and write) access.
KVX_PLATFORM_API bool CanOpenSettingsKeyForWriting(SettingsHive hive, const std::wstring& key);
// Path of the file behind `hive`.
KVX_PLATFORM_API std::wstring SettingsFilePath(SettingsHive hive);

}  // namespace kvx::platform
