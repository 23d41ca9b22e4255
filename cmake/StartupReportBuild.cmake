# Startup report deployment data: the analytics service's address and the
# file holding the key that signs the reports. Both are the operator's, never
# part of the tree; a build without them sends no report (unless the
# environment variables of the same names supply them at run time).
#
#   cmake -DTAVI_REPORT_URL=https://analytics.example.com \
#         -DTAVI_REPORT_KEY_FILE=/secure/report-key.b64 ...
#
# The key file holds the base64 text of the PKCS#8 RSA private key; it is
# read now and built into the binary (one final line break is ignored).
# Defines TAVI_REPORT_BUILD_SOURCE, the generated source that carries them.

set(TAVI_REPORT_URL "" CACHE STRING
  "Startup report: the analytics service's address, e.g. https://analytics.example.com (empty: none)")
set(TAVI_REPORT_KEY_FILE "" CACHE FILEPATH
  "Startup report: file holding the signing key as base64 PKCS#8 text (empty: none)")

# A C string literal spelling hexadecimal digits byte by byte ("\x41\x42"),
# so that no content (quotes, backslashes, line breaks) can end it early.
function(tavi_byte_literal output hex)
  string(REGEX REPLACE "(..)" "\\\\x\\1" escaped "${hex}")
  set(${output} "\"${escaped}\"" PARENT_SCOPE)
endfunction()

string(HEX "${TAVI_REPORT_URL}" tavi_report_url_hex)
tavi_byte_literal(TAVI_REPORT_URL_LITERAL "${tavi_report_url_hex}")
string(HEX "${PROJECT_VERSION}" tavi_report_version_hex)
tavi_byte_literal(TAVI_REPORT_VERSION_LITERAL "${tavi_report_version_hex}")

if(TAVI_REPORT_KEY_FILE)
  if(NOT EXISTS "${TAVI_REPORT_KEY_FILE}" OR IS_DIRECTORY "${TAVI_REPORT_KEY_FILE}")
    message(FATAL_ERROR "TAVI_REPORT_KEY_FILE names no readable file: ${TAVI_REPORT_KEY_FILE}")
  endif()
  file(READ "${TAVI_REPORT_KEY_FILE}" tavi_report_key_hex HEX)
  # A new key reconfigures the build.
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${TAVI_REPORT_KEY_FILE}")
  set(TAVI_REPORT_HAS_KEY true)
else()
  set(tavi_report_key_hex "")
  set(TAVI_REPORT_HAS_KEY false)
endif()
tavi_byte_literal(TAVI_REPORT_KEY_LITERAL "${tavi_report_key_hex}")
unset(tavi_report_key_hex)

set(TAVI_REPORT_BUILD_SOURCE "${CMAKE_CURRENT_BINARY_DIR}/generated/StartupReportBuild.cpp")
configure_file("${CMAKE_CURRENT_SOURCE_DIR}/src/report/StartupReportBuild.cpp.in" "${TAVI_REPORT_BUILD_SOURCE}" @ONLY)
