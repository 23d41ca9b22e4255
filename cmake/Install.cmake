# Installation as a desktop application, and the Debian package built from it.
#
#   cmake --install build/release --prefix /usr/local
#   cd build/release && cpack -G DEB          # tavi_<version>_<arch>.deb
#
# Every destination is relative to the prefix, so one build installs under
# any prefix given at install time.
include(GNUInstallDirs)

set(TAVI_APP_ID org.morvel.Tavi)
set(TAVI_TRAY_INSTALL_DIR "${CMAKE_INSTALL_LIBEXECDIR}/tavi")

# `tavi` and the tray application find each other relative to their own
# location, so the installed tree works wherever the prefix puts it.
file(RELATIVE_PATH tavi_tray_from_command
  "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBEXECDIR}/tavi/tavi-tray")
file(RELATIVE_PATH tavi_command_from_tray
  "${CMAKE_INSTALL_FULL_LIBEXECDIR}/tavi" "${CMAKE_INSTALL_FULL_BINDIR}/tavi")
target_compile_definitions(tavi PRIVATE TAVI_TRAY_RELATIVE_PATH="${tavi_tray_from_command}")
target_compile_definitions(tavi_app_logic PRIVATE TAVI_COMMAND_RELATIVE_PATH="${tavi_command_from_tray}")

install(TARGETS tavi RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES dist/tavi.bash-completion
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME tavi)

if(TAVI_BUILD_SHELL)
  install(TARGETS tavi-tray RUNTIME DESTINATION "${TAVI_TRAY_INSTALL_DIR}")
  install(FILES dist/${TAVI_APP_ID}.desktop DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
  install(FILES dist/${TAVI_APP_ID}.metainfo.xml DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")

  # The icon in the hicolor theme: the drawing itself, and the bitmap sizes
  # that panels and menus ask for, rendered from it by the build.
  set(TAVI_ICON_SOURCE "${CMAKE_SOURCE_DIR}/resources/icons/${TAVI_APP_ID}.svg")
  set(TAVI_ICON_SIZES 16 22 24 32 48 64 128 256)
  set(tavi_icon_theme_dir "${CMAKE_BINARY_DIR}/icons/hicolor")
  add_executable(tavi-icon-renderer dist/IconRenderer.cpp)
  target_link_libraries(tavi-icon-renderer PRIVATE Qt6::Gui Qt6::Svg)
  set_target_properties(tavi-icon-renderer PROPERTIES AUTOMOC OFF)
  set(tavi_icon_bitmaps "")
  foreach(size IN LISTS TAVI_ICON_SIZES)
    list(APPEND tavi_icon_bitmaps "${tavi_icon_theme_dir}/${size}x${size}/apps/${TAVI_APP_ID}.png")
  endforeach()
  add_custom_command(OUTPUT ${tavi_icon_bitmaps}
    COMMAND tavi-icon-renderer "${TAVI_ICON_SOURCE}" "${tavi_icon_theme_dir}" ${TAVI_ICON_SIZES}
    DEPENDS tavi-icon-renderer "${TAVI_ICON_SOURCE}"
    COMMENT "Rendering the application icon for the hicolor theme"
    VERBATIM)
  add_custom_target(tavi-icons DEPENDS ${tavi_icon_bitmaps})
  # Building the application builds everything its installation needs.
  add_dependencies(tavi-tray tavi-icons)
  install(FILES "${TAVI_ICON_SOURCE}" DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
  foreach(size IN LISTS TAVI_ICON_SIZES)
    install(FILES "${tavi_icon_theme_dir}/${size}x${size}/apps/${TAVI_APP_ID}.png"
      DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps")
  endforeach()

  # The session bus starts Tavi by its name through this file, which must
  # name the command by its full path: known only at install time, when the
  # prefix may differ from the configured one. Written into a directory of
  # its own per prefix, so that installs to two prefixes at once do not meet.
  install(CODE "
    set(tavi_service_template \"${CMAKE_SOURCE_DIR}/dist/${TAVI_APP_ID}.service.in\")
    set(tavi_service_name \"${TAVI_APP_ID}.service\")
    set(tavi_service_staging \"${CMAKE_BINARY_DIR}/install-generated\")
    set(tavi_command_path \"${CMAKE_INSTALL_BINDIR}/tavi\")
    set(tavi_service_destination \"${CMAKE_INSTALL_DATADIR}/dbus-1/services\")
  ")
  install(CODE [[
    if(IS_ABSOLUTE "${tavi_command_path}")
      set(TAVI_INSTALLED_COMMAND "${tavi_command_path}")
    else()
      set(TAVI_INSTALLED_COMMAND "${CMAKE_INSTALL_PREFIX}/${tavi_command_path}")
    endif()
    string(MD5 tavi_prefix_key "${CMAKE_INSTALL_PREFIX}")
    file(READ "${tavi_service_template}" tavi_service_text)
    string(CONFIGURE "${tavi_service_text}" tavi_service_text @ONLY)
    file(WRITE "${tavi_service_staging}/${tavi_prefix_key}/${tavi_service_name}" "${tavi_service_text}")
    if(IS_ABSOLUTE "${tavi_service_destination}")
      set(tavi_service_directory "${tavi_service_destination}")
    else()
      set(tavi_service_directory "${CMAKE_INSTALL_PREFIX}/${tavi_service_destination}")
    endif()
    file(INSTALL "${tavi_service_staging}/${tavi_prefix_key}/${tavi_service_name}"
      DESTINATION "${tavi_service_directory}")
  ]])
endif()

# The Debian package: its dependencies are the packages that own the
# libraries the binaries link against, as dpkg-shlibdeps finds them, plus
# what no linker sees.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavi)
set(TAVI_PACKAGE_MAINTAINER "Tavi developers" CACHE STRING
  "The Debian package's Maintainer field, e.g. \"Name <address>\"")
set(CPACK_PACKAGE_CONTACT "${TAVI_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Translate selected, copied, typed and on-screen text")
# The summary above is the description's first line; this is the rest.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "Tavi lives in the system tray and translates the text you select in any\n\
application, the text you copy, the text you type into its own window and\n\
the text it reads on the machine in a screen region you drag out,\n\
with one of seven online translation services and your own credentials.\n\
The translation appears in a small popup next to the mouse pointer.")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Every request is HTTPS with the certificate checked: without the CA
# certificates nothing can be translated. The interface is Chinese.
# Screenshots are read with Tesseract's English and Chinese models (other
# languages: their tesseract-ocr-* packages).
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ca-certificates")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-noto-cjk, tesseract-ocr-eng, tesseract-ocr-chi-sim, tesseract-ocr-chi-tra")
set(CPACK_STRIP_FILES ON)
# The package installs under /usr; the D-Bus service file must see that
# prefix, not the staging directory, so stage through DESTDIR.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
include(CPack)
