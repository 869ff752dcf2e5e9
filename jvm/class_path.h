#pragma once

#include <string>
#include <vector>

namespace kivo {

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

/// The library's own jar. Builds and packages put it beside a program or library, or in share/java of its prefix.
constexpr const char* kCompanionJar = "kivo-jdbc.jar";

/// Looks in those places, then in the distribution's. @param folder of the program or library. @return the jar's path;
/// empty if it is missing
std::string findCompanion(const std::string& folder);

/// The given entries first, then the companion jar of this program and the distribution's driver jars. A folder means
/// itself and the jars in it, "folder/*" the jars alone: a VM started through JNI expands neither. A given entry that
/// does not exist stays as it is.
std::vector<std::string> findClassPath(const std::vector<std::string>& given);

}  // namespace kivo
