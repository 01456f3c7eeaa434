#include "platform/simulated/call_journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindlemux {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

OSStatus change(CallJournal& journal, const std::string& line, const std::string& made = {}) {
  return journal.change(line, [&made](std::string& result) {
    result = made;
    return noErr;
  });
}

OSStatus read(CallJournal& journal, FourCharCode selector, const std::string& line) {
  return journal.read(selector, line, [] { return noErr; });
}

TEST(CallJournal, linesNameTheResultAndTheFailure) {
  CallJournal journal;
  change(journal, "create thing", "thing1");
  change(journal, "start thing1");
  journal.change("stop thing1", [](std::string&) { return OSStatus{-7}; });
  EXPECT_THAT(journal.take(), ElementsAre("create thing -> thing1", "start thing1", "stop thing1 ! -7"));
  EXPECT_THAT(journal.lines(), IsEmpty());
}

TEST(CallJournal, readsAreKeptForTheAskedSelectors) {
  CallJournal journal;
  journal.keepReads({fourCharCode("nsrt")});
  read(journal, fourCharCode("nsrt"), "read rate");
  read(journal, fourCharCode("lnam"), "read name");
  EXPECT_THAT(journal.lines(), ElementsAre("read rate"));
}

TEST(CallJournal, faultStrikesOnceAfterItsSkippedCalls) {
  CallJournal journal;
  journal.failNext("start", -5, 1);
  EXPECT_EQ(change(journal, "start a"), noErr);
  EXPECT_EQ(change(journal, "stop a"), noErr);
  EXPECT_EQ(journal.pendingFaults(), 1U);
  EXPECT_EQ(journal.struckFaults(), 0);
  EXPECT_EQ(change(journal, "start b"), -5);
  EXPECT_EQ(journal.struckFaults(), 1);
  EXPECT_EQ(journal.pendingFaults(), 0U);
  EXPECT_EQ(change(journal, "start c"), noErr);
}

TEST(CallJournal, failedOperationIsNotRun) {
  CallJournal journal;
  journal.failNext("start", -5);
  bool ran = false;
  journal.change("start", [&ran](std::string&) {
    ran = true;
    return noErr;
  });
  EXPECT_FALSE(ran);
}

TEST(CallJournal, lastingFaultStrikesUntilCleared) {
  CallJournal journal;
  journal.failEvery("start", -5);
  EXPECT_EQ(change(journal, "start a"), -5);
  EXPECT_EQ(change(journal, "start b"), -5);
  journal.clearFaults();
  EXPECT_EQ(change(journal, "start c"), noErr);
}

TEST(CallJournal, numberedFaultCountsChangesOnly) {
  CallJournal journal;
  journal.failCall(2, -5);
  EXPECT_EQ(change(journal, "a"), noErr);
  EXPECT_EQ(read(journal, 0, "b"), noErr);
  EXPECT_EQ(change(journal, "c"), -5);
}

}  // namespace
}  // namespace brindlemux
