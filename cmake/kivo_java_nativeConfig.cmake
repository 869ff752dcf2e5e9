# find_package(kivo_java_native CONFIG) gives kivo_java_native::kivo_java_native_lib, with its headers and those of JNI,
# and in KIVO_JDBC_JAR the companion jar, which belongs on the Java VM's class path.
include(${CMAKE_CURRENT_LIST_DIR}/FindJdk.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/kivo_java_nativeTargets.cmake)
set_property(TARGET kivo_java_native::kivo_interface APPEND PROPERTY
  INTERFACE_INCLUDE_DIRECTORIES ${JAVA_INCLUDE_PATH} ${JAVA_INCLUDE_PATH2})
file(REAL_PATH ${CMAKE_CURRENT_LIST_DIR}/../../../share/java/kivo-jdbc.jar KIVO_JDBC_JAR)
