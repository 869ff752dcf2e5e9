# What "cmake --install" puts where. The libraries find each other, the programs find them, and both find the jar, wherever
# the prefix is moved to; only the ADBC driver's manifest names a place.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KIVO_CMAKE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/kivo_java_native)

install(TARGETS kivo_java_native_lib kivo_system_lib kivo_interface EXPORT kivo_java_native
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kivo FILES_MATCHING PATTERN "*.h")
install_jar(kivo_jdbc DESTINATION ${CMAKE_INSTALL_DATADIR}/java)

install(EXPORT kivo_java_native NAMESPACE kivo_java_native:: DESTINATION ${KIVO_CMAKE_FOLDER}
  FILE kivo_java_nativeTargets.cmake)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kivo_java_nativeConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES cmake/kivo_java_nativeConfig.cmake cmake/FindJdk.cmake
  ${PROJECT_BINARY_DIR}/kivo_java_nativeConfigVersion.cmake DESTINATION ${KIVO_CMAKE_FOLDER})
configure_file(cmake/kivo_java_native.pc.in ${PROJECT_BINARY_DIR}/kivo_java_native.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kivo_java_native.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(KIVO_HOST)
  install(TARGETS kivosql RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

if(KIVO_ADBC)
  install(TARGETS adbc_driver_jdbc LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  # The prefix is known when it is installed.
  install(CODE "
    set(ADBC_DRIVER_FILE \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libadbc_driver_jdbc.so)
    set(PROJECT_VERSION ${PROJECT_VERSION})
    configure_file(${PROJECT_SOURCE_DIR}/adbc/jdbc.toml.in ${PROJECT_BINARY_DIR}/adbc/jdbc.toml @ONLY)")
  install(FILES ${PROJECT_BINARY_DIR}/adbc/jdbc.toml DESTINATION ${CMAKE_INSTALL_DATADIR}/adbc/drivers)
endif()
