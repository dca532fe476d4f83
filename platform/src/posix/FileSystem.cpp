#include "kvx/platform/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string_view>

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

namespace {
// Temporary files are named ".<file>.kvx-tmp-<pid>-<n>": hidden, recognisably ours, and one whose process
// is gone belongs to a write that was killed, so the next write of the same file removes it.
constexpr std::string_view kTempMarker = ".kvx-tmp-";

std::string SystemReason(int error) { return std::strerror(error); }

std::string FolderOf(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// Removes the temporary files of `target` left by writes whose process no longer runs.
void RemoveStaleTemporaries(const std::string& target) {
  const std::string prefix = "." + NameOf(target) + std::string(kTempMarker);
  DIR* folder = ::opendir(FolderOf(target).c_str());
  if (!folder) return;
  while (const dirent* entry = ::readdir(folder)) {
    const std::string_view name = entry->d_name;
    if (name.substr(0, prefix.size()) != prefix) continue;
    const std::string_view rest = name.substr(prefix.size());
    long long pid = 0;
    const auto [end, ec] = std::from_chars(rest.data(), rest.data() + rest.size(), pid);
    if (ec != std::errc() || end == rest.data() + rest.size() || *end != '-' || pid <= 0) continue;
    if (::kill(static_cast<pid_t>(pid), 0) == 0 || errno != ESRCH) continue;  // still running, or not ours to judge
    ::unlinkat(::dirfd(folder), entry->d_name, 0);
  }
  ::closedir(folder);
}

std::string TemporaryName(const std::string& target) {
  // Threads of one process writing at once get different numbers; other processes differ by the pid.
  static std::atomic<unsigned long> written{0};
  return FolderOf(target) + "/." + NameOf(target) + std::string(kTempMarker) + std::to_string(::getpid()) + "-" +
         std::to_string(++written);
}

// A replaced file keeps its permissions: a file kept private must stay private.
void KeepModeOf(const std::string& target, int fd) {
  struct stat st {};
  if (::stat(target.c_str(), &st) == 0 && S_ISREG(st.st_mode)) ::fchmod(fd, st.st_mode & 07777);
}

// Writes all of `piece` to `fd`. 0, or the system's error number.
int WriteAll(int fd, std::string_view piece) {
  for (size_t written = 0; written < piece.size();) {
    const ssize_t n = ::write(fd, piece.data() + written, piece.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return errno;
    if (n == 0) return EIO;
    written += static_cast<size_t>(n);
  }
  return 0;
}

// A file being written beside its target, created with the usual permissions (0666 less the umask).
// Where the file system allows it the file has no name until it is complete, so a write killed half-way
// leaves nothing behind; otherwise it has a temporary name, removed on every failure path here and by the
// next write after a kill.
class PendingFile {
 public:
  ~PendingFile() {
    if (fd_ >= 0) ::close(fd_);
    if (!name_.empty()) ::unlink(name_.c_str());
  }

  // 0, or the system's error number.
  int Open(const std::string& target) {
    fd_ = ::open(FolderOf(target).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (fd_ >= 0) return 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
      std::string name = TemporaryName(target);
      fd_ = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (fd_ >= 0) {
        name_ = std::move(name);
        return 0;
      }
      if (errno != EEXIST) break;
    }
    return errno;
  }

  // Appends one piece. 0, or the system's error number.
  int Append(std::string_view piece) { return WriteAll(fd_, piece); }

  // Makes what was appended durable, with the permissions of the file it replaces. 0, or the system's
  // error number.
  int Finish(const std::string& target) {
    KeepModeOf(target, fd_);
    return ::fsync(fd_) == 0 ? 0 : errno;
  }

  // Puts the complete file at `target`: in place of what is there, or only where nothing is yet
  // (`replace` false). 0 or the system's error number (EEXIST when something was there).
  int Publish(const std::string& target, bool replace) {
    if (name_.empty()) {
      // An unnamed file gets a name by a link, which never replaces anything.
      const std::string self = "/proc/self/fd/" + std::to_string(fd_);
      std::string name = replace ? TemporaryName(target) : target;
      if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0) return errno;
      if (!replace) return 0;
      name_ = std::move(name);
    }
    if (replace ? ::rename(name_.c_str(), target.c_str()) != 0 : ::link(name_.c_str(), target.c_str()) != 0) {
      return errno;
    }
    if (replace) name_.clear();  // the name is the target's now
    return 0;
  }

 private:
  int fd_ = -1;
  std::string name_;
};

// Makes the rename itself durable.
void SyncFolderOf(const std::string& target) {
  const int fd = ::open(FolderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

WriteResult Failure(int error, const std::string& doing, const std::string& path, const std::string& detail = {}) {
  return {WriteOutcome::Failed, error, Widen(doing + " " + path + ": " + detail + SystemReason(error))};
}

using Producer = std::function<bool(const PieceSink&)>;

// Runs `write` into the pending file. 0, or the system's error number (EIO when the producer gave up
// without a failed write).
int Fill(PendingFile& file, const Producer& write) {
  int error = 0;
  const bool produced = write([&](std::string_view piece) {
    if (error == 0) error = file.Append(piece);
    return error == 0;
  });
  if (error != 0) return error;
  return produced ? 0 : EIO;
}

WriteResult WriteBeside(const std::string& target, const Producer& write, bool replace) {
  RemoveStaleTemporaries(target);
  PendingFile file;
  if (const int error = file.Open(target); error != 0) return Failure(error, "cannot write", target);
  if (const int error = Fill(file, write); error != 0) return Failure(error, "cannot write", target);
  if (const int error = file.Finish(target); error != 0) return Failure(error, "cannot write", target);
  if (const int error = file.Publish(target, replace); error != 0) {
    if (error == EEXIST && !replace) return {WriteOutcome::AlreadyExists, 0, {}};
    return Failure(error, replace ? "cannot replace" : "cannot create", target);
  }
  SyncFolderOf(target);  // the new file is in place already; a folder that cannot be synced changes nothing
  return {WriteOutcome::Written, 0, {}};
}

// The file a write of `path` replaces: a symbolic link is followed to the file it names, so that the link
// stays and its target gets the new content. A link that leads nowhere is refused, not replaced.
WriteResult ResolveLink(const std::string& path, std::string& target) {
  struct stat st {};
  if (::lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) {
    target = path;
    return {WriteOutcome::Written, 0, {}};
  }
  char* real = ::realpath(path.c_str(), nullptr);
  if (!real) {
    const int error = errno;
    return Failure(error, "cannot write", path, "it is a symbolic link to a file that cannot be reached: ");
  }
  target = real;
  std::free(real);
  return {WriteOutcome::Written, 0, {}};
}

// True for a device or a pipe: no file of ours may take its place, so it is written to as it is.
bool IsSpecialFile(const std::string& target) {
  struct stat st {};
  return ::stat(target.c_str(), &st) == 0 && (S_ISCHR(st.st_mode) || S_ISFIFO(st.st_mode) || S_ISSOCK(st.st_mode));
}

WriteResult WriteStraight(const std::string& target, const Producer& write) {
  const int fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) return Failure(errno, "cannot write", target);
  int error = 0;
  const bool produced = write([&](std::string_view piece) {
    if (error == 0) error = WriteAll(fd, piece);
    return error == 0;
  });
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && !produced) error = EIO;
  if (error != 0) return Failure(error, "cannot write", target);
  return {WriteOutcome::Written, 0, {}};
}

WriteResult NoName() { return {WriteOutcome::Failed, ENOENT, L"no file name given"}; }
}  // namespace

WriteResult WriteFileAtomicallyInPieces(const std::wstring& path, const Producer& write) {
  if (path.empty()) return NoName();
  std::string target;
  if (WriteResult resolved = ResolveLink(Narrow(path), target); !resolved) return resolved;
  // Renaming a file over /dev/null would replace the device for every program on the machine.
  if (IsSpecialFile(target)) return WriteStraight(target, write);
  return WriteBeside(target, write, true);
}

WriteResult WriteFileAtomically(const std::wstring& path, std::string_view bytes) {
  return WriteFileAtomicallyInPieces(path, [bytes](const PieceSink& sink) { return sink(bytes); });
}

WriteResult CreateFileAtomically(const std::wstring& path, const std::string& bytes) {
  if (path.empty()) return NoName();
  return WriteBeside(Narrow(path), [&bytes](const PieceSink& sink) { return sink(bytes); }, false);
}

}  // namespace kvx::platform
