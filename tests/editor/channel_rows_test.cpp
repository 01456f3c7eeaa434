#include "editor/channel_rows.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace brindlemux {
namespace {

TEST(ChannelRows, keepsTheRowsThatStay) {
  ChannelRows rows;
  const QAbstractItemModelTester tester(&rows, QAbstractItemModelTester::FailureReportingMode::Fatal);
  QSignalSpy resets(&rows, &QAbstractItemModel::modelReset);
  QSignalSpy insertions(&rows, &QAbstractItemModel::rowsInserted);
  QSignalSpy removals(&rows, &QAbstractItemModel::rowsRemoved);
  rows.setCount(4);
  rows.setCount(4);
  const QPersistentModelIndex second = rows.index(1);
  rows.setCount(2);
  EXPECT_EQ(insertions.count(), 1);
  EXPECT_EQ(removals.count(), 1);
  EXPECT_TRUE(second.isValid());
  EXPECT_EQ(second.data(ChannelRows::labelRole).toString(), "2 (R)");
  EXPECT_EQ(second.data(ChannelRows::channelRole).toInt(), 1);
  EXPECT_EQ(resets.count(), 0);
}

TEST(ChannelRows, negativeCountIsNone) {
  ChannelRows rows;
  rows.setCount(-1);
  EXPECT_EQ(rows.rowCount(), 0);
  EXPECT_EQ(rows.count(), 0);
}

}  // namespace
}  // namespace brindlemux
