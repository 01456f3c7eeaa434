#include "app/shell/instance_lock.h"

#include <gtest/gtest.h>
#include <optional>

#include "app/simulated_program.h"

namespace brindlemux {
namespace {

using State = InstanceLock::State;

struct Folder {
  test::TemporaryLocations locations;
  std::filesystem::path file = locations.applicationSupport() / "Brindlemux" / "graphs.json";
};

TEST(InstanceLock, isHeldByOneUntilThatOneGoes) {
  const Folder folder;
  std::optional<InstanceLock> first(folder.file);
  InstanceLock second(folder.file);
  EXPECT_EQ(first->state(), State::free);
  EXPECT_EQ(first->tryAcquire(), State::held);
  EXPECT_EQ(first->tryAcquire(), State::held);
  EXPECT_EQ(second.tryAcquire(), State::heldByOther);
  EXPECT_EQ(second.tryAcquire(), State::heldByOther);
  first.reset();
  EXPECT_EQ(second.tryAcquire(), State::held);
}

TEST(InstanceLock, standsBesideItsFile) {
  const Folder folder;
  InstanceLock lock(folder.file);
  lock.tryAcquire();
  EXPECT_EQ(lock.path(), std::filesystem::canonical(folder.file.parent_path()) / "graphs.json.lock");
  EXPECT_TRUE(std::filesystem::exists(lock.path()));
  EXPECT_FALSE(std::filesystem::exists(folder.file));
}

TEST(InstanceLock, locksOfDifferentFilesAreIndependent) {
  const Folder one;
  const Folder other;
  InstanceLock first(one.file);
  InstanceLock second(other.file);
  EXPECT_EQ(first.tryAcquire(), State::held);
  EXPECT_EQ(second.tryAcquire(), State::held);
  EXPECT_NE(first.identity(), second.identity());
}

TEST(InstanceLock, linksLeadToTheLockOfTheirTarget) {
  const Folder one;
  const Folder other;
  std::filesystem::create_directories(one.file.parent_path());
  std::filesystem::create_directories(other.file.parent_path());
  std::ofstream(one.file) << "{}";
  std::filesystem::create_symlink(one.file, other.file);
  InstanceLock first(one.file);
  InstanceLock second(other.file);
  EXPECT_EQ(first.tryAcquire(), State::held);
  EXPECT_EQ(second.tryAcquire(), State::heldByOther);
  EXPECT_EQ(first.identity(), second.identity());
}

TEST(InstanceLock, addressIsReadByTheOthers) {
  const Folder folder;
  InstanceLock first(folder.file);
  InstanceLock second(folder.file);
  first.tryAcquire();
  second.tryAcquire();
  EXPECT_EQ(second.address(), "");
  EXPECT_TRUE(first.setAddress("/run/user/1000/a-long-one"));
  EXPECT_EQ(second.address(), "/run/user/1000/a-long-one");
  EXPECT_TRUE(first.setAddress("/short"));
  EXPECT_EQ(second.address(), "/short");
  EXPECT_FALSE(second.setAddress("/other"));
  EXPECT_EQ(first.address(), "/short");
}

TEST(InstanceLock, impossibleLockIsUnavailable) {
  const Folder folder;
  std::filesystem::create_directories(folder.file.parent_path().parent_path());
  // A file where the folder should be.
  std::ofstream(folder.file.parent_path()) << "x";
  InstanceLock lock(folder.file);
  EXPECT_EQ(lock.tryAcquire(), State::unavailable);
  EXPECT_FALSE(lock.setAddress("/x"));
  EXPECT_EQ(lock.address(), "");
  EXPECT_EQ(lock.identity(), "");
}

}  // namespace
}  // namespace brindlemux
