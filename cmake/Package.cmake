# Debian packages, one for each component of the installation.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Ulvane <packages@ulvane.invalid>")
set(CPACK_COMPONENTS_ALL runtime dev jar kivosql adbc)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The ADBC driver's manifest must name the place of the installed library.
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# kivo_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION DEPENDS...)
function(kivo_package component name section summary description)
  string(TOUPPER ${component} COMPONENT)
  list(JOIN ARGN ", " depends)
  foreach(setting "PACKAGE_NAME;${name}" "PACKAGE_SECTION;${section}" "PACKAGE_DEPENDS;${depends}")
    list(POP_FRONT setting key)
    set(CPACK_DEBIAN_${COMPONENT}_${key} "${setting}" PARENT_SCOPE)
  endforeach()
  set(CPACK_DEBIAN_${COMPONENT}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
  set(folder ${PROJECT_BINARY_DIR}/debian/${name})
  set(NOTICES "")
  foreach(linked ${KIVO_NOTICES_${component}})
    file(READ /usr/share/doc/${linked}/copyright notice)
    string(APPEND NOTICES "\nIt holds code of Debian's package ${linked}, whose notice is:\n\n${notice}")
  endforeach()
  configure_file(cmake/debian/copyright.in ${folder}/copyright @ONLY)
  configure_file(cmake/debian/changelog.in ${folder}/changelog @ONLY)
  execute_process(COMMAND gzip -9nf ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${folder}/copyright ${folder}/changelog.gz DESTINATION share/doc/${name} COMPONENT ${component})
endfunction()

execute_process(COMMAND date -R OUTPUT_VARIABLE KIVO_PACKAGE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
set(same "(= ${PROJECT_VERSION})")
set(KIVO_NOTICES_kivosql libcli11-dev rapidjson-dev)
kivo_package(runtime libkivo-java-native libs "databases by way of JDBC, for native programs"
  "A library that starts a Java VM within a process and hands out rows of\ndatabases that have a JDBC driver."
  "libkivo-jdbc-java ${same}" "default-jre-headless (>= 2:1.8) | java8-runtime-headless")
kivo_package(dev libkivo-java-native-dev libdevel "databases by way of JDBC, for native programs: headers"
  "Headers, a CMake package and a pkg-config file for programs that use\nlibkivo_java_native_lib."
  "libkivo-java-native ${same}" "default-jdk-headless")
kivo_package(jar libkivo-jdbc-java java "databases by way of JDBC, for native programs: Java part"
  "The Java classes that libkivo_java_native_lib and its ADBC driver call.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers)
set(CPACK_DEBIAN_ADBC_PACKAGE_CONTROL_EXTRA
  "${CMAKE_CURRENT_LIST_DIR}/debian/triggers;${CMAKE_CURRENT_LIST_DIR}/debian/conffiles")
set(CPACK_DEBIAN_JAR_PACKAGE_ARCHITECTURE all)
kivo_package(kivosql kivosql database "command line for databases that have a JDBC driver"
  "Runs queries and scripts, and loads and exports CSV, on any database\nwhose JDBC driver is installed."
  "libkivo-java-native ${same}")
set(CPACK_DEBIAN_KIVOSQL_PACKAGE_RECOMMENDS libh2-java)
set(CPACK_DEBIAN_KIVOSQL_PACKAGE_SUGGESTS
  "libpostgresql-jdbc-java, libmariadb-java, libxerial-sqlite-jdbc-java, libderby-java, libhsqldb-java")
kivo_package(adbc libadbc-driver-jdbc libs "ADBC driver for databases that have a JDBC driver"
  "A driver by which programs that speak ADBC, of Python, R, Go and others,\nread from and write to such databases."
  "libkivo-jdbc-java ${same}" "default-jre-headless (>= 2:1.8) | java8-runtime-headless")
include(CPack)
