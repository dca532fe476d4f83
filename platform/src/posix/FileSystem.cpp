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
}  // namespace

ProbeError TryOpenExistingForWriting(const std::wstring& path) {
  const int fd = ::open(Narrow(path).c_str(), O_WRONLY | O_CLOEXEC);
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

ProbeError CreateDirectories(const std::wstring& path) {
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
  const std::string target = Narrow(path);
  std::string temp = target + ".tmp-XXXXXX";
  const int fd = ::mkstemp(temp.data());
  if (fd < 0) {
    if (error) *error = L"cannot create a temporary file beside " + path;
    return false;
  }
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    written += static_cast<size_t>(n);
  }
  const bool complete = written == bytes.size() && ::fsync(fd) == 0;
  ::fchmod(fd, 0644);
  ::close(fd);
  if (!complete || ::rename(temp.c_str(), target.c_str()) != 0) {
    ::unlink(temp.c_str());
    if (error) *error = L"cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace kvx::platform
