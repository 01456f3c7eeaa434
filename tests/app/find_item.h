#pragma once

#include <QQuickItem>
#include <QString>

namespace brindlemux::test {

/// The item with this object name; a view's delegates have no QObject parent, so that items are asked instead.
inline QQuickItem* findItem(QQuickItem* root, const QString& name) {
  if (root->objectName() == name) return root;
  for (QQuickItem* child : root->childItems()) {
    if (QQuickItem* found = findItem(child, name)) return found;
  }
  return nullptr;
}

}  // namespace brindlemux::test
