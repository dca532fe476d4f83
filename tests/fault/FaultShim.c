// Makes chosen file-system calls of a program fail, for the fault-injection tests. Loaded with
// LD_PRELOAD and set by environment variables:
//   KVX_FAULT_CALL   which calls: open (open and openat alike), write, fsync (fsync and fdatasync),
//                    link (link and linkat) or rename
//   KVX_FAULT_PATH   only calls on paths (or open files) whose name contains this text count
//   KVX_FAULT_AFTER  how many such calls succeed before they start failing (default 0)
//   KVX_FAULT_BYTES  for write: how many bytes go through before writes fail (instead of a call count)
//   KVX_FAULT_ERRNO  the error number the failing calls give; 0 kills the process there instead
// Once calls fail, every later one of the kind fails too, as on a full disk.
//   KVX_FAULT_NO_TMPFILE  when 1, files without a name cannot be opened (as on file systems that lack them)
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

static long Setting(const char* name, long fallback) {
  const char* text = getenv(name);
  return text && *text ? strtol(text, NULL, 10) : fallback;
}

static int Concerns(const char* path) {
  const char* part = getenv("KVX_FAULT_PATH");
  return !part || (path && strstr(path, part));
}

static int ConcernsFile(int fd) {
  char link[64], path[PATH_MAX];
  snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  const ssize_t n = readlink(link, path, sizeof path - 1);
  if (n < 0) return 0;
  path[n] = '\0';
  return Concerns(path);
}

static long calls, bytes;

// How much of a call of `size` bytes may go through: all of it, part of it, or -1 (the call fails).
static ssize_t Allowed(const char* call, int concerned, size_t size) {
  const char* chosen = getenv("KVX_FAULT_CALL");
  if (!concerned || !chosen || strcmp(chosen, call) != 0) return (ssize_t)size;
  const long byteLimit = Setting("KVX_FAULT_BYTES", -1);
  long done, first;
  if (byteLimit >= 0) {
    done = __atomic_fetch_add(&bytes, (long)size, __ATOMIC_SEQ_CST);
    first = byteLimit;
    if (done + (long)size <= first) return (ssize_t)size;
    if (done < first) return (ssize_t)(first - done);  // a short write up to the limit
  } else {
    done = __atomic_fetch_add(&calls, 1, __ATOMIC_SEQ_CST);
    first = Setting("KVX_FAULT_AFTER", 0);
    if (done < first) return (ssize_t)size;
  }
  const long error = Setting("KVX_FAULT_ERRNO", EIO);
  if (error == 0) raise(SIGKILL);
  errno = (int)error;
  return -1;
}

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

static int OpenAt(int folder, const char* path, int flags, va_list rest) {
  const mode_t mode = (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(rest, mode_t) : 0;
  if ((flags & O_TMPFILE) == O_TMPFILE && Setting("KVX_FAULT_NO_TMPFILE", 0) == 1) {
    errno = EOPNOTSUPP;
    return -1;
  }
  if (Allowed("open", Concerns(path), 0) < 0) return -1;
  return REAL(openat)(folder, path, flags, mode);
}

// Both open calls hand their optional mode on to OpenAt.
#define OPEN_WITH_REST(folder)                             \
  va_list rest;                                            \
  va_start(rest, flags);                                   \
  const int fd = OpenAt(folder, path, flags, rest);        \
  va_end(rest);                                            \
  return fd

int open(const char* path, int flags, ...) { OPEN_WITH_REST(AT_FDCWD); }
int openat(int folder, const char* path, int flags, ...) { OPEN_WITH_REST(folder); }

int open64(const char* path, int flags, ...) __attribute__((alias("open")));
int openat64(int folder, const char* path, int flags, ...) __attribute__((alias("openat")));

ssize_t write(int fd, const void* data, size_t size) {
  const ssize_t allowed = Allowed("write", ConcernsFile(fd), size);
  return allowed < 0 ? -1 : REAL(write)(fd, data, (size_t)allowed);
}

int fsync(int fd) { return Allowed("fsync", ConcernsFile(fd), 0) < 0 ? -1 : REAL(fsync)(fd); }
int fdatasync(int fd) { return Allowed("fsync", ConcernsFile(fd), 0) < 0 ? -1 : REAL(fdatasync)(fd); }

int rename(const char* from, const char* to) {
  return Allowed("rename", Concerns(to), 0) < 0 ? -1 : REAL(rename)(from, to);
}

int link(const char* from, const char* to) { return Allowed("link", Concerns(to), 0) < 0 ? -1 : REAL(link)(from, to); }

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
  return Allowed("link", Concerns(to), 0) < 0 ? -1 : REAL(linkat)(fromFolder, from, toFolder, to, flags);
}
