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
enum class WriteOutcome { Written, AlreadyExists, Failed };

// What a write did and, when it failed, why: the system's error number and a sentence that names the
// file and gives the system's reason ("cannot write /x/rules.xml: No space left on device").
struct WriteResult {
  WriteOutcome outcome = WriteOutcome::Failed;
  int systemError = 0;
  std::wstring description;
  explicit operator bool() const { return outcome == WriteOutcome::Written; }
};

// Writes `bytes` to `path` through a temporary file in the same folder, synced, then renamed over it, so
// the old file is replaced only once the new one is complete. A symbolic link is written through: the link
// stays and the file it names gets the content. On any failure the old file is untouched and no temporary
// file is left; temporaries that a killed write of the same file left behind are removed.
KVX_PLATFORM_API WriteResult WriteFileAtomically(const std::wstring& path, std::string_view bytes);

// The same for content made piece by piece, so that it is never held whole: `write` hands every piece to
// the sink in order and returns false to abandon the file (the sink returns false when a piece was not
// written; the result then carries the system's reason).
using PieceSink = std::function<bool(std::string_view)>;
KVX_PLATFORM_API WriteResult WriteFileAtomicallyInPieces(const std::wstring& path,
                                                         const std::function<bool(const PieceSink&)>& write);

// Like WriteFileAtomically, but only where nothing is yet: when another process got there first, its
// file stays and the outcome is AlreadyExists. Readers see either no file or the complete one.
KVX_PLATFORM_API WriteResult CreateFileAtomically(const std::wstring& path, const std::string& bytes);

}  // namespace kvx::platform
