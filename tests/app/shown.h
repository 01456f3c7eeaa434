#pragma once

#include <QQuickItem>
#include <string>
#include <vector>

namespace brindlemux::test {

inline void collectShown(const QQuickItem& root, const char* className, const char* property,
                         std::vector<std::string>& found) {
  if (!root.isVisible()) return;
  if (root.inherits(className)) found.push_back(root.property(property).toString().toStdString());
  for (const QQuickItem* child : root.childItems()) collectShown(*child, className, property, found);
}

/// The words that an item and what lies in it show.
inline std::vector<std::string> shownTexts(const QQuickItem& root) {
  std::vector<std::string> texts;
  collectShown(root, "QQuickText", "text", texts);
  return texts;
}

/// The names of the symbols there.
inline std::vector<std::string> shownSymbols(const QQuickItem& root) {
  std::vector<std::string> symbols;
  collectShown(root, "brindlemux::Icon", "name", symbols);
  return symbols;
}

}  // namespace brindlemux::test
