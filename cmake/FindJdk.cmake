# Sets KIVO_JAVA_HOME: the JDK of JAVA_HOME, or else that of the javac on the path. Empty without either.
set(KIVO_JAVA_HOME "${JAVA_HOME}")
if(NOT KIVO_JAVA_HOME)
  set(KIVO_JAVA_HOME "$ENV{JAVA_HOME}")
endif()
if(NOT KIVO_JAVA_HOME)
  find_program(KIVO_JAVAC javac)
  if(KIVO_JAVAC)
    file(REAL_PATH ${KIVO_JAVAC} KIVO_JAVA_HOME)
    cmake_path(GET KIVO_JAVA_HOME PARENT_PATH KIVO_JAVA_HOME)
    cmake_path(GET KIVO_JAVA_HOME PARENT_PATH KIVO_JAVA_HOME)
  endif()
endif()

# Finds jni.h, as JAVA_INCLUDE_PATH and JAVA_INCLUDE_PATH2. Only that is needed: libjvm is opened at run time, and a
# headless JDK has no AWT library.
function(kivo_find_jni)
  set(JAVA_HOME ${KIVO_JAVA_HOME})
  find_package(JNI QUIET COMPONENTS JVM)
endfunction()
kivo_find_jni()
