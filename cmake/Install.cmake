# What "cmake --install" puts where. The libraries find each other, the programs find them, and both find the jar,
# wherever the prefix is moved to; only the ADBC driver's manifest names a place. The components are Debian packages, too.
include(CMakePackageConfigHelpers)

set(KIVO_CMAKE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/kivo_java_native)
set(KIVO_JAR ${CMAKE_INSTALL_DATADIR}/java/kivo-jdbc.jar)
set(KIVO_ZSH_FOLDER ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Where zsh's completions are installed")
set(KIVO_MANIFEST_FOLDER ${CMAKE_INSTALL_DATADIR}/adbc/drivers CACHE STRING "Where the ADBC driver's manifest is installed")
set(KIVO_JNI_FOLDER ${JAVA_INCLUDE_PATH} CACHE STRING "Where the pkg-config file says that jni.h is")

install(TARGETS kivo_java_native_lib kivo_system_lib kivo_interface EXPORT kivo_java_native
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime)
foreach(jar kivo_jdbc kivo_jdbc_compat)
  install_jar(${jar} DESTINATION ${CMAKE_INSTALL_DATADIR}/java COMPONENT jar)
endforeach()

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kivo COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(EXPORT kivo_java_native NAMESPACE kivo_java_native:: DESTINATION ${KIVO_CMAKE_FOLDER}
  FILE kivo_java_nativeTargets.cmake COMPONENT dev)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kivo_java_nativeConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
configure_package_config_file(cmake/kivo_java_nativeConfig.cmake.in
  ${PROJECT_BINARY_DIR}/kivo_java_nativeConfig.cmake
  INSTALL_DESTINATION ${KIVO_CMAKE_FOLDER} PATH_VARS KIVO_JAR)
install(FILES cmake/FindJdk.cmake ${PROJECT_BINARY_DIR}/kivo_java_nativeConfig.cmake
  ${PROJECT_BINARY_DIR}/kivo_java_nativeConfigVersion.cmake DESTINATION ${KIVO_CMAKE_FOLDER} COMPONENT dev)
file(RELATIVE_PATH KIVO_PREFIX_FROM_PKGCONFIG ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/kivo_java_native.pc.in ${PROJECT_BINARY_DIR}/kivo_java_native.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kivo_java_native.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

if(KIVO_HOST)
  install(TARGETS kivosql RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT kivosql)
  foreach(document "man.gz;${CMAKE_INSTALL_MANDIR}/man1;kivosql.1.gz" "zsh;${KIVO_ZSH_FOLDER};_kivosql"
          "bash;${CMAKE_INSTALL_DATADIR}/bash-completion/completions;kivosql"
          "fish;${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d;kivosql.fish")
    list(POP_FRONT document kind folder name)
    install(FILES ${PROJECT_BINARY_DIR}/share/kivosql/${kind} DESTINATION ${folder} RENAME ${name} COMPONENT kivosql)
  endforeach()
endif()

if(KIVO_ADBC)
  install(TARGETS adbc_driver_jdbc LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT adbc)
  # The prefix is known when it is installed.
  install(CODE "
    set(ADBC_DRIVER_FILE \${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/libadbc_driver_jdbc.so)
    set(PROJECT_VERSION ${PROJECT_VERSION})
    configure_file(${PROJECT_SOURCE_DIR}/adbc/jdbc.toml.in ${PROJECT_BINARY_DIR}/adbc/jdbc.toml @ONLY)"
    COMPONENT adbc)
  install(FILES ${PROJECT_BINARY_DIR}/adbc/jdbc.toml DESTINATION ${KIVO_MANIFEST_FOLDER} COMPONENT adbc)
endif()
