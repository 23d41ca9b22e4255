# The tray application: the Qt Widgets shell and the desktop backends. Only
# this executable links the GUI libraries; the tavi command runs it.
find_package(Qt6 REQUIRED COMPONENTS Gui Widgets Svg DBus)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET
  xcb xcb-xfixes xcb-xinput xcb-xtest xcb-xkb xcb-randr xkbcommon xkbcommon-x11)

file(GLOB TAVI_X11_SOURCES CONFIGURE_DEPENDS src/platform/x11/*.cpp)
add_library(tavi_platform_x11 STATIC ${TAVI_X11_SOURCES} src/platform/DesktopPlatform.cpp)
target_link_libraries(tavi_platform_x11 PUBLIC tavi_core PkgConfig::XCB)

include(${CMAKE_CURRENT_LIST_DIR}/Recognition.cmake)

set(CMAKE_AUTOMOC ON)
# Global shortcuts and screenshots through the desktop's portal on Wayland
# sessions; the X11 backend picks it there.
file(GLOB TAVI_PORTAL_SOURCES CONFIGURE_DEPENDS src/platform/portal/*.cpp)
add_library(tavi_platform_portal STATIC ${TAVI_PORTAL_SOURCES})
target_link_libraries(tavi_platform_portal PUBLIC tavi_core Qt6::DBus Qt6::Gui PkgConfig::XCB)
target_link_libraries(tavi_platform_x11 PUBLIC tavi_platform_portal)

# The shell's windows and widgets, in a library of their own so that the
# widget tests drive the same code the tray runs.
file(GLOB TAVI_SHELL_SOURCES CONFIGURE_DEPENDS src/app/*.cpp)
# The shell's plain logic is tavi_app_logic's, linked below.
get_target_property(tavi_app_logic_sources tavi_app_logic SOURCES)
list(TRANSFORM tavi_app_logic_sources PREPEND "${CMAKE_SOURCE_DIR}/")
list(REMOVE_ITEM TAVI_SHELL_SOURCES ${tavi_app_logic_sources} ${CMAKE_SOURCE_DIR}/src/app/main.cpp)
add_library(tavi_shell STATIC ${TAVI_SHELL_SOURCES})
qt_add_resources(tavi_shell tavi_icons PREFIX "/icons" BASE resources/icons FILES resources/icons/org.morvel.Tavi.svg)
target_link_libraries(tavi_shell PUBLIC tavi_app_logic tavi_platform_x11 tavi_recognition Qt6::Widgets Qt6::Svg Qt6::DBus)
target_compile_definitions(tavi_shell PRIVATE TAVI_VERSION="${PROJECT_VERSION}")

qt_add_executable(tavi-tray src/app/main.cpp)
target_link_libraries(tavi-tray PRIVATE tavi_shell)
target_compile_definitions(tavi-tray PRIVATE TAVI_VERSION="${PROJECT_VERSION}")
# Bare `tavi` runs the tray application: build it with the command.
add_dependencies(tavi tavi-tray)
