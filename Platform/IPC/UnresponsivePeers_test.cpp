#include "Platform/IPC/UnresponsivePeers.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace wevora::platform {
namespace {

/// A child process that only sleeps.
class Idler {
 public:
  Idler() : pid_(::fork()) {
    while (pid_ == 0) ::pause();
  }
  ~Idler() { end(); }
  Idler(const Idler&) = delete;
  Idler& operator=(const Idler&) = delete;

  void stop() const {
    ::kill(pid_, SIGSTOP);
    int status = 0;
    ::waitpid(pid_, &status, WUNTRACED);
  }
  void end() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = 0;
  }
  pid_t pid() const { return pid_; }

 private:
  pid_t pid_;
};

TEST(PeerProcessTest, AProcessIsIdentifiedByPidAndStartTime) {
  const auto self = PeerProcess::of(::getpid());
  ASSERT_TRUE(self);
  EXPECT_EQ(self->pid, ::getpid());
  EXPECT_GT(self->started, 0U);
  EXPECT_EQ(PeerProcess::of(::getpid()), self);
  EXPECT_FALSE(PeerProcess::of(0));
  EXPECT_FALSE(PeerProcess::of(-1));
}

TEST(PeerProcessTest, AStoppedProcessIsDetected) {
  const Idler idler;
  const auto process = PeerProcess::of(idler.pid());
  ASSERT_TRUE(process);
  EXPECT_FALSE(process->isStopped());
  idler.stop();
  EXPECT_TRUE(process->isStopped());
  EXPECT_FALSE((PeerProcess{process->pid, process->started + 1}.isStopped()));
}

TEST(UnresponsivePeersTest, AProcessIsUnresponsiveUntilItIsRemoved) {
  UnresponsivePeers peers;
  const auto self = PeerProcess::of(::getpid());
  EXPECT_FALSE(peers.contains(self));
  peers.add(self);
  EXPECT_TRUE(peers.contains(self));
  EXPECT_FALSE(peers.contains(PeerProcess{self->pid, self->started + 1}));
  peers.remove(self);
  EXPECT_FALSE(peers.contains(self));
}

TEST(UnresponsivePeersTest, AProcessThatHasEndedIsRemoved) {
  UnresponsivePeers peers;
  Idler idler;
  const auto ended = PeerProcess::of(idler.pid());
  peers.add(ended);
  idler.end();
  peers.add(PeerProcess::of(::getpid()));
  EXPECT_FALSE(peers.contains(ended));
}

TEST(UnresponsivePeersTest, AnUnknownProcessIsNeverListed) {
  UnresponsivePeers peers;
  peers.add(std::nullopt);
  EXPECT_FALSE(peers.contains(std::nullopt));
}

}  // namespace
}  // namespace wevora::platform
