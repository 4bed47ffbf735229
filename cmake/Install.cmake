# Install rules and the Debian package (make install / make package).
#
# Layout below the prefix:
#   bin/mervane           link to ../lib/mervane/mervane
#   bin/mervane-erase     the command-line eraser
#   lib/mervane/mervane   the program; Lang links to its translations, since
#                         the program looks for Lang/ beside its executable
#   share/mervane/        what the program reads from its working folder
#                         (font/, rec/, configlink.xml) and Lang/; the
#                         program changes into it at start
#   share/applications/, share/metainfo/, share/icons/hicolor/, share/man/man1/
# Every link is relative, so the tree works wherever it is unpacked.

set(MERVANE_APP_ID app.mervane.Mervane)
set(MERVANE_DATA_DEST share/mervane)
set(MERVANE_PROGRAM_DEST lib/mervane)

if(TARGET mervane)
  target_compile_definitions(mervane PRIVATE MERVANE_VERSION="${PROJECT_VERSION}")
  install(TARGETS mervane RUNTIME DESTINATION ${MERVANE_PROGRAM_DEST})
endif()
if(TARGET mervane-erase)
  install(TARGETS mervane-erase RUNTIME DESTINATION bin)
endif()

if(NOT MERVANE_ENGINE_ONLY)
  # The same files the run folder gets (cmake/RunDir.cmake), from their sources.
  set(_lato /usr/share/fonts/truetype/lato)
  install(FILES /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf DESTINATION ${MERVANE_DATA_DEST}/font RENAME Sans.ttf)
  foreach(_w Bold Light Regular)
    install(FILES ${_lato}/Lato-${_w}.ttf DESTINATION ${MERVANE_DATA_DEST}/font RENAME Lato-${_w}_0.ttf)
  endforeach()
  file(GLOB _gifs ${CMAKE_SOURCE_DIR}/resources/rec/*.gif)
  install(FILES ${_gifs} DESTINATION ${MERVANE_DATA_DEST}/rec)
  install(FILES ${CMAKE_SOURCE_DIR}/resources/configlink.xml DESTINATION ${MERVANE_DATA_DEST})
  install(FILES ${CMAKE_SOURCE_DIR}/resources/Lang/Lang_config.ini DESTINATION ${MERVANE_DATA_DEST}/Lang)
  file(GLOB _ts ${CMAKE_SOURCE_DIR}/resources/Lang/lang_*.ts)
  foreach(_t ${_ts})
    get_filename_component(_n ${_t} NAME_WE)
    install(FILES ${MERVANE_RUN_DIR}/Lang/${_n}.qm DESTINATION ${MERVANE_DATA_DEST}/Lang)
  endforeach()

  install(CODE "
    set(_root \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
    file(MAKE_DIRECTORY \"\${_root}/bin\")
    file(CREATE_LINK ../${MERVANE_PROGRAM_DEST}/mervane \"\${_root}/bin/mervane\" SYMBOLIC)
    file(CREATE_LINK ../../${MERVANE_DATA_DEST}/Lang \"\${_root}/${MERVANE_PROGRAM_DEST}/Lang\" SYMBOLIC)
    message(STATUS \"Installing: \${_root}/bin/mervane -> ../${MERVANE_PROGRAM_DEST}/mervane\")
  ")

  # Desktop integration: menu entry, software-centre metadata, icons drawn
  # by tools/skin/skingen.
  install(FILES ${CMAKE_SOURCE_DIR}/resources/desktop/${MERVANE_APP_ID}.desktop DESTINATION share/applications)
  install(FILES ${CMAKE_SOURCE_DIR}/resources/desktop/${MERVANE_APP_ID}.metainfo.xml DESTINATION share/metainfo)
  install(DIRECTORY ${CMAKE_SOURCE_DIR}/resources/icons/hicolor DESTINATION share/icons)
endif()

# Manual pages, compressed as Debian keeps them.
find_program(MERVANE_GZIP gzip)
set(_man_gz)
foreach(_page mervane mervane-erase)
  set(_src ${CMAKE_SOURCE_DIR}/docs/man/${_page}.1)
  set(_gz ${CMAKE_BINARY_DIR}/man/${_page}.1.gz)
  add_custom_command(OUTPUT ${_gz}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/man
    COMMAND ${MERVANE_GZIP} -9nc ${_src} > ${_gz}
    DEPENDS ${_src} VERBATIM)
  list(APPEND _man_gz ${_gz})
endforeach()
add_custom_target(mervane_man ALL DEPENDS ${_man_gz})
install(FILES ${_man_gz} DESTINATION share/man/man1)

# make package: a .deb whose dependencies dpkg-shlibdeps reads from the
# executables.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mervane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR "Mervane developers")
set(CPACK_PACKAGE_CONTACT "Mervane developers <support@mervane.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "photo editor that erases unwanted objects")
# The summary is the package's first line; CPack indents the rest and marks
# the empty line as a paragraph break.
set(CPACK_PACKAGE_DESCRIPTION
"Mervane takes unwanted objects out of photographs: paint a red mask over
what must go, optionally a green area to take the fill from, and press
Erase; a multi-scale patch-match engine fills the hole from the photo
itself. It also has a sampling stamp, a smart clone tool, per-photo undo
with a history list, before/after, zoom, saving and printing.

The package also holds mervane-erase, the same eraser on the command line,
for scripts and batches of photos.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://www.mervane.app/)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# OpenCV's image codecs are opened at run time for the rarer formats, so no
# binary names them for dpkg-shlibdeps; Debian's package name carries the
# version as major and two-digit minor (4.6 gives libopencv-imgcodecs406).
# The dependencies dpkg-shlibdeps finds are added to this one.
if(OpenCV_VERSION_MINOR LESS 10)
  set(_opencv_soversion ${OpenCV_VERSION_MAJOR}0${OpenCV_VERSION_MINOR})
else()
  set(_opencv_soversion ${OpenCV_VERSION_MAJOR}${OpenCV_VERSION_MINOR})
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libopencv-imgcodecs${_opencv_soversion}")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
include(CPack)
