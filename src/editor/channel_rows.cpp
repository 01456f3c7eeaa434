#include "editor/channel_rows.h"

#include <algorithm>

#include "editor/node_texts.h"

namespace brindlemux {

void ChannelRows::setCount(int count) {
  const int wanted = std::max(count, 0);
  if (wanted == count_) return;
  if (wanted > count_) {
    beginInsertRows({}, count_, wanted - 1);
    count_ = wanted;
    endInsertRows();
  } else {
    beginRemoveRows({}, wanted, count_ - 1);
    count_ = wanted;
    endRemoveRows();
  }
  Q_EMIT countChanged();
}

int ChannelRows::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : count_; }

QVariant ChannelRows::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
  if (role == channelRole) return index.row();
  if (role == labelRole) return QString::fromStdString(channelLabel(index.row()));
  return {};
}

QHash<int, QByteArray> ChannelRows::roleNames() const { return {{channelRole, "channel"}, {labelRole, "label"}}; }

}  // namespace brindlemux
