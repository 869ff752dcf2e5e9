# Finds jni.h. Only that is needed: libjvm is opened at run time, and a headless JDK has no AWT library.
# Without JAVA_HOME, the JDK is that of the javac on the path.
if(NOT DEFINED ENV{JAVA_HOME})
  find_program(KIVO_JAVAC javac)
  if(KIVO_JAVAC)
    file(REAL_PATH ${KIVO_JAVAC} KIVO_JAVAC_FILE)
    cmake_path(GET KIVO_JAVAC_FILE PARENT_PATH KIVO_JAVAC_FOLDER)
    cmake_path(GET KIVO_JAVAC_FOLDER PARENT_PATH KIVO_JAVA_HOME)
    set(ENV{JAVA_HOME} ${KIVO_JAVA_HOME})
  endif()
endif()
find_package(JNI REQUIRED COMPONENTS JVM)
