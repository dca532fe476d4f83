// File-system probes and atomic file writing.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "PlatformTestSupport.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Text.h"

using namespace kvx::platform;
using kvx::test::ReadWholeFile;
using kvx::test::WriteWholeFile;
namespace fs = std::filesystem;

namespace {
std::wstring W(const fs::path& path) { return Widen(path.string()); }

long EntriesIn(const fs::path& folder) { return std::distance(fs::directory_iterator(folder), fs::directory_iterator()); }

mode_t ModeOf(const fs::path& path) { return static_cast<mode_t>(fs::status(path).permissions()); }

// Runs `probe` in a child process that an alarm ends after a few seconds: a probe that blocks fails the test
// instead of hanging the whole run.
template <typename Probe>
bool FinishesPromptly(Probe probe) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(5);
    probe();
    ::_exit(0);
  }
  int status = 0;
  return ::waitpid(child, &status, 0) == child && WIFEXITED(status);
}
}  // namespace

class FileSystemProbes : public ::testing::Test {
 protected:
  fs::path Target() const { return folder_ / "rules.xml"; }
  kvx::test::ScratchFolder folder_;
};
using AtomicWrite = FileSystemProbes;

TEST_F(FileSystemProbes, ExistenceAndAccessChecks) {
  WriteWholeFile(folder_ / "file.txt", "content");
  EXPECT_TRUE(FileExists(W(folder_ / "file.txt")));
  EXPECT_FALSE(DirectoryExists(W(folder_ / "file.txt")));
  EXPECT_TRUE(DirectoryExists(W(folder_.Path())));
  EXPECT_FALSE(FileExists(W(folder_.Path())));
  EXPECT_FALSE(FileExists(W(folder_ / "missing")));
  EXPECT_TRUE(HasReadWriteAccess(W(folder_.Path())));
  EXPECT_FALSE(HasReadWriteAccess(W(folder_ / "missing")));
  EXPECT_FALSE(HasReadWriteAccess(L""));
  EXPECT_EQ(TryOpenExistingForWriting(W(folder_ / "file.txt")), ProbeError::None);
  EXPECT_EQ(ReadWholeFile(folder_ / "file.txt"), "content") << "the probe must not truncate";
  EXPECT_EQ(TryOpenExistingForWriting(W(folder_ / "missing.txt")), ProbeError::NotFound);
  EXPECT_FALSE(fs::exists(folder_ / "missing.txt")) << "the probe must not create the file";

  const fs::path fifo = folder_ / "pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_TRUE(FinishesPromptly([&] { TryOpenExistingForWriting(W(fifo)); })) << "no waiting for a pipe reader";
}

