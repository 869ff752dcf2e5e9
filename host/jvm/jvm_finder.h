#pragma once

#include <string>
#include <vector>

namespace kivosql {

struct Jvm {
  std::string library;  ///< path of libjvm.so; empty when none was found
  std::string version;  ///< as its "release" file says; empty without one
  std::string foundBy;
};

/// Looks where @p given says, which may be libjvm.so or a Java home, and nowhere else; without it by JAVA_HOME, by the
/// "java" on the path, then in the distribution's places.
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

/// The given entries first, then the companion jar and the distribution's driver jars. A folder stands for itself and
/// for the jars in it, and so does "folder/*": a VM that is started through JNI expands neither.
ClassPath findClassPath(const std::vector<std::string>& given);

/// The entries as the VM wants them.
std::string joined(const std::vector<std::string>& entries);

}  // namespace kivosql
