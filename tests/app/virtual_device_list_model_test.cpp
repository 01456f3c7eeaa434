#include "app/controller/virtual_device_list_model.h"

#include <QAbstractItemModelTester>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace brindlemux {
namespace {

using testing::ElementsAre;

VirtualDeviceConfig device(const std::string& uid, const std::string& name = "name", std::int64_t channels = 2) {
  return {.uid = uid, .name = name, .channels = channels};
}

/// A model that never may be reset, under Qt's own examination.
struct Examined {
  Examined() {
    QObject::connect(&model, &QAbstractItemModel::modelReset, [] { FAIL() << "the model was reset"; });
  }
  std::vector<VirtualDeviceConfig> rows() const {
    std::vector<VirtualDeviceConfig> rows;
    for (int row = 0; row < model.rowCount(); ++row) {
      const QModelIndex index = model.index(row);
      rows.push_back({.uid = index.data(VirtualDeviceListModel::uidRole).toString().toStdString(),
                      .name = index.data(VirtualDeviceListModel::nameRole).toString().toStdString(),
                      .channels = index.data(VirtualDeviceListModel::channelsRole).toLongLong()});
    }
    return rows;
  }
  VirtualDeviceListModel model;
  QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST(VirtualDeviceListModel, showsDevicesInOrder) {
  Examined examined;
  const std::vector devices = {device("b", "Bee", 4), device("a", "Ä")};
  examined.model.assign(devices);
  EXPECT_EQ(examined.rows(), devices);
  EXPECT_EQ(examined.model.roleNames().values().size(), 3);
  EXPECT_EQ(examined.model.roleNames().value(VirtualDeviceListModel::nameRole), "name");
}

TEST(VirtualDeviceListModel, renameChangesOneRoleOfOneRow) {
  Examined examined;
  examined.model.assign({device("a"), device("b")});
  QSignalSpy changes(&examined.model, &QAbstractItemModel::dataChanged);
  QSignalSpy insertions(&examined.model, &QAbstractItemModel::rowsInserted);
  QSignalSpy removals(&examined.model, &QAbstractItemModel::rowsRemoved);
  examined.model.assign({device("a"), device("b", "other")});
  ASSERT_EQ(changes.size(), 1);
  EXPECT_EQ(changes[0][0].toModelIndex().row(), 1);
  EXPECT_EQ(changes[0][1].toModelIndex().row(), 1);
  EXPECT_EQ(changes[0][2].value<QList<int>>(), QList<int>{VirtualDeviceListModel::nameRole});
  EXPECT_EQ(insertions.size() + removals.size(), 0);
}

TEST(VirtualDeviceListModel, sameDevicesChangeNothing) {
  Examined examined;
  examined.model.assign({device("a"), device("b")});
  QSignalSpy changes(&examined.model, &QAbstractItemModel::dataChanged);
  QSignalSpy layouts(&examined.model, &QAbstractItemModel::rowsMoved);
  examined.model.assign({device("a"), device("b")});
  EXPECT_EQ(changes.size() + layouts.size(), 0);
}

TEST(VirtualDeviceListModel, rowFollowsItsDevice) {
  Examined examined;
  examined.model.assign({device("a"), device("b"), device("c")});
  const QPersistentModelIndex c(examined.model.index(2));
  QSignalSpy removals(&examined.model, &QAbstractItemModel::rowsRemoved);
  examined.model.assign({device("c", "moved", 8), device("x"), device("a")});
  ASSERT_TRUE(c.isValid());
  EXPECT_EQ(c.row(), 0);
  EXPECT_EQ(c.data(VirtualDeviceListModel::nameRole).toString(), "moved");
  EXPECT_EQ(removals.size(), 1);  // b alone
}

TEST(VirtualDeviceListModel, removedDeviceLosesItsRow) {
  Examined examined;
  examined.model.assign({device("a"), device("b")});
  const QPersistentModelIndex a(examined.model.index(0));
  examined.model.assign({device("b")});
  EXPECT_FALSE(a.isValid());
  EXPECT_THAT(examined.rows(), ElementsAre(device("b")));
}

TEST(VirtualDeviceListModel, emptiesAndFillsAgain) {
  Examined examined;
  examined.model.assign({device("a"), device("b")});
  examined.model.assign({});
  EXPECT_EQ(examined.model.rowCount(), 0);
  examined.model.assign({device("b")});
  EXPECT_THAT(examined.rows(), ElementsAre(device("b")));
}

TEST(VirtualDeviceListModel, anyListBecomesAnyOther) {
  const std::uint32_t seed = 20260101;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  const auto below = [&random](std::uint32_t limit) { return random() % limit; };
  Examined examined;
  for (int round = 0; round < 2000; ++round) {
    // Up to 6 devices of 8; one round in ten a UID may stand twice.
    std::vector<std::string> uids = {"a", "b", "c", "d", "e", "f", "g", "h"};
    std::shuffle(uids.begin(), uids.end(), random);
    uids.resize(below(7));
    if (uids.size() > 1 && below(10) == 0) uids.back() = uids.front();
    std::vector<VirtualDeviceConfig> devices;
    for (const std::string& uid : uids) devices.push_back(device(uid, std::to_string(below(3)), below(2) == 0 ? 2 : 4));
    examined.model.assign(devices);
    ASSERT_EQ(examined.rows(), devices) << "round " << round;
  }
}

}  // namespace
}  // namespace brindlemux
