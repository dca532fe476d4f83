#include "kvx/platform/FileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>

#include "kvx/platform/Paths.h"
#include "kvx/platform/Text.h"

namespace kvx::platform {

namespace {
ProbeError FromErrno(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS: return ProbeError::AccessDenied;
    case ETXTBSY:
    case EBUSY: return ProbeError::SharingViolation;
    case EEXIST: return ProbeError::AlreadyExists;
    case ENOENT: return ProbeError::NotFound;
    default: return ProbeError::Other;
  }
}

// A new file beside `target`, created with the usual permissions (0666 less the umask); its name goes
// to `temp`. -1 when none can be made.
int CreateTemporaryBeside(const std::string& target, std::string& temp) {
  static std::mt19937_64 random{std::random_device{}()};
  for (int attempt = 0; attempt < 100; ++attempt) {
    char suffix[32];
    std::snprintf(suffix, sizeof suffix, ".tmp-%016llx", static_cast<unsigned long long>(random()));
    temp = target + suffix;
    const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

bool WriteAll(int fd, std::string_view bytes) {
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    written += static_cast<size_t>(n);
  }
  return true;
}

// A replaced file keeps its permissions: a file kept private must stay private.
void KeepModeOf(const std::string& target, int fd) {
  struct stat st {};
  if (::stat(target.c_str(), &st) == 0 && S_ISREG(st.st_mode)) ::fchmod(fd, st.st_mode & 07777);
}

// Makes the rename itself durable.
void SyncFolderOf(const std::string& target) {
  const auto slash = target.find_last_of('/');
  const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : target.substr(0, slash);
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}
}  // namespace

ProbeError TryOpenExistingForWriting(const std::wstring& path) {
  // Non-blocking, so that a named pipe without a reader cannot hold the probe forever.
  const int fd = ::open(Narrow(path).c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return FromErrno(errno);
  ::close(fd);
  return ProbeError::None;
}

bool DirectoryExists(const std::wstring& path) {
  struct stat st {};
  return ::stat(Narrow(path).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool FileExists(const std::wstring& path) {
  struct stat st {};
  return ::stat(Narrow(path).c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool HasReadWriteAccess(const std::wstring& path) { return ::access(Narrow(path).c_str(), R_OK | W_OK) == 0; }

ProbeError CreateOneDirectory(const std::wstring& path) {
  if (::mkdir(Narrow(path).c_str(), 0777) == 0) return ProbeError::None;
  return FromErrno(errno);
}

ProbeError CreateDirectories(const std::wstring& given) {
  // "a/b/" names the folder "a/b": without this its creation would be reported as already there.
  std::wstring path = given;
  while (path.size() > 1 && path.back() == PathSeparator()) path.pop_back();
  if (path.empty()) return ProbeError::NotFound;
  if (DirectoryExists(path)) return ProbeError::AlreadyExists;
  const std::wstring parent = ParentPath(path);
  if (!parent.empty() && !DirectoryExists(parent)) {
    const ProbeError made = CreateDirectories(parent);
    if (made != ProbeError::None && made != ProbeError::AlreadyExists) return made;
  }
  return CreateOneDirectory(path);
}

bool RemoveEmptyDirectory(const std::wstring& path) { return ::rmdir(Narrow(path).c_str()) == 0; }

bool RemoveFile(const std::wstring& path) { return ::unlink(Narrow(path).c_str()) == 0; }

bool WriteFileAtomically(const std::wstring& path, const std::string& bytes, std::wstring* error) {
  return WriteFileAtomicallyInPieces(path, [&](const PieceSink& sink) { return sink(bytes); }, error);
}

bool WriteFileAtomicallyInPieces(const std::wstring& path, const std::function<bool(const PieceSink&)>& write,
                                 std::wstring* error) {
  const auto fail = [&](const std::wstring& reason) {
    if (error) *error = reason;
    return false;
  };
  if (path.empty()) return fail(L"no file name given");
  const std::string target = Narrow(path);
  std::string temp;
  const int fd = CreateTemporaryBeside(target, temp);
  if (fd < 0) return fail(L"cannot create a temporary file beside " + path);
  const bool complete = write([fd](std::string_view piece) { return WriteAll(fd, piece); }) && ::fsync(fd) == 0;
  KeepModeOf(target, fd);
  const bool closed = ::close(fd) == 0;
  if (!complete || !closed || ::rename(temp.c_str(), target.c_str()) != 0) {
    ::unlink(temp.c_str());
    return fail(L"cannot write " + path);
  }
  SyncFolderOf(target);
  return true;
}

}  // namespace kvx::platform
