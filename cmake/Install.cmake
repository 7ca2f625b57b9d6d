# The installed tree: library, headers, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS kxcore7 EXPORT kxcore7Targets
        FILE_SET HEADERS
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
if(WIN32)
    install(FILES ${icu_libraries} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(EXPORT kxcore7Targets NAMESPACE kxcore7::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kxcore7)

configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/kxcore7Config.cmake.in ${PROJECT_BINARY_DIR}/kxcore7Config.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kxcore7)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kxcore7ConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kxcore7.pc.in ${PROJECT_BINARY_DIR}/kxcore7.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kxcore7Config.cmake
              ${PROJECT_BINARY_DIR}/kxcore7ConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kxcore7)
install(FILES ${PROJECT_BINARY_DIR}/kxcore7.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
