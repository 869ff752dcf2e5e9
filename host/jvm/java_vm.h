#pragma once

#include <string>
#include <vector>

namespace kivosql {

struct Jvm {
  std::string library;  ///< path of libjvm.so; empty when none was found
  std::string version;  ///< from its "release" file; empty without one
  std::string foundBy;
};

/// Looks in @p given alone, a Java home or a libjvm.so, if it is not empty. Otherwise looks in JAVA_HOME, then for the
/// "java" on the path, then in the distribution's folders.
Jvm findJvm(const std::string& given);

/// A driver that the distribution has as a package.
struct DriverJar {
  const char* word;  ///< of the JDBC URL
  const char* jar;
  const char* package;
};

constexpr DriverJar kDriverJars[] = {
    {"h2", "/usr/share/java/h2.jar", "libh2-java"},
    {"derby", "/usr/share/java/derby.jar", "libderby-java"},
    {"hsqldb", "/usr/share/java/hsqldb.jar", "libhsqldb-java"},
    {"sqlite", "/usr/share/java/sqlite-jdbc.jar", "libxerial-sqlite-jdbc-java"},
    {"mariadb", "/usr/share/java/mariadb-java-client.jar", "libmariadb-java"},
    {"postgresql", "/usr/share/java/postgresql.jar", "libpostgresql-jdbc-java"},
};

struct ClassPath {
  std::vector<std::string> entries;
  std::vector<std::string> given;    ///< those of them that the user named
  std::vector<std::string> missing;  ///< given, but not there
  std::string companion;             ///< the library's own jar; empty when not found
};

/// The given entries first, then the companion jar and the distribution's driver jars. A folder means itself and the
/// jars in it, as does "folder/*": a VM started through JNI expands neither.
ClassPath findClassPath(const std::vector<std::string>& given);

/// Why Java cannot have this maximum heap; empty when it can. HotSpot ends the whole process if it cannot.
std::string heapFault(int megabytes);

/// Memory of the machine, in megabytes.
unsigned long machineMegabytes();

/// Starts the process's Java VM. @return why not; empty when it runs
std::string startVm(const Jvm& jvm, const ClassPath& classPath, int heapMegabytes);

}  // namespace kivosql
