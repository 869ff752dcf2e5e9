#pragma once

#include <string>

namespace kivosql {

/// Writes a line to standard error, without any secret in it, and without control characters but tabs and line ends.
void say(const std::string& text);

/// The same as an error of this program: one line, and no endless one.
void complain(const std::string& text);

/// Writes to standard error as it stands: for what moves on a terminal.
void draw(const std::string& text);

/// From now on no message holds @p text.
void keepSecret(const std::string& text);

/// The text without the secret.
std::string masked(std::string text);

/// Whether standard error, or standard output, is a terminal; determined once.
bool errorsOnTerminal();
bool outputOnTerminal();

/// A number with its thousands set apart.
std::string grouped(unsigned long long number);

/// "1 row", "2,000 rows".
std::string counted(unsigned long long number, const char* noun);

/// Seconds with two decimals.
std::string seconds(double value);

}  // namespace kivosql
