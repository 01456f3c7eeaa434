# What every folder needs that Qt's tools look at. They are kept by folder, hence an include in each.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core DBus Gui Network Qml Quick QuickControls2)
set(CMAKE_AUTOMOC ON)
add_compile_definitions(QT_NO_KEYWORDS)

# Modules lie below one folder, by their names, so that qmllint finds what they import of each other.
set(QT_QML_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml)

# brindlemux_qml_module(<target> URI <uri> IMPORTS ... QML_FILES ... RESOURCES ...)
#
# Makes a QML module of a library that exists. Whoever uses the module links <target>plugin too.
function(brindlemux_qml_module target)
  qt_add_qml_module(${target} VERSION 1.0 RESOURCE_PREFIX /qt-project.org/imports ${ARGN})
  # What the Qt tools write is not held to this project's warnings. It includes the library's headers by bare names.
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources INCLUDE REGEX "qmltyperegistrations|/\\.rcc/")
  set_source_files_properties(${sources} PROPERTIES COMPILE_OPTIONS -w)
  if(TARGET ${target}_qmlcache)
    target_compile_options(${target}_qmlcache PRIVATE -w)
  endif()
endfunction()