TEST_F(FileSystemProbes, ReadOnlyFileAndFolderAreDenied) {
  KVX_SKIP_IF_SUPERUSER();
  WriteWholeFile(folder_ / "locked.txt", "x");
  fs::permissions(folder_ / "locked.txt", fs::perms::owner_read);
  EXPECT_EQ(TryOpenExistingForWriting(W(folder_ / "locked.txt")), ProbeError::AccessDenied);
  EXPECT_FALSE(HasReadWriteAccess(W(folder_ / "locked.txt")));
  fs::create_directory(folder_ / "ro");
  fs::permissions(folder_ / "ro", fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_FALSE(HasReadWriteAccess(W(folder_ / "ro")));
  EXPECT_EQ(CreateOneDirectory(W(folder_ / "ro" / "Temp")), ProbeError::AccessDenied);
  EXPECT_EQ(CreateDirectories(W(folder_ / "ro" / "a" / "b")), ProbeError::AccessDenied);
  EXPECT_FALSE(fs::exists(folder_ / "ro" / "a"));
}

TEST_F(FileSystemProbes, CreateDirectoriesReportsCreationOrWhyNot) {
  const std::wstring base = W(folder_.Path());
  const auto all = CreateDirectories, one = CreateOneDirectory;
  const std::tuple<decltype(all), std::wstring, ProbeError> steps[] = {
      {all, base + L"/a/b/c", ProbeError::None},     {all, base + L"/a/b/c", ProbeError::AlreadyExists},
      {all, base + L"/a", ProbeError::AlreadyExists}, {all, L"", ProbeError::NotFound},
      {all, base + L"/x/y/", ProbeError::None},      {all, base + L"/x/y//", ProbeError::AlreadyExists},
      {all, base + L"/p//q", ProbeError::None},      {one, base + L"/one", ProbeError::None},
      {one, base + L"/one", ProbeError::AlreadyExists}, {one, base + L"/missing/two", ProbeError::NotFound}};
  for (const auto& [create, path, expected] : steps) EXPECT_EQ(create(path), expected) << Narrow(path);
  EXPECT_TRUE(fs::is_directory(folder_ / "p" / "q"));
  WriteWholeFile(folder_ / "file", "x");
  const ProbeError belowAFile = CreateDirectories(W(folder_ / "file" / "sub"));
  EXPECT_NE(belowAFile, ProbeError::None);
  EXPECT_NE(belowAFile, ProbeError::AlreadyExists);
}

// --- Atomic writing ------------------------------------------------------------------------------


TEST_F(AtomicWrite, CreatesReplacesAndWritesThroughALinkWholeButCreatingNeverReplaces) {
  std::string big(5 * 1024 * 1024, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 31 % 251);
  for (const std::string& content : {std::string("first"), big, std::string()}) {
    ASSERT_TRUE(WriteFileAtomically(W(Target()), content));
    EXPECT_EQ(ReadWholeFile(Target()), content);
  }
  EXPECT_EQ(EntriesIn(folder_.Path()), 1) << "no temporary file is left behind";

  EXPECT_EQ(CreateFileAtomically(W(Target()), "second").outcome, WriteOutcome::AlreadyExists);
  EXPECT_EQ(ReadWholeFile(Target()), "");
  const WriteResult missing = CreateFileAtomically(W(folder_ / "missing" / "x"), "x");
  EXPECT_EQ(missing.outcome, WriteOutcome::Failed);
  EXPECT_EQ(missing.systemError, ENOENT);
  EXPECT_EQ(CreateFileAtomically(W(folder_ / "real.xml"), "created").outcome, WriteOutcome::Written);
  EXPECT_EQ(ReadWholeFile(folder_ / "real.xml"), "created");

  fs::create_symlink("real.xml", folder_ / "link.xml");
  ASSERT_TRUE(WriteFileAtomically(W(folder_ / "link.xml"), "new"));
  EXPECT_TRUE(fs::is_symlink(folder_ / "link.xml"));
  EXPECT_EQ(ReadWholeFile(folder_ / "real.xml"), "new");
  EXPECT_EQ(EntriesIn(folder_.Path()), 3);

  // A pipe or a device (-o /dev/null) gets the bytes; a file renamed over it would replace it for everyone.
  const fs::path pipe = folder_ / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  EXPECT_TRUE(WriteFileAtomically(W(pipe), "through"));
  char received[16] = {};
  EXPECT_EQ(::read(reader, received, sizeof received), 7);
  ::close(reader);
  EXPECT_TRUE(fs::is_fifo(pipe));
}

// A new file follows the umask; a replaced one keeps its mode, so a file the user kept private stays private.
TEST_F(AtomicWrite, NewFileFollowsTheUmaskAndAReplacedFileKeepsItsMode) {
  const struct {
    const char* name;
    mode_t umask, modeBefore, modeAfter;  // modeBefore 0: left as it is
  } steps[] = {{"private.json", 077, 0, 0600}, {"rules.xml", 022, 0, 0644}, {"private.json", 022, 0, 0600},
               {"rules.xml", 022, 0664, 0664}};
  const mode_t savedMask = ::umask(077);
  for (const auto& step : steps) {
    ::umask(step.umask);
    if (step.modeBefore) ::chmod((folder_ / step.name).c_str(), step.modeBefore);
    ASSERT_TRUE(WriteFileAtomically(W(folder_ / step.name), "content"));
    EXPECT_EQ(ModeOf(folder_ / step.name), step.modeAfter) << step.name;
  }
  ::umask(savedMask);
}

TEST_F(AtomicWrite, FailuresKeepWhatIsThereAndGiveTheSystemsReason) {
  ASSERT_TRUE(WriteFileAtomically(W(Target()), "old content"));
  fs::create_symlink("nowhere/x.xml", folder_ / "dangling.xml");
  const struct {
    fs::path path;
    std::string reason;
    int systemError;
  } cases[] = {
      {folder_ / "missing" / "x.xml", std::strerror(ENOENT), ENOENT},
      {"", "no file name given", ENOENT},
      {folder_.Path(), std::strerror(EISDIR), EISDIR},
      {folder_ / "dangling.xml", "symbolic link", ENOENT},  // refused: it is not replaced by a file of its own
  };
  for (const auto& [path, reason, systemError] : cases) {
    const WriteResult result = WriteFileAtomically(W(path), "new content");
    EXPECT_EQ(result.outcome, WriteOutcome::Failed) << path;
    EXPECT_EQ(result.systemError, systemError) << path;
    EXPECT_NE(Narrow(result.description).find(reason), std::string::npos) << path << ": " << Narrow(result.description);
  }
  EXPECT_TRUE(fs::is_symlink(folder_ / "dangling.xml"));

  // A file-size limit makes the write itself fail half-way, for the superuser too.
  struct rlimit saved {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
  const auto previousHandler = ::signal(SIGXFSZ, SIG_IGN);
  struct rlimit small = saved;
  small.rlim_cur = 4096;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const WriteResult written = WriteFileAtomically(W(Target()), std::string(64 * 1024, 'n'));
  ::setrlimit(RLIMIT_FSIZE, &saved);
  ::signal(SIGXFSZ, previousHandler);
  EXPECT_EQ(written.systemError, EFBIG);
  EXPECT_EQ(Narrow(written.description), "cannot write " + Target().string() + ": " + std::strerror(EFBIG));
  EXPECT_EQ(ReadWholeFile(Target()), "old content");
  EXPECT_EQ(EntriesIn(folder_.Path()), 2) << "no temporary file is left behind";
}

TEST_F(AtomicWrite, TemporariesOfKilledWritesGoAtTheNextWrite) {
  const pid_t gone = ::fork();
  if (gone == 0) ::_exit(0);
  ASSERT_EQ(::waitpid(gone, nullptr, 0), gone);
  const std::string dead = std::to_string(gone);
  const std::string alive = std::to_string(::getpid());
  const std::vector<std::pair<std::string, bool>> leftovers = {
      {".rules.xml.kvx-tmp-" + dead + "-7", false},  // a killed write of this file
      {".rules.xml.kvx-tmp-" + alive + "-7", true},  // a write still running
      {".other.xml.kvx-tmp-" + dead + "-7", true},   // another file's business
      {".rules.xml.kvx-tmp-notes", true},            // not a name this writer gives
      {"rules.xml.kvx-tmp-" + dead + "-7", true},    // nor this
  };
  for (const auto& [name, kept] : leftovers) WriteWholeFile(folder_ / name, "partial");
  ASSERT_TRUE(WriteFileAtomically(W(Target()), "content"));
  for (const auto& [name, kept] : leftovers) EXPECT_EQ(fs::exists(folder_ / name), kept) << name;
}
