#pragma once

#include <string>

namespace kivosql {

/// Whether a file is a jar with its end there: a Java VM passes over any other without a word.
bool isJar(const std::string& path);

}  // namespace kivosql
