# On-device text recognition for screenshot translation: Tesseract 5 and
# Leptonica. Only the tray application links it; the tavi command stays free
# of it, as it is of Qt.
pkg_check_modules(TESSERACT REQUIRED IMPORTED_TARGET tesseract lept)

file(GLOB TAVI_RECOGNITION_SOURCES CONFIGURE_DEPENDS src/capture/tesseract/*.cpp)
add_library(tavi_recognition STATIC ${TAVI_RECOGNITION_SOURCES})
target_link_libraries(tavi_recognition PUBLIC tavi_core PkgConfig::TESSERACT ${CMAKE_DL_LIBS})
