#pragma once

#include <QString>

namespace brindlemux {

/// One line of the tray's menu.
struct MenuEntry {
  enum class Kind {
    action,   ///< can be chosen
    toggle,   ///< can be chosen and shows whether it is on
    text,     ///< can only be read
    divider,  ///< has no label
  };

  /// Above 0, and the entry's own for as long as it is in the menu.
  int id = 0;
  Kind kind = Kind::action;
  QString label;
  bool isOn = false;

  bool canBeChosen() const noexcept { return kind == Kind::action || kind == Kind::toggle; }
  bool operator==(const MenuEntry&) const = default;
};

}  // namespace brindlemux
