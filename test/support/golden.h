#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace kivo::test {

/// A row of the golden tables: an SQL literal of a type, and the text that is read from it.
struct Golden {
  std::string type;
  std::string literal;
  std::optional<std::string> expected;  ///< in standard UTF-8; nothing for SQL NULL
};

/// The rows of one database, by its word.
inline std::vector<Golden> goldenRows(const std::string& database) {
  std::vector<Golden> rows;
  for (const char* table : {"dates.tsv", "values.tsv"}) {
    std::ifstream file(std::string(KIVO_GOLDEN) + "/" + table);
    EXPECT_TRUE(file) << table;
    for (std::string line; std::getline(file, line);) {
      std::istringstream fields(line);
      std::string word;
      std::string text;
      Golden row;
      std::getline(fields, word, '\t');
      std::getline(fields, row.type, '\t');
      std::getline(fields, row.literal, '\t');
      std::getline(fields, text);
      if (text != "\\N") row.expected = text;
      if (word == database) rows.push_back(row);
    }
  }
  EXPECT_GT(rows.size(), 10U) << database;
  return rows;
}

}  // namespace kivo::test
