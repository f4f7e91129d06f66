# What is installed, and the packages.
#
#   cmake --install BUILD [--prefix PREFIX]    the whole: lib/vst/Keldra/, bin/, share/
#   cmake --install BUILD --component user --prefix ~/.vst/Keldra    one folder that holds it all
#   cd BUILD && cpack                          a Debian package and a tarball to unpack anywhere
#
# The programs find the module by their own place (apps/render/Instrument.h), so that each of these
# may lie wherever one likes.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON) # what is installed is enough
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(bundle lib/vst/Keldra)
set(programs keldra-render keldra)

# keldra_install_bundle(FOLDER [arguments of install]): module, skin and banks
function(keldra_install_bundle folder)
  install(TARGETS KeldraModule LIBRARY DESTINATION ${folder} ${ARGN}
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  install(DIRECTORY ${CMAKE_BINARY_DIR}/Keldra/Skin ${CMAKE_BINARY_DIR}/Keldra/Banks
    DESTINATION ${folder} ${ARGN})
endfunction()

keldra_install_bundle(. COMPONENT user EXCLUDE_FROM_ALL)
install(TARGETS ${programs} RUNTIME DESTINATION . COMPONENT user EXCLUDE_FROM_ALL)

keldra_install_bundle(${bundle})
install(TARGETS ${programs} RUNTIME DESTINATION bin)
install(DIRECTORY ${CMAKE_BINARY_DIR}/icons/ DESTINATION share/icons/hicolor)
install(FILES packaging/keldra.desktop DESTINATION share/applications)
install(FILES packaging/keldra.metainfo.xml DESTINATION share/metainfo)
install(FILES packaging/copyright README.md DESTINATION share/doc/keldra)
install(FILES songs/demo.mid songs/demo.sounds DESTINATION share/doc/keldra/examples)

# Manual pages and changelogs lie compressed where they are installed.
set(compressed)
function(keldra_compress source name destination)
  set(file ${CMAKE_BINARY_DIR}/packaging/${name}.gz)
  add_custom_command(OUTPUT ${file}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/packaging
    COMMAND gzip -9nc ${CMAKE_CURRENT_SOURCE_DIR}/${source} > ${file}
    DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${source} VERBATIM)
  install(FILES ${file} DESTINATION ${destination})
  set(compressed ${compressed} ${file} PARENT_SCOPE)
endfunction()
keldra_compress(CHANGELOG.md changelog share/doc/keldra)
keldra_compress(packaging/changelog.Debian changelog.Debian share/doc/keldra)
foreach(program ${programs})
  keldra_compress(packaging/${program}.1 ${program}.1 share/man/man1)
endforeach()
add_custom_target(keldra_compressed_documents ALL DEPENDS ${compressed})

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME keldra)
set(CPACK_PACKAGE_VENDOR "the Keldra contributors")
set(CPACK_PACKAGE_CONTACT "the Keldra contributors <maintainers@keldra.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "polyphonic virtual-analogue synthesizer")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Keldra is a synthesizer as a VST 2.4 plug-in, as a program that is played by
MIDI or by the computer's keyboard, and as a program that plays MIDI files
into WAV files: two oscillators with hard sync and ring modulation, a
four-stage ladder filter, unison, arpeggiator, trance gate, tape delay and
chorus.")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Looked for at run time: file dialogs, and the pointer's smooth scrolling.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libdbus-1-3, libxcb-xinput0")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/packaging/CPackConfig.cmake)
include(CPack)
