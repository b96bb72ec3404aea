// The shared-memory record between real processes. Each test mounts its own /dev/shm, invisible to
// other tests and programs.

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "FinderIntegration/wevoraLoader/InstalledVersion.h"
#include "FinderIntegration/wevoraLoader/sharedcheck.h"
#include "Platform/Installation/InstalledPaths.h"
#include "Platform/PropertyLists/PropertyLists.h"
#include "Tests/Doubles/TemporaryFolder.h"
#include "Tests/Mounts/InMountNamespace.h"

namespace {

/// How many calls of posix_fallocate fail with EINTR.
int interruptions = 0;

}  // namespace

/// Replaces the function of the C library.
extern "C" int posix_fallocate(int descriptor, off_t offset, off_t length) {
  if (interruptions-- > 0) return EINTR;
  return ::fallocate(descriptor, 0, offset, length) == 0 ? 0 : errno;
}

namespace wevora {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSharedMemory = "/dev/shm";
constexpr const char* kObject = "/dev/shm/finder.shared";
constexpr int kOk = 0;
constexpr int kFailed = 1;

/// Runs `body` in a child process. Returns its exit status, or -1.
int inAnotherProcess(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(body());
  int status = -1;
  if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

std::size_t openDescriptors() {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

/// A named record that this process keeps mapped.
class HeldRecord {
 public:
  explicit HeldRecord(SharedRecord record) {
    const int descriptor = ::shm_open("finder.shared", O_RDWR | O_CREAT | O_EXCL, 0600);
    if (descriptor < 0 || ::ftruncate(descriptor, sizeof record) != 0) return;
    mapping_ = ::mmap(nullptr, sizeof record, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (holds()) std::memcpy(mapping_, &record, sizeof record);
  }
  ~HeldRecord() {
    if (holds()) ::munmap(mapping_, sizeof(SharedRecord));
  }
  HeldRecord(const HeldRecord&) = delete;
  HeldRecord& operator=(const HeldRecord&) = delete;

  bool holds() const { return mapping_ != MAP_FAILED; }
  std::array<std::int32_t, 4> fields() const {
    std::array<std::int32_t, 4> fields{};
    std::memcpy(fields.data(), mapping_, sizeof fields);
    return fields;
  }

 private:
  void* mapping_ = MAP_FAILED;
};

/// A child process that keeps a record mapped during the lifetime of this object.
class OtherHolder {
 public:
  explicit OtherHolder(SharedRecord record) {
    std::array<int, 2> ready{};
    std::array<int, 2> end{};
    if (::pipe(ready.data()) != 0 || ::pipe(end.data()) != 0) return;
    child_ = ::fork();
    if (child_ == 0) {
      ::close(end[1]);
      const HeldRecord held(record);
      char byte = held.holds() ? 'y' : 'n';
      [[maybe_unused]] auto ignored = ::write(ready[1], &byte, 1);
      ignored = ::read(end[0], &byte, 1);
      ::_exit(kOk);
    }
    ::close(end[0]);
    ::close(ready[1]);
    end_ = end[1];
    char byte = 'n';
    holds_ = ::read(ready[0], &byte, 1) == 1 && byte == 'y';
    ::close(ready[0]);
  }
  ~OtherHolder() {
    ::close(end_);
    if (child_ > 0) ::waitpid(child_, nullptr, 0);
  }
  OtherHolder(const OtherHolder&) = delete;
  OtherHolder& operator=(const OtherHolder&) = delete;
  bool holds() const { return holds_; }

 private:
  pid_t child_ = -1;
  int end_ = -1;
  bool holds_ = false;
};

class LoaderHandshakeTest : public testing::Test {
 protected:
  LoaderHandshakeTest() {
    mounted = mount(0);
    const auto paths = platform::InstalledPaths::belowRoot(root.path());
    list = paths.translate(kBundleInfoPath);
    fs::create_directories(fs::path(list).parent_path());
    platform::InstalledPaths::setShared(paths);
    ::umask(0);
  }
  ~LoaderHandshakeTest() override { ::umount2(kSharedMemory, MNT_DETACH); }
  void SetUp() override { ASSERT_TRUE(mounted); }

  static bool mount(unsigned long flags) {
    return ::mount("tmpfs", kSharedMemory, "tmpfs", flags, "size=1m") == 0;
  }
  void install(const std::string& version) {
    std::ofstream(list, std::ios::trunc)
        << platform::PropertyLists::xml({{"kFinderVersion", version}}).value();
  }
  static bool nameExists() { return fs::exists(kObject); }
  /// The result and the standard output of shouldKillFinder.
  static std::pair<int, std::string> resultAndOutput() {
    testing::internal::CaptureStdout();
    const int result = shouldKillFinder();
    std::fflush(stdout);
    return {result, testing::internal::GetCapturedStdout()};
  }
  static void fillSharedMemory() {
    std::ofstream filler(std::string(kSharedMemory) + "/filler");
    while (filler << std::string(4096, 'x') && filler.flush()) {
    }
  }

  platform::TemporaryFolder root;
  std::string list;
  bool mounted = false;
};

TEST_F(LoaderHandshakeTest, BothFunctionsAreExportedUnderTheirPlainNames) {
  EXPECT_EQ(::dlsym(RTLD_DEFAULT, "setVersion"), reinterpret_cast<void*>(&setVersion));
  EXPECT_EQ(::dlsym(RTLD_DEFAULT, "shouldKillFinder"), reinterpret_cast<void*>(&shouldKillFinder));
}

TEST_F(LoaderHandshakeTest, SetVersionUnlinksTheName) {
  setVersion(1, 2, 3);
  EXPECT_TRUE(fs::is_empty(kSharedMemory));
}

TEST_F(LoaderHandshakeTest, SetVersionWritesSixteenBytesToAnExistingRecordAndUnlinksIt) {
  const HeldRecord held({9, 9, 9, 9});
  ASSERT_TRUE(held.holds());
  EXPECT_EQ(fs::file_size(kObject), 16U);
  setVersion(1, -2, 3);
  EXPECT_EQ(held.fields(), (std::array<std::int32_t, 4>{1, -2, 3, ::getpid()}));
  EXPECT_FALSE(nameExists());
}

TEST_F(LoaderHandshakeTest, TheRecordHasTheIdOfTheProcessThatWroteIt) {
  const HeldRecord held({});
  ASSERT_TRUE(held.holds());
  const pid_t child = ::fork();
  if (child == 0) {
    setVersion(2, 0, 1);
    ::_exit(kOk);
  }
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_EQ(held.fields(), (std::array<std::int32_t, 4>{2, 0, 1, child}));
}

TEST_F(LoaderHandshakeTest, ARecordOfAnotherSizeIsTruncatedToSixteenBytes) {
  std::ofstream(kObject) << std::string(5000, 'x');
  install("0.0.0");
  EXPECT_EQ(shouldKillFinder(), 0);
  EXPECT_EQ(fs::file_size(kObject), 16U);
}

TEST_F(LoaderHandshakeTest, ARecordOfTheInstalledVersionHeldByAnotherProcessIsOneAndKeepsItsName) {
  install("2.0.1");
  const OtherHolder other({2, 0, 1, 4711});
  ASSERT_TRUE(other.holds());
  EXPECT_EQ(shouldKillFinder(), 1);
  EXPECT_TRUE(nameExists());
  EXPECT_EQ(shouldKillFinder(), 1);
  EXPECT_TRUE(nameExists());
}

TEST_F(LoaderHandshakeTest, ARecordOfAnotherVersionIsZeroAndKeepsItsName) {
  const OtherHolder other({2, 0, 1, 4711});
  ASSERT_TRUE(other.holds());
  for (const char* version : {"2.0.2", "2.1.1", "3.0.1", "0.0.0"}) {
    install(version);
    EXPECT_EQ(shouldKillFinder(), 0) << version;
    EXPECT_TRUE(nameExists());
  }
}

TEST_F(LoaderHandshakeTest, AVersionTextWithOtherThanThreeComponentsIsZero) {
  const OtherHolder other({2, 0, 0, 4711});
  ASSERT_TRUE(other.holds());
  for (const char* version : {"2.0", "2.0.0.0", "2", ""}) {
    install(version);
    EXPECT_EQ(shouldKillFinder(), 0) << version;
  }
  install("2.0.0");
  EXPECT_EQ(shouldKillFinder(), 1);
}

TEST_F(LoaderHandshakeTest, WithoutAnInstalledListTheResultIsZeroEvenForAnEmptyRecord) {
  EXPECT_EQ(resultAndOutput(), std::make_pair(0, std::string()));
  EXPECT_FALSE(nameExists());
}

TEST_F(LoaderHandshakeTest, WithoutAnObjectOneIsCreatedAndUnlinkedEachTime) {
  install("2.0.1");
  EXPECT_EQ(shouldKillFinder(), 0);
  EXPECT_FALSE(nameExists());
  EXPECT_EQ(shouldKillFinder(), 0);
  EXPECT_FALSE(nameExists());
}

TEST_F(LoaderHandshakeTest, AnInstalledVersionOfZerosEqualsAFreshObject) {
  install("0.0.0");
  EXPECT_EQ(shouldKillFinder(), 1);
  EXPECT_FALSE(nameExists());
}

TEST_F(LoaderHandshakeTest, AfterSetVersionTheLoaderFindsNoRecord) {
  install("2.0.1");
  EXPECT_EQ(inAnotherProcess([] {
              setVersion(2, 0, 1);
              return shouldKillFinder();
            }),
            0);
  EXPECT_EQ(shouldKillFinder(), 0);
}

TEST_F(LoaderHandshakeTest, TheModeIsDecimal777) {
  // With descriptor 0 free, the call treats the object as existing and leaves its name linked.
  install("2.0.1");
  ASSERT_EQ(inAnotherProcess([] {
              ::close(0);
              return shouldKillFinder();
            }),
            0);
  struct stat facts {};
  ASSERT_EQ(::stat(kObject, &facts), 0);
  EXPECT_EQ(facts.st_mode & 07777U, 777U);
  EXPECT_EQ(facts.st_mode & 07777U, 01411U);
  EXPECT_EQ(facts.st_size, 16);
}

TEST_F(LoaderHandshakeTest, ADescriptorOfZeroCountsAsAFailureToCreate) {
  EXPECT_EQ(inAnotherProcess([] {
              ::close(0);
              const auto before = openDescriptors();
              setVersion(1, 2, 3);
              // The first descriptor leaks, the second is closed.
              return openDescriptors() == before + 1 ? kOk : kFailed;
            }),
            kOk);
  EXPECT_FALSE(nameExists());
}

TEST_F(LoaderHandshakeTest, NoDescriptorIsLeftOpen) {
  install("2.0.1");
  const auto before = openDescriptors();
  for (int round = 0; round < 10; ++round) {
    setVersion(1, 2, 3);
    shouldKillFinder();
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LoaderHandshakeTest, OnlyShouldKillFinderReportsAnObjectThatCannotBeOpened) {
  ::umount2(kSharedMemory, MNT_DETACH);
  ASSERT_TRUE(mount(MS_RDONLY));
  install("0.0.0");
  testing::internal::CaptureStdout();
  setVersion(1, 2, 3);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(resultAndOutput(), std::make_pair(0, "Could not create shm object. " +
                                                     std::string(std::strerror(EROFS)) + "\n"));
}

TEST_F(LoaderHandshakeTest, AnObjectThatCannotBeMappedKeepsItsNameAndLeaksItsDescriptor) {
  ASSERT_EQ(::mkfifo(kObject, 0600), 0);
  install("0.0.0");
  const auto before = openDescriptors();
  setVersion(1, 2, 3);
  EXPECT_EQ(openDescriptors(), before + 1);
  EXPECT_EQ(resultAndOutput(), std::make_pair(0, std::string()));
  EXPECT_EQ(openDescriptors(), before + 2);
  EXPECT_TRUE(nameExists());
}

TEST_F(LoaderHandshakeTest, FullSharedMemoryDoesNotKillTheProcess) {
  install("0.0.0");
  fillSharedMemory();
  EXPECT_EQ(inAnotherProcess([] {
              setVersion(1, 2, 3);
              return shouldKillFinder();
            }),
            0);
  EXPECT_TRUE(nameExists());
}

TEST_F(LoaderHandshakeTest, AnInterruptedAllocationIsRetriedAndLeavesNoNameAndNoDescriptor) {
  install("0.0.0");
  const auto before = openDescriptors();
  interruptions = 3;
  setVersion(1, 2, 3);
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(nameExists());
  interruptions = 3;
  EXPECT_EQ(resultAndOutput(), std::make_pair(1, std::string()));
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(nameExists());
}

TEST_F(LoaderHandshakeTest, ARecordOfAnotherProgramIsReadInNativeByteOrder) {
  install("2.0.1");
  ASSERT_EQ(std::system("python3 -c 'import struct\n"
                        "open(\"/dev/shm/finder.shared\", \"wb\")"
                        ".write(struct.pack(\"=iiii\", 2, 0, 1, 1))'"),
            0);
  EXPECT_EQ(shouldKillFinder(), 1);
}

}  // namespace
}  // namespace wevora

int main(int count, char** arguments) {
  return wevora::testing_host::runTestsInMountNamespace(count, arguments);
}
