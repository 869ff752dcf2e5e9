#include "example_host.h"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <iostream>

#include "JavaVmHost.h"
#include "KivoUtf8.h"

namespace example {

namespace {

std::string fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  if (value != nullptr && *value != '\0') return value;
  std::cerr << "set " << name << " first; ./run does it for you" << std::endl;
  std::exit(4);
}

/// Columns that a text takes on a terminal.
std::size_t width(const std::string& text) {
  std::mbstate_t state{};
  std::size_t columns = 0;
  for (std::size_t at = 0; at < text.size();) {
    wchar_t character = 0;
    const std::size_t length = std::mbrtowc(&character, text.data() + at, text.size() - at, &state);
    if (length == 0 || length > text.size() - at) return columns + text.size() - at;
    columns += static_cast<std::size_t>(std::max(0, wcwidth(character)));
    at += length;
  }
  return columns;
}

std::string shown(const Cell& cell) { return cell.isNull ? "∅" : cell.text; }

std::string repeated(const char* text, std::size_t times) {
  std::string line;
  while (times-- > 0) line += text;
  return line;
}

void printRule(const std::vector<std::size_t>& widths, const char* left, const char* middle, const char* right) {
  std::cout << left;
  for (std::size_t column = 0; column < widths.size(); ++column) {
    std::cout << (column == 0 ? "" : middle) << repeated("─", widths[column] + 2);
  }
  std::cout << right << '\n';
}

void printRow(const std::vector<Cell>& row, const std::vector<std::size_t>& widths) {
  for (std::size_t column = 0; column < row.size(); ++column) {
    const std::string text = shown(row[column]);
    std::cout << "│ " << text << std::string(widths[column] - width(text) + 1, ' ');
  }
  std::cout << "│\n";
}

}  // namespace

void startJavaVm(int maxHeapMb) {
  std::string jvm = fromEnvironment("KIVO_JVM");
  std::string classPath = fromEnvironment("KIVO_CLASSPATH");
  std::string error;
  if (javaInit(jvm, classPath, maxHeapMb, error)) {
    // For the widths of printTable(): this thread's own locale, since the Java VM sets the process's.
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    uselocale(utf8);
    return;
  }
  std::cerr << error << std::endl;
  std::exit(4);
}

void require(bool done, const std::string& what) {
  if (done) return;
  std::cerr << "failed: " << what << std::endl;
  std::exit(1);
}

Cell takeCell(char* value) {
  if (value == nullptr) return {"", true};
  Cell cell{kivo::utf8::toStandard(value).text, false};
  std::free(value);
  return cell;
}

void printTable(const std::string& title, const Table& table) {
  std::vector<std::size_t> widths(table.front().size(), 0);
  for (const auto& row : table) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], width(shown(row[column])));
    }
  }
  std::cout << '\n' << title << '\n';
  printRule(widths, "┌", "┬", "┐");
  printRow(table.front(), widths);
  printRule(widths, "├", "┼", "┤");
  for (std::size_t row = 1; row < table.size(); ++row) printRow(table[row], widths);
  printRule(widths, "└", "┴", "┘");
  std::cout << std::flush;
}

}  // namespace example
