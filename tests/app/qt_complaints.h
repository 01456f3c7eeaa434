#pragma once

#include <QString>
#include <QtGlobal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brindlemux::test {

/// Keeps what Qt complains about while this is there. A window that is all right gives it no reason to: nothing may
/// have been kept when this goes, which must be after the window.
class QtComplaints {
 public:
  QtComplaints() {
    kept().clear();
    qInstallMessageHandler(&keep);
  }
  ~QtComplaints() {
    EXPECT_THAT(kept(), testing::IsEmpty());
    qInstallMessageHandler(nullptr);
  }
  QtComplaints(const QtComplaints&) = delete;
  QtComplaints& operator=(const QtComplaints&) = delete;

  /// All of them, for a message.
  static std::string text() { return testing::PrintToString(kept()); }

 private:
  static std::vector<std::string>& kept() {
    static std::vector<std::string> messages;
    return messages;
  }
  static void keep(QtMsgType type, const QMessageLogContext&, const QString& message) {
    // The screen that tests draw on has no windows above each other.
    if (message == QLatin1String("This plugin does not support raise()")) return;
    if (type != QtDebugMsg && type != QtInfoMsg) kept().push_back(message.toStdString());
  }
};

}  // namespace brindlemux::test
