/// What the sanitizers' builds shall overlook, all of it in Qt and beneath.
// The names are the sanitizers' choice.
// NOLINTBEGIN(bugprone-reserved-identifier)

/// Qt Quick keeps the pictures that it has loaded in a store that it never empties, a few kilobytes a picture however
/// many windows there were; and what assistive technology asks of an object that is being destroyed makes QML's data
/// about it anew.
extern "C" const char* __lsan_default_suppressions();
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libQt6Gui.so\n"
         "leak:QtSharedPointer::ExternalRefCountData::getAndRef\n"
         "leak:QQmlData::createQQmlData\n"
         "leak:libQt6Quick.so\n";
}

/// The threads of these libraries wait for each other in ways that the thread sanitizer cannot see, since they are not
/// built with it: what they allocate, free and lock themselves is not judged. Nor is what a thread of theirs reads that
/// was handed to it through them: the window's parts, which Qt's tools have written down, a message for the bus, and
/// the buffers that the audio server's library maps on one thread for another. What our code does is judged, also where
/// it is called by them.
extern "C" const char* __tsan_default_suppressions();
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
  return "called_from_lib:libQt6Core.so\n"
         "called_from_lib:libQt6DBus.so\n"
         "called_from_lib:libQt6Gui.so\n"
         "called_from_lib:libQt6Qml.so\n"
         "called_from_lib:libQt6Quick.so\n"
         "called_from_lib:libQt6XcbQpa.so\n"
         "called_from_lib:libdbus-1.so\n"
         "called_from_lib:libglib-2.0.so\n"
         "called_from_lib:libxcb.so\n"
         "race:_qmlcache_loader.cpp\n"
         "race:QDBusMetaType::marshall\n"
         "race:pw_memblock_map\n"
         "mutex:libX11.so\n";
}
// NOLINTEND(bugprone-reserved-identifier)
