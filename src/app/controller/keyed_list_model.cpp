#include "app/controller/keyed_list_model.h"

#include <algorithm>
#include <iterator>

namespace brindlemux {
namespace {

int rowNumber(qsizetype row) { return static_cast<int>(row); }

auto withKey(const QVariant& key) {
  return [&key](const KeyedListModel::Row& row) { return row.constFirst() == key; };
}

}  // namespace

KeyedListModel::KeyedListModel(QList<QByteArray> roles, QObject* parent)
    : QAbstractListModel(parent), roles_(std::move(roles)) {}

void KeyedListModel::assign(const QList<Row>& rows) {
  removeRowsNotIn(rows);
  for (qsizetype place = 0; place < rows.size(); ++place) {
    bring(place, rows[place]);
    update(place, rows[place]);
  }
  // Rows are left over only where a key stood more than once.
  removeTail(rows.size());
}

void KeyedListModel::setValue(int row, int role, const QVariant& value) {
  const int column = role - firstRole;
  if (row < 0 || row >= rows_.size() || column < 0 || column >= roles_.size()) return;
  if (rows_[row][column] == value) return;
  rows_[row][column] = value;
  Q_EMIT dataChanged(index(row), index(row), {role});
}

std::optional<int> KeyedListModel::rowOf(const QVariant& key) const {
  const auto found = std::find_if(rows_.begin(), rows_.end(), withKey(key));
  return found != rows_.end() ? std::optional(rowNumber(std::distance(rows_.begin(), found))) : std::nullopt;
}

void KeyedListModel::removeRowsNotIn(const QList<Row>& rows) {
  for (qsizetype row = rows_.size(); row-- > 0;) {
    if (std::ranges::any_of(rows, withKey(rows_[row].constFirst()))) continue;
    beginRemoveRows({}, rowNumber(row), rowNumber(row));
    rows_.removeAt(row);
    endRemoveRows();
  }
}

void KeyedListModel::removeTail(qsizetype count) {
  if (rows_.size() <= count) return;
  beginRemoveRows({}, rowNumber(count), rowNumber(rows_.size() - 1));
  rows_.resize(count);
  endRemoveRows();
}

void KeyedListModel::bring(qsizetype place, const Row& row) {
  const auto target = std::next(rows_.begin(), place);
  const auto found = std::find_if(target, rows_.end(), withKey(row.constFirst()));
  if (found == rows_.end()) {
    beginInsertRows({}, rowNumber(place), rowNumber(place));
    rows_.insert(place, row);
    endInsertRows();
  } else if (found != target) {
    const int source = rowNumber(std::distance(rows_.begin(), found));
    beginMoveRows({}, source, source, {}, rowNumber(place));
    std::rotate(target, found, std::next(found));
    endMoveRows();
  }
}

void KeyedListModel::update(qsizetype place, const Row& row) {
  QList<int> changed;
  for (qsizetype column = 0; column < roles_.size(); ++column) {
    if (rows_[place][column] != row[column]) changed.append(firstRole + static_cast<int>(column));
  }
  if (changed.isEmpty()) return;
  rows_[place] = row;
  const QModelIndex where = index(rowNumber(place));
  Q_EMIT dataChanged(where, where, changed);
}

int KeyedListModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : rowNumber(rows_.size()); }

QVariant KeyedListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
  const int column = role - firstRole;
  return column >= 0 && column < roles_.size() ? rows_[index.row()][column] : QVariant();
}

QHash<int, QByteArray> KeyedListModel::roleNames() const {
  QHash<int, QByteArray> names;
  for (qsizetype column = 0; column < roles_.size(); ++column)
    names.insert(firstRole + static_cast<int>(column), roles_[column]);
  return names;
}

}  // namespace brindlemux
