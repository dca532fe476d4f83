#pragma once
// File-system probes.
#include <functional>
#include <string>
#include <string_view>

#include "kvx/platform/Export.h"

namespace kvx::platform {

enum class ProbeError { None, AccessDenied, SharingViolation, AlreadyExists, NotFound, Other };

// Opens an existing file for writing and closes it at once; reports why it failed.
KVX_PLATFORM_API ProbeError TryOpenExistingForWriting(const std::wstring& path);
KVX_PLATFORM_API bool DirectoryExists(const std::wstring& path);
KVX_PLATFORM_API bool FileExists(const std::wstring& path);
// True when the process may read and write `path` (the access test with mode 6).
KVX_PLATFORM_API bool HasReadWriteAccess(const std::wstring& path);
// Creates `path` with all missing levels. AlreadyExists when it was there already.
KVX_PLATFORM_API ProbeError CreateDirectories(const std::wstring& path);
// Creates one directory level. AlreadyExists when it was there already.
KVX_PLATFORM_API ProbeError CreateOneDirectory(const std::wstring& path);
KVX_PLATFORM_API bool RemoveEmptyDirectory(const std::wstring& path);
KVX_PLATFORM_API bool RemoveFile(const std::wstring& path);
// Writes `bytes` to `path` through a temporary file in the same folder and a rename, so the old
// file is replaced only once the new one is complete. False (old file untouched) on any failure,
// with the reason in `error` when given.
KVX_PLATFORM_API bool WriteFileAtomically(const std::wstring& path, const std::string& bytes,
                                          std::wstring* error = nullptr);
// The same for content made piece by piece, so that it is never held whole: `write` hands every piece to
// the sink in order and returns false to abandon the file (a sink returns false when a piece was not written).
using PieceSink = std::function<bool(std::string_view)>;
KVX_PLATFORM_API bool WriteFileAtomicallyInPieces(const std::wstring& path,
                                                  const std::function<bool(const PieceSink&)>& write,
                                                  std::wstring* error = nullptr);

}  // namespace kvx::platform
