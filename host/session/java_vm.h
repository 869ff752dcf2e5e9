#pragma once

#include <string>
#include <vector>

#include "failure.h"
#include "jvm/find_jvm.h"

namespace kivosql {

using kivo::Jvm;

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

using ClassPath = std::vector<std::string>;

/// The library's own jar, found beside the program.
constexpr const char* kCompanionJar = "kivo-jdbc.jar";

/// The given entries first, then the companion jar and the distribution's driver jars. A folder means itself and the
/// jars in it, as does "folder/*": a VM started through JNI expands neither. Throws Failure if a given one is missing.
ClassPath findClassPath(const std::vector<std::string>& given);

/// Starts the process's Java VM. @return why not; empty when it runs
std::string startVm(const Jvm& jvm, const ClassPath& classPath, int heapMegabytes);

}  // namespace kivosql
