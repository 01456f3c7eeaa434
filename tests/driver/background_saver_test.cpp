#include "driver/background_saver.h"

#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brindlemux::driver {
namespace {

using Texts = std::vector<std::string>;

TEST(BackgroundSaver, savesTheLastTextBeforeItGoes) {
  Texts saved;
  {
    BackgroundSaver saver([&](const std::string& text) { saved.push_back(text); });
    for (int i = 0; i <= 100; ++i) saver.save(std::to_string(i));
  }
  ASSERT_FALSE(saved.empty());
  EXPECT_EQ(saved.back(), "100");
}

TEST(BackgroundSaver, leavesOutWhatASlowDiskWasNotReadyFor) {
  Texts saved;
  {
    std::promise<void> begun;
    std::promise<void> diskAnswers;
    BackgroundSaver saver([&, first = true](const std::string& text) mutable {
      saved.push_back(text);
      if (!std::exchange(first, false)) return;
      begun.set_value();
      diskAnswers.get_future().wait();
    });
    saver.save("one");
    begun.get_future().wait();
    // These return although the disk has not answered.
    saver.save("two");
    saver.save("three");
    diskAnswers.set_value();
  }
  EXPECT_EQ(saved, (Texts{"one", "three"}));
}

TEST(BackgroundSaver, itsThreadTakesNoSignals) {
  sigset_t blocked;
  sigemptyset(&blocked);
  {
    BackgroundSaver saver([&](const std::string&) { pthread_sigmask(SIG_SETMASK, nullptr, &blocked); });
    saver.save("text");
  }
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) EXPECT_EQ(sigismember(&blocked, signal), 1);
  sigset_t ours;
  pthread_sigmask(SIG_SETMASK, nullptr, &ours);
  EXPECT_EQ(sigismember(&ours, SIGTERM), 0);
}

}  // namespace
}  // namespace brindlemux::driver
