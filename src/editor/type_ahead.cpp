#include "editor/type_ahead.h"

#include <algorithm>

namespace brindlemux {
namespace {

/// Text as it is compared: letters without their accents, in one case.
QString folded(const QString& text) {
  QString plain;
  for (const QChar letter : text.normalized(QString::NormalizationForm_KD)) {
    if (!letter.isMark()) plain += letter;
  }
  return plain.toCaseFolded();
}

bool isOneLetterRepeated(const QString& letters) {
  return letters.size() > 1 && letters.count(letters.front()) == letters.size();
}

}  // namespace

void TypeAhead::setEntries(KeyedListModel* entries) {
  if (entries_ == entries) return;
  entries_ = entries;
  forget();
  Q_EMIT entriesChanged();
}

bool TypeAhead::isTyped(const QString& text) {
  return !text.isEmpty() && std::ranges::all_of(text, [](QChar letter) { return letter.isPrint(); });
}

int TypeAhead::type(int current, const QString& text) {
  if (!isTyped(text)) return -1;
  if (!isTyping()) forget();
  const bool isFirst = letters_.isEmpty();
  letters_ += folded(text);
  pause_.setRemainingTime(patience_);
  // The first letter leads away from the current entry; those that follow may as well fit it.
  const int found = find(letters_, isFirst ? current + 1 : current);
  if (found >= 0 || !isOneLetterRepeated(letters_)) return found;
  return find(letters_.left(1), current + 1);
}

int TypeAhead::find(const QString& beginning, int first) const {
  const KeyedListModel* entries = entries_;
  const int count = entries != nullptr ? entries->rowCount() : 0;
  if (count == 0) return -1;
  const QHash<int, QByteArray> roles = entries->roleNames();
  const int label = roles.key("label");
  const int kind = roles.key("kind");
  for (int step = 0; step < count; ++step) {
    const int row = (std::max(first, 0) + step) % count;
    const QModelIndex index = entries->index(row);
    if (entries->data(index, kind).toString().isEmpty()) continue;
    if (folded(entries->data(index, label).toString()).startsWith(beginning)) return row;
  }
  return -1;
}

}  // namespace brindlemux
