/// What the leak checker of the sanitizer build shall overlook: Qt Quick keeps the pictures that it has loaded in a
/// store that it never empties, a few kilobytes a picture however many windows there were; and what assistive
/// technology asks of an object that is being destroyed makes QML's data about it anew.
// The name is the leak checker's choice.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions();
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libQt6Gui.so\n"
         "leak:QtSharedPointer::ExternalRefCountData::getAndRef\n"
         "leak:QQmlData::createQQmlData\n"
         "leak:libQt6Quick.so\n";
}
// NOLINTEND(bugprone-reserved-identifier)
