#pragma once

#include <QSettings>

#include "support/temporary_folder.h"

namespace brindlemux::test {

/// User defaults of a test's own, kept in a folder that goes with this object.
struct TemporaryDefaults {
  TemporaryDefaults() {
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, QString::fromStdString(folder.path()));
  }
  TemporaryFolder folder;
};

}  // namespace brindlemux::test
