# `cmake --install`: the positioning library, static and shared, its headers
# under include/ppplib/ (lib/, engine/, models/, math/, common/, the layout
# the headers include each other by), a CMake package and a pkg-config file.
#
#   find_package(ppplib REQUIRED)              # or COMPONENTS io
#   target_link_libraries(host PRIVATE ppplib::ppp)   # ppplib::ppp_shared, ppplib::io
#
# The optional component io is the host toolkit of file readers (src/io,
# static, zlib when it was found); the stream toolkit and programs stay
# in the build tree.
include(CMakePackageConfigHelpers)
set(PPPLIB_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ppplib)

set_target_properties(ppp_shared PROPERTIES EXPORT_NAME ppp_shared)
install(TARGETS ppp ppp_shared EXPORT ppplibTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(folder IN LISTS PPPLIB_FOLDERS)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/${folder} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ppplib
    FILES_MATCHING PATTERN "*.h")
endforeach()
install(EXPORT ppplibTargets NAMESPACE ppplib:: DESTINATION ${PPPLIB_CMAKE_DIR})

set(PPPLIB_IO_WITH_ZLIB OFF)
if(TARGET pppio)
  set_target_properties(pppio PROPERTIES EXPORT_NAME io)
  install(TARGETS pppio EXPORT ppplibIoTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/io DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ppplib
    FILES_MATCHING PATTERN "*.h")
  install(EXPORT ppplibIoTargets NAMESPACE ppplib:: DESTINATION ${PPPLIB_CMAKE_DIR})
  set(PPPLIB_IO_WITH_ZLIB ${ZLIB_FOUND})
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ppplibConfig.cmake.in
  ${PROJECT_BINARY_DIR}/ppplibConfig.cmake INSTALL_DESTINATION ${PPPLIB_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ppplibConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
# The pkg-config file finds the prefix from its own place, so that
# `cmake --install --prefix` may move the installation.
file(RELATIVE_PATH PPPLIB_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
string(REGEX REPLACE "/$" "" PPPLIB_PC_TO_PREFIX "${PPPLIB_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/ppplib.pc.in ${PROJECT_BINARY_DIR}/ppplib.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ppplibConfig.cmake ${PROJECT_BINARY_DIR}/ppplibConfigVersion.cmake
  DESTINATION ${PPPLIB_CMAKE_DIR})
install(FILES ${PROJECT_BINARY_DIR}/ppplib.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
