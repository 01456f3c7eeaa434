#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>

#include "app/controller/keyed_list_model.h"

namespace brindlemux {

/// Finds an entry of a menu by the letters that it begins with, as they are typed one after the other.
///
/// Letters that follow each other within `patience` milliseconds are one beginning. The same letter over and over leads
/// from one entry that begins with it to the next. Neither case nor accents count. Entries are rows with the roles
/// `label` and `kind`; those without a kind cannot be chosen and are not found.
///
/// Threads: the main thread. Borrows the entries.
class TypeAhead : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::KeyedListModel* entries READ entries WRITE setEntries NOTIFY entriesChanged REQUIRED FINAL)
  Q_PROPERTY(int patience MEMBER patience_ NOTIFY patienceChanged FINAL)

 public:
  using QObject::QObject;

  KeyedListModel* entries() const { return entries_; }
  void setEntries(KeyedListModel* entries);

  /// Whether a beginning has been typed that the next letter goes on with.
  Q_INVOKABLE bool isTyping() const { return !letters_.isEmpty() && !pause_.hasExpired(); }
  /// Whether a key gives letters with this text; those of Escape or Tab do not.
  Q_INVOKABLE static bool isTyped(const QString& text);
  /// The row that these letters lead to from the current one, or -1 when they lead nowhere.
  Q_INVOKABLE int type(int current, const QString& text);
  /// The next letter begins anew.
  Q_INVOKABLE void forget() { letters_.clear(); }

 Q_SIGNALS:
  void entriesChanged();
  void patienceChanged();

 private:
  /// The first row that begins so, from `first` round to the one before it; -1 when there is none.
  int find(const QString& beginning, int first) const;

  QPointer<KeyedListModel> entries_;
  int patience_ = 1000;
  QString letters_;
  QDeadlineTimer pause_;
};

}  // namespace brindlemux
